// The way back, where nothing is asked: called directly, as a click can't be.
// tests/cases/restore.txt has the rest.
#include "disk/picked_drive.h"
#include "restore/partition_restore.h"
#include "tests/support.h"

namespace {

TEST(Restore, RefusesInSilence) {
  const struct {
    const char *name, *drive;
    int number;  // of the stick
    bool showAll = false, imagesListed = false, goesOn = false;
  } rows[] = {{.name = "images are listed", .drive = "E:", .number = 1, .imagesListed = true},
              {.name = "no drive", .drive = "E", .number = 1},
              {.name = "no such volume", .drive = "Q:", .number = 1, .showAll = true},
              {.name = "drive 0", .drive = "E:", .number = 0},
              {.name = "drive 0 with all drives shown",
               .drive = "E:",
               .number = 0,
               .showAll = true,
               .goesOn = true},
              {.name = "drive 60", .drive = "E:", .number = 60, .goesOn = true},
              {.name = "drive 61", .drive = "E:", .number = 61, .showAll = true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PreparedPc program;
    program.world.systemDisk.number = 2;
    program.world.stick.number = row.number;
    program.world.stick.SetSector(30, program.world.stick.Sector(0));
    program.world.e.Remove("\\tsd\\unifont.hex.gz");
    program.world.e.Remove("\\_ISO\\tsd\\grub\\tsd.cfg");
    MYDRIVE = row.drive;
    Picked_Drive_no = row.number;
    ShowAllDrives = row.showAll;
    if (row.imagesListed) program.pc.toolkit.AddItem(Control::List1, "E:\\a.volPAK");
    if (row.goesOn) program.pc.toolkit.AnswerNext(Answer::Cancel);
    program.Call(cmdRestoreTSD_Click);
    EXPECT_EQ(program.TakeBoxes().empty(), !row.goesOn);
    EXPECT_EQ(program.Lines(MaskOf(Op::Read)).size(), row.goesOn ? 2U : 0U);
  }
}

}  // namespace
