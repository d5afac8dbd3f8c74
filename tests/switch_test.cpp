// The switch from the double-click to the last write: the checks of the drive, the backups, the
// order of everything that reaches the disk, the last question.
#include <cstring>

#include "tests/support.h"

namespace {

using Lines = std::vector<std::string>;

constexpr OpMask kDiskWork = MaskOf(Op::Lock, Op::Unlock, Op::Dismount, Op::RenewTable, Op::Write,
                                    Op::Sleep, Op::PointerChange);
constexpr const char* kRescue = "E:\\_ISO\\Rescue.volPAK";
constexpr const char* kQuestion = "Change partition table";
const UserAction kSwitch = Open(kRescue);
const BoxRow kLastQuestion{kQuestion,
                           "PTN1: Type=07 (NTFS)   Start=200000 (0x30D40) \r\n"
                           "E:\\_ISO\\Rescue.volPAK\r\n\r\nPTN2: -\r\n\r\nPTN3: -\r\n\r\nPTN4: -"
                           "\r\n\r\nOK to write new MBR to Drive 1?",
                           Buttons::OkCancel};

// What an agreed switch does to the disk, step by step.
constexpr const char* kSteps =
    "sleep 50, sleep 50, sleep 50, sleep 50, "  // behind the reads of 0, 30, 60 and 0
    "write PhysicalDrive1 lba=60 n=1 ok, sleep 50, write PhysicalDrive1 lba=30 n=1 ok, sleep 50, "
    "sleep 50, "                                                // LBA 0 afresh
    "lock E: ok, dismount E: ok, lock F: ok, dismount F: ok, "  // and let go
    "lock E: ok, dismount E: ok, lock F: ok, dismount F: ok, "  // held for the boot record
    "write PhysicalDrive1 lba=200000 n=1 ok, sleep 50, unlock E: ok, unlock F: ok, "
    "pointer hourglass, sleep 1000, pointer default, "
    "lock E: ok, dismount E: ok, lock F: ok, dismount F: ok, "
    "write PhysicalDrive1 lba=0 n=1 ok, sleep 50, renew-table PhysicalDrive1 ok, "
    "lock E: ok, dismount E: ok, unlock E: ok, "  // the letters follow the new table
    "pointer hourglass, sleep 1000, renew-table PhysicalDrive1 ok, "
    "sleep 1000, renew-table PhysicalDrive1 ok, pointer default, ";

TEST(Switch, MakesThePickedImagePartition1) {
  ProgramOnPc program;
  program.Start();
  const VirtualDisk& stick = program.world.stick;
  const VirtualSector oldTable = stick.Sector(0);
  const VirtualSector oldBootRecord = stick.Sector(200'000);
  const auto before = stick.Contents();
  const auto systemBefore = program.world.systemDisk.Contents();
  EXPECT_EQ(program.Boxes(kSwitch, {Answer::Ok}), BoxRows{kLastQuestion});
  std::string steps;
  for (const std::string& line : program.Lines(kDiskWork)) steps += line + ", ";
  EXPECT_EQ(steps.substr(0, std::strlen(kSteps)), kSteps);  // behind it the drive list is refreshed
  EXPECT_EQ(program.Written(), "60 30 200000 0");

  VirtualSector newTable = oldTable;
  const std::uint8_t entry1[16] = {0x80, 0xFE, 0xFF, 0xFF, 7, 0xFE, 0xFF, 0xFF,
                                   0x40, 0x0D, 3,    0,    0, 0,    2,    0};
  std::copy_n(entry1, 16, newTable.begin() + 446);
  std::fill_n(newTable.begin() + 462, 48, std::uint8_t{0});
  Put32(newTable, 440, 200'000);
  VirtualSector newBootRecord = oldBootRecord;
  Put32(newBootRecord, 28, 200'000);
  auto after = before;
  after[0] = newTable;
  after[30] = after[60] = oldTable;
  after[200'000] = newBootRecord;
  EXPECT_EQ(stick.Contents(), after);  // and nothing else on the whole stick
  EXPECT_EQ(program.world.systemDisk.Contents(), systemBefore);

  EXPECT_EQ(program.Rows(Control::Combo1).size(), 1U);
  EXPECT_TRUE(program.Rows(Control::List1).empty());
  EXPECT_TRUE(program.Enabled(Control::cmdRestoreTSD));
}

// Every combination of the four defects that a table can have.
TEST(SwitchChecks, ShowEverythingThatIsWrongWithTheTable) {
  const std::string kMbr = "ERROR: MBR on drive 1 does not ";
  const char* const kNoGrub = "Need to install grub4dos to MBR!";
  const BoxRow kBoxes[] = {
      Warning("No partition table entries", "ERROR: MBR on drive 1 has no partitions"),
      Warning(kNoGrub, kMbr + "have grub4dos installed."),
      Warning(kNoGrub, kMbr + "have valid 55 AA ending bytes."),
      Warning("MBR is not an TSD MBR?",
              kMbr + "contain a partition near the start of the drive.\r\nUse 'Safely Remove "
                     "Drive' System Tray icon and re-insert USB drive.")};
  for (unsigned defects = 1; defects < 16; ++defects) {
    SCOPED_TRACE(defects);
    ProgramOnPc program;
    program.Start();  // lists the images before the table goes bad
    VirtualSector table = program.world.stick.Sector(0);
    if ((defects & 1) != 0) table[446] = table[462] = 0x01;
    if ((defects & 2) != 0) table[demo::kBootCodeMark] = 'm';
    if ((defects & 4) != 0) table[511] = 0;
    if ((defects & 8) != 0) table[446 + 10] = 1;  // sector 67584
    program.world.stick.SetSector(0, table);
    BoxRows expected;
    for (unsigned i = 0; i < 4; ++i) {
      if ((defects >> i & 1) != 0) expected.push_back(kBoxes[i]);
    }
    EXPECT_EQ(program.Boxes(kSwitch), expected);
    EXPECT_EQ(program.Lines(MaskOf(Op::Read, Op::Write)),
              Lines{"read PhysicalDrive1 lba=0 n=1 ok"});
  }
}

// A backup sector: zeros, ones, a saved table, one without an entry, something foreign.
VirtualSector SectorOf(char held) {
  VirtualSector sector = FilledSector(held == '1' ? 0xFF : 0);
  if (held == 'f') sector[7] = 1;
  if (held == 's' || held == 'n') sector = demo::Grub4dosMbr();
  if (held == 's') demo::SetEntry(sector, 1, true, 7, 63, 1000);
  return sector;
}

const BoxRow kNoRoom = Warning("No backup sector available for MBR!",
                               "ERROR: LBA 30 and LBA 60 both in use - reformat USB drive");
const BoxRow kSwitchedAlready =
    Warning("Partition table is already switched!",
            "ERROR: MBR on drive 1 is already switched and neither LBA 30 nor "
            "LBA 60 holds the table from before.");

TEST(SwitchBackup, TakesBlankSectorsAndOldCopiesOnly) {
  struct Row {
    char at30, at60;
    // The entry whose start the disk signature shows, since a switch (and a swap) left it there; 0:
    // entry 1, which got the type 0. Blank: the table is the stick's own.
    char switched;
    const char* written;
    BoxRow box;
  };
  const Row kRows[] = {{'0', '0', ' ', "60 30", kLastQuestion},
                       {'s', 'n', ' ', "60 30", kLastQuestion},
                       {'1', 'f', ' ', "30", kLastQuestion},
                       {'f', '0', ' ', "60", kLastQuestion},
                       {'f', 'f', ' ', "", kNoRoom},
                       {'s', '0', '1', "", kLastQuestion},
                       {'f', 's', '1', "", kLastQuestion},
                       {'s', 's', '2', "", kLastQuestion},
                       {'s', 's', '0', "", kLastQuestion},
                       {'n', '0', '1', "", kSwitchedAlready},
                       {'0', '0', '2', "", kSwitchedAlready},
                       {'f', 'f', '1', "", kNoRoom},
                       {'s', '0', 'e', "60 30", kLastQuestion}};  // no second entry, signature 0
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(1, row.at30) + row.at60 + row.switched);
    ProgramOnPc program;
    VirtualDisk& stick = program.world.stick;
    stick.SetSector(30, SectorOf(row.at30));
    stick.SetSector(60, SectorOf(row.at60));
    VirtualSector table = stick.Sector(0);
    if (row.switched != ' ') Put32(table, 440, row.switched == '2' ? demo::kSecondStart : 2048);
    if (row.switched == 'e') {
      Put32(table, 440, 0);
      std::fill_n(table.begin() + 462, 16, std::uint8_t{0});
    }
    if (row.switched == '0') {
      table[450] = 0;
      demo::SetEntry(table, 4, false, 0x17, 63, 100);  // near the start
    }
    stick.SetSector(0, table);
    auto expected = stick.Contents();
    const std::string written = row.written;
    if (written.starts_with("60")) expected[60] = table;
    if (written.ends_with("30")) expected[30] = table;
    const std::vector<Answer> answers(row.box == kLastQuestion ? 1 : 0, Answer::Cancel);
    EXPECT_EQ(program.Boxes(kSwitch, answers), BoxRows{row.box});
    EXPECT_EQ(program.Written(), written);
    EXPECT_EQ(stick.Contents(), expected);
    EXPECT_TRUE(program.Lines(MaskOf(Op::Lock, Op::Dismount, Op::RenewTable)).empty());
  }
}

TEST(SwitchFailures, EachReadAndWriteThatFailsIsTold) {
  struct Row {
    bool reading;
    std::uint64_t sector;
    BoxRows boxes;
    std::string written;
  };
  const BoxRow kRecordRead = Stop("Error in Adjusting Hidden Sectors in PBR", "DISK READ ERROR");
  const BoxRow kRecordWrite =
      Stop("Error Adjusting Hidden Sectors in PBR", "WRITE ERROR TO SECTOR 200000");
  const Row kRows[] = {{true, 0, {ReadFailed(0)}, ""},
                       {true, 30, {ReadFailed(30)}, ""},
                       {true, 60, {ReadFailed(60)}, ""},
                       {false, 60, {WriteFailed(60)}, "60!"},
                       {false, 30, {WriteFailed(30)}, "60 30!"},
                       {true, 200'000, {kLastQuestion, kRecordRead}, "60 30 0"},
                       {false, 200'000, {kLastQuestion, kRecordWrite}, "60 30 200000! 0"},
                       {false, 0, {kLastQuestion, WriteFailed(0)}, "60 30 200000 0!"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.boxes.back().text);
    ProgramOnPc program;
    program.Start();
    VirtualDisk& stick = program.world.stick;
    (row.reading ? stick.unreadable : stick.unwritable) = {row.sector};
    const std::vector<Answer> answers(row.boxes.size() - 1, Answer::Ok);
    EXPECT_EQ(program.Boxes(kSwitch, answers), row.boxes);
    EXPECT_EQ(program.Written(), row.written);
    const bool tableWritten = row.written.ends_with(" 0");
    EXPECT_EQ(program.Lines(MaskOf(Op::RenewTable)).size(), tableWritten ? 3U : 0U);
    EXPECT_EQ(program.Rows(Control::List1).empty(), tableWritten);  // refreshed or left alone
  }
}

}  // namespace
