// The way back: which saved table is taken, what is asked and told, what is refused in silence.
#include <algorithm>

#include "disk/picked_drive.h"
#include "restore/partition_restore.h"
#include "tests/support.h"

namespace {

// What LBA 30, LBA 60, LBA 1 or the file may hold.
enum class Held { Sound, Uniform, NoBootCode, NoEnding, NoPartition };
using enum Held;

VirtualSector TableWith(Held held) {
  if (held == Uniform) return FilledSector(0x55);
  VirtualSector table = demo::Grub4dosMbr();
  if (held != NoPartition) demo::SetEntry(table, 1, true, 7, demo::kMainStart, demo::kMainSectors);
  if (held == NoBootCode) table[demo::kBootCodeMark] = 'm';
  if (held == NoEnding) table[510] = 0;
  return table;
}

// A stick in CSM mode: E: is the image that a switch has made partition 1.
struct SwitchedStick : ProgramOnPc {
  SwitchedStick() {
    VirtualSector table = demo::Grub4dosMbr();
    demo::SetEntry(table, 1, true, 7, demo::kNtfsImage.lba, demo::kNtfsImage.sectors);
    world.stick.SetSector(0, table);
    pc.RenewTables();
  }
  // "0 30 60": the sectors read, in order.
  std::string Reads() const {
    std::string text;
    for (const JournalEntry& entry : pc.machine.journal.Only(MaskOf(Op::Read))) {
      text += (text.empty() ? "" : " ") + std::to_string(entry.lba);
    }
    return text;
  }
};

const BoxRow kAsk{"Restore TSD partition table", "Restore Tesseldyn partitions on Drive 1?",
                  Buttons::OkCancel};
const BoxRow kNoBackup = Warning("Invalid backup sectors at LBA30 and LBA60",
                                 "ERROR: Cannot find a valid backup sector!");
const BoxRow kAskFile{"Use MBR.BIN backup?",
                      "OK to use E:\\tsd\\MBR.BIN to restore original TSD partitions?",
                      Buttons::OkCancel};
const BoxRow kOldTable =
    Note("INFO: An old MBR is present at LBA1.",
         "INFORMATION: Only the old grub4dos LBA1 backup MBR is present on this "
         "drive!\r\nHowever, it may not have valid partitions.");
const BoxRow kNothing =
    Warning("No valid backup sectors!",
            "ERROR: Cannot find a valid backup sector to restore TSD partitions!");
const UserAction kRestore = Click(Control::cmdRestoreTSD);

struct Places {
  Held at30 = Uniform, at60 = Uniform, at1 = Uniform, inFile = Uniform;
  std::size_t fileBytes = 0;
  std::uint64_t unreadable = 99;  // a sector
};

TEST(Restore, LooksAtThePlacesInTheirOrder) {
  const BoxRows askFile{kNoBackup, kAskFile}, askFileInVain{kNoBackup, kAskFile, kOldTable};
  const struct {
    const char* name;
    Places places;
    BoxRows boxes;
    const char* reads;  // behind that of the table; LBA 0 again where the answer was OK
  } rows[] = {
      {"LBA 30", {.at30 = Sound, .unreadable = 60}, {kAsk}, "30 0"},
      {"LBA 30, Cancel", {.at30 = Sound}, {kAsk}, "30"},
      {"LBA 60", {.at60 = Sound, .unreadable = 1}, {kAsk}, "30 60 0"},
      {"no boot code", {.at30 = NoBootCode, .at60 = Sound}, {kAsk}, "30 60"},
      {"no 55 AA", {.at30 = NoEnding, .at60 = Sound}, {kAsk}, "30 60"},
      {"no partition", {.at30 = NoPartition, .at60 = Sound}, {kAsk}, "30 60"},
      {"LBA 30 isn't read", {.at60 = Sound, .unreadable = 30}, {ReadFailed(30)}, "30 30"},
      {"LBA 60 isn't read", {.unreadable = 60}, {ReadFailed(60)}, "30 60 60"},
      {"long file", {.inFile = Sound, .fileBytes = 600}, askFile, "30 60 0"},
      {"file, Cancel", {.at1 = Sound, .inFile = Sound, .fileBytes = 512}, askFileInVain, "30 60 1"},
      {"file a byte short", {.inFile = Sound, .fileBytes = 511}, {kNoBackup}, "30 60 1"},
      {"LBA 1 without boot code", {.at1 = NoBootCode}, {kNoBackup, kOldTable}, "30 60 1"},
      {"LBA 1 uniform", {}, {kNoBackup}, "30 60 1"},
      {"LBA 1 without a partition", {.at1 = NoPartition}, {kNoBackup}, "30 60 1"},
      {"LBA 1 isn't read", {.unreadable = 1}, {kNoBackup, kNothing}, "30 60 1 1"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    SwitchedStick program;
    VirtualDisk& stick = program.world.stick;
    stick.SetSector(30, TableWith(row.places.at30));
    stick.SetSector(60, TableWith(row.places.at60));
    stick.SetSector(1, TableWith(row.places.at1));
    if (row.places.fileBytes != 0) {
      const VirtualSector table = TableWith(row.places.inFile);
      std::string content(table.begin(), table.end());
      content.resize(row.places.fileBytes);
      program.world.inner.AddText("\\tsd\\mbr.bin", content);
    }
    program.Start();
    stick.unreadable = {row.places.unreadable};
    auto expected = stick.Contents();
    const std::string reads = "0 " + std::string(row.reads);
    const bool agreed = reads.ends_with(" 0");
    const auto questions = std::count_if(row.boxes.begin(), row.boxes.end(), [](const auto& box) {
      return box.buttons == Buttons::OkCancel;
    });
    const std::vector answers(static_cast<std::size_t>(questions),
                              agreed ? Answer::Ok : Answer::Cancel);
    EXPECT_EQ(program.Boxes(kRestore, answers), row.boxes);
    EXPECT_EQ(agreed ? program.Reads().substr(0, reads.size()) : program.Reads(), reads);
    if (agreed) expected[0] = TableWith(Sound);
    EXPECT_EQ(stick.Contents(), expected);
    EXPECT_EQ(program.Rows(Control::List1).empty(), !agreed);  // E: is the main volume again
  }
}

TEST(Restore, TellsOfATableThatIsNotWritten) {
  for (const bool fromFile : {false, true}) {
    SwitchedStick program;
    VirtualDisk& stick = program.world.stick;
    const VirtualSector table = TableWith(Sound);
    stick.SetSector(1, table);
    stick.SetSector(30, fromFile ? VirtualSector{} : table);
    program.world.inner.AddText("\\tsd\\mbr.bin", std::string(table.begin(), table.end()));
    stick.unwritable = {0};
    EXPECT_EQ(program.Boxes(kRestore, {Answer::Ok}),
              fromFile ? (BoxRows{kNoBackup, kAskFile, WriteFailed(0), kOldTable})
                       : (BoxRows{kAsk, WriteFailed(0)}));
    EXPECT_EQ(program.Written(), "0!");
  }
}

TEST(Restore, LooksAtTheVolumeFirst) {
  const BoxRow kNormal =
      Note("Drive is not in CSM mode!",
           "Volume E: already contains Tesseldyn files.\r\nPartition not updated.");
  const BoxRow kWarning =
      Note("Check for \\menu.lst,\\boot6,\\grldr,\\tsd\\unifont.hex.gz",
           "WARNING: Volume E: does not appear to contain valid Tesseldyn CSM files");
  struct Row {
    const char* file;
    std::uint32_t attributes;  // kInvalidAttributes: it is missing
    BoxRows boxes;
  };
  const Row kRows[] = {{"\\_ISO\\tsd\\grub\\tsd.cfg", kAttributeHidden, {kNormal}},
                       {"\\menu.lst", kInvalidAttributes, {kWarning, kAsk}},
                       {"\\boot6", kInvalidAttributes, {kWarning, kAsk}},
                       {"\\grldr", kInvalidAttributes, {kWarning, kAsk}},
                       {"\\tsd\\unifont.hex.gz", kInvalidAttributes, {kWarning, kAsk}},
                       {"\\grldr", kAttributeHidden | kAttributeSystem, {kAsk}},
                       {"\\grldr", kAttributeDirectory, {kWarning, kAsk}}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.file);
    SwitchedStick program;
    program.world.stick.SetSector(30, TableWith(Sound));
    if (row.attributes == kInvalidAttributes) {
      program.world.inner.Remove(row.file);
    } else {
      program.world.inner.AddText(row.file, "").attributes = row.attributes;
    }
    const bool asked = row.boxes.back() == kAsk;
    EXPECT_EQ(program.Boxes(kRestore, std::vector(asked ? 1 : 0, Answer::Cancel)), row.boxes);
    EXPECT_EQ(program.Reads().empty(), !asked);
  }
}

TEST(Restore, TurnsToTheVolumeThatHoldsTheFiles) {
  SwitchedStick program;
  VirtualSector table = program.world.stick.Sector(0);
  demo::SetEntry(table, 2, false, 0x0C, demo::kSecondStart, demo::kSecondSectors);
  program.world.stick.SetSector(0, table);
  program.world.stick.SetSector(30, TableWith(Sound));
  program.pc.RenewTables();
  program.Boxes(Pick(Control::Combo1, "F:"));
  EXPECT_EQ(program.Boxes(kRestore, {Answer::Cancel}),
            BoxRows{kAsk});  // F: would have brought the warning
  EXPECT_EQ(MYDRIVE, "E:");
}

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
    SwitchedStick program;
    program.world.systemDisk.number = 2;
    program.world.stick.number = row.number;
    program.world.stick.SetSector(30, TableWith(Sound));
    program.Prepare();
    MYDRIVE = row.drive;
    Picked_Drive_no = row.number;
    ShowAllDrives = row.showAll;
    if (row.imagesListed) program.pc.toolkit.AddItem(Control::List1, "E:\\a.volPAK");
    if (row.goesOn) program.pc.toolkit.AnswerNext(Answer::Cancel);
    program.Call(cmdRestoreTSD_Click);
    EXPECT_EQ(program.TakeBoxes().size(), row.goesOn ? 1U : 0U);
    EXPECT_EQ(program.Reads(), row.goesOn ? "0 30" : "");
  }
}

}  // namespace
