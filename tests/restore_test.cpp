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
    bool showAll, goesOn, imagesListed = false;
  } rows[] = {{"images are listed", "E:", 1, false, false, true},
              {"no drive", "E", 1, false, false},
              {"no such volume", "Q:", 1, true, false},
              {"drive 0", "E:", 0, false, false},
              {"drive 0 with all drives shown", "E:", 0, true, true},
              {"drive 60", "E:", 60, false, true},
              {"drive 61", "E:", 61, true, false}};
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
