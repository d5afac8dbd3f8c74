// The way back: which saved table is taken, what is asked and told, what is refused in silence.
#include "disk/picked_drive.h"
#include "restore/partition_restore.h"
#include "tests/support.h"

namespace {

// The stick's own table ('S'), or one without boot code ('b'), ending ('e') or partitions ('p'), or
// a uniform sector ('u').
VirtualSector TableWith(char kind) {
  if (kind == 'u') return FilledSector(0x55);
  VirtualSector table = demo::Grub4dosMbr();
  if (kind != 'p') demo::SetEntry(table, 1, true, 7, demo::kMainStart, demo::kMainSectors);
  if (kind == 'b') table[demo::kBootCodeMark] = 'm';
  if (kind == 'e') table[510] = 0;
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
  // "30 60 0 w0": the sectors read and written, in order.
  std::string Transfers() const {
    std::string text;
    for (const JournalEntry& entry : pc.machine.journal.Only(MaskOf(Op::Read, Op::Write))) {
      text += (text.empty() ? "" : " ") + std::string(entry.op == Op::Write ? "w" : "") +
              std::to_string(entry.lba);
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

TEST(Restore, LooksAtThePlacesInTheirOrder) {
  struct Row {
    const char* name;
    const char* places;  // what LBA 30, LBA 60, the file ('-': none) and LBA 1 hold
    std::size_t fileBytes;
    int defect;   // the sector that can't be read or, if 0, written; -1: none
    char answer;  // 'O', 'C'; ' ': nothing is asked
    BoxRows boxes;
    const char* transfers;  // up to the write
  };
  const BoxRows kFileNotWritten{kNoBackup, kAskFile, WriteFailed(0), kOldTable};
  const Row kRows[] = {
      {"30", "SSSS", 512, 60, 'O', {kAsk}, "30 0 w0"},
      {"30, Cancel", "SSSS", 512, -1, 'C', {kAsk}, "30"},
      {"60", "uSSS", 512, 1, 'O', {kAsk}, "30 60 0 w0"},
      {"60, Cancel", "uSSS", 512, -1, 'C', {kAsk}, "30 60"},
      {"30 without boot code", "bS-S", 0, -1, 'C', {kAsk}, "30 60"},
      {"30 without 55 AA", "eS-S", 0, -1, 'C', {kAsk}, "30 60"},
      {"30 without a partition", "pS-S", 0, -1, 'C', {kAsk}, "30 60"},
      {"30 not read", "SSSS", 512, 30, ' ', {ReadFailed(30)}, "30 30"},
      {"60 not read", "uSSS", 512, 60, ' ', {ReadFailed(60)}, "30 60 60"},
      {"0 not written", "SSSS", 512, 0, 'O', {kAsk, WriteFailed(0)}, "30 0 w0"},
      {"file", "ueSS", 512, -1, 'O', {kNoBackup, kAskFile}, "30 60 0 w0"},
      {"long file", "buSS", 600, -1, 'O', {kNoBackup, kAskFile}, "30 60 0 w0"},
      {"file, not written", "uuSS", 512, 0, 'O', kFileNotWritten, "30 60 0 w0 1"},
      {"file, Cancel", "uuSS", 512, -1, 'C', {kNoBackup, kAskFile, kOldTable}, "30 60 1"},
      {"file a byte short", "ubSu", 511, -1, ' ', {kNoBackup}, "30 60 1"},
      {"file without boot code", "uubb", 512, -1, ' ', {kNoBackup, kOldTable}, "30 60 1"},
      {"1 sound", "uu-S", 0, -1, ' ', {kNoBackup, kOldTable}, "30 60 1"},
      {"1 uniform", "uu-u", 0, -1, ' ', {kNoBackup}, "30 60 1"},
      {"1 without 55 AA", "uu-e", 0, -1, ' ', {kNoBackup}, "30 60 1"},
      {"1 without a partition", "uu-p", 0, -1, ' ', {kNoBackup}, "30 60 1"},
      {"1 not read", "uu-S", 0, 1, ' ', {kNoBackup, kNothing}, "30 60 1 1"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    SwitchedStick program;
    VirtualDisk& stick = program.world.stick;
    stick.SetSector(30, TableWith(row.places[0]));
    stick.SetSector(60, TableWith(row.places[1]));
    stick.SetSector(1, TableWith(row.places[3]));
    if (row.places[2] != '-') {
      const VirtualSector table = TableWith(row.places[2]);
      std::string content(table.begin(), table.end());
      content.resize(row.fileBytes);
      program.world.inner.AddText("\\tsd\\mbr.bin", content);
    }
    program.Start();
    if (row.defect >= 0) {
      const auto sector = static_cast<std::uint64_t>(row.defect);
      (row.defect == 0 ? stick.unwritable : stick.unreadable) = {sector};
    }
    auto expected = stick.Contents();
    std::vector<Answer> answers;
    if (row.answer != ' ') answers = {row.answer == 'O' ? Answer::Ok : Answer::Cancel};
    EXPECT_EQ(program.Boxes(kRestore, answers), row.boxes);
    const bool written = row.answer == 'O' && row.defect != 0;
    const std::string transfers = program.Transfers();
    const std::string wanted = "0 " + std::string(row.transfers);  // the table to be replaced first
    EXPECT_EQ(written ? transfers.substr(0, wanted.size()) : transfers, wanted);
    if (written) expected[0] = TableWith('S');
    EXPECT_EQ(stick.Contents(), expected);
    EXPECT_EQ(program.Rows(Control::List1).empty(), !written);  // E: is the main volume again
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
    program.world.stick.SetSector(30, TableWith('S'));
    if (row.attributes == kInvalidAttributes) {
      program.world.inner.Remove(row.file);
    } else {
      program.world.inner.AddText(row.file, "").attributes = row.attributes;
    }
    const bool asked = row.boxes.back() == kAsk;
    EXPECT_EQ(program.Boxes(kRestore, std::vector(asked ? 1 : 0, Answer::Cancel)), row.boxes);
    EXPECT_EQ(program.Transfers().empty(), !asked);
  }
}

TEST(Restore, TurnsToTheVolumeThatHoldsTheFiles) {
  SwitchedStick program;
  VirtualSector table = program.world.stick.Sector(0);
  demo::SetEntry(table, 2, false, 0x0C, demo::kSecondStart, demo::kSecondSectors);
  program.world.stick.SetSector(0, table);
  program.world.stick.SetSector(30, TableWith('S'));
  program.pc.RenewTables();
  program.Boxes(Pick(Control::Combo1, "F:"));
  EXPECT_EQ(program.Boxes(kRestore, {Answer::Cancel}),
            BoxRows{kAsk});  // F: would have brought the warning
  EXPECT_EQ(MYDRIVE, "E:");
}

TEST(Restore, RefusesInSilence) {
  struct Row {
    const char* name;
    const char* drive;
    int number;  // of the stick
    bool imagesListed, showAll, goesOn;
  };
  const Row kRows[] = {{"images are listed", "E:", 1, true, false, false},
                       {"no drive", "E", 1, false, false, false},
                       {"no such volume", "Q:", 1, false, true, false},
                       {"drive 0", "E:", 0, false, false, false},
                       {"drive 0 with all drives shown", "E:", 0, false, true, true},
                       {"drive 60", "E:", 60, false, false, true},
                       {"drive 61", "E:", 61, false, true, false}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    SwitchedStick program;
    program.world.systemDisk.number = 2;
    program.world.stick.number = row.number;
    program.world.stick.SetSector(30, TableWith('S'));
    program.Prepare();
    MYDRIVE = row.drive;
    Picked_Drive_no = row.number;
    ShowAllDrives = row.showAll;
    if (row.imagesListed) program.pc.toolkit.AddItem(Control::List1, "E:\\a.volPAK");
    if (row.goesOn) program.pc.toolkit.AnswerNext(Answer::Cancel);
    program.Call(cmdRestoreTSD_Click);
    EXPECT_EQ(program.TakeBoxes().size(), row.goesOn ? 1U : 0U);
    EXPECT_EQ(program.Transfers(), row.goesOn ? "0 30" : "");
  }
}

}  // namespace
