// The switch from the double-click to the last write: the checks of the drive, the backups, the
// order of everything that reaches the disk, the last question.
#include <algorithm>
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

// Windows may sign a switched disk anew. Then the saved table tells that entry 1, or the one that
// an exchange has put second, points into a partition.
TEST(SwitchBackup, IsNotReplacedByATableThatPointsIntoAPartition) {
  const std::uint32_t kInside = demo::kNtfsImage.lba;
  constexpr std::uint32_t kLastOfMain = demo::kMainStart + demo::kMainSectors - 1;
  const struct {
    const char* name;
    TableEntry first, second;
    const char* written;
    bool savedIsSound = true;
  } rows[] = {
      {"switched", {true, 7, kInside, 100}, {false, 0x0C, demo::kSecondStart, 100}, ""},
      {"the partition's last sector", {true, 7, kLastOfMain, 1}, {}, ""},
      {"right after the partition", {true, 7, kLastOfMain + 1, 1}, {}, "60 30"},
      {"the partition itself", {true, 7, demo::kMainStart, 100}, {}, "60 30"},
      {"an empty entry", {true, 0, kInside, 100}, {}, "60 30"},
      {"switched and exchanged", {false, 7, 100, 100}, {true, 7, kInside, 100}, ""},
      {"a second partition made anew", {true, 7, 2048, 100}, {false, 7, kInside, 100}, "60 30"},
      {"no sound table to go back to", {true, 7, kInside, 100}, {}, "60 30", false}};
  for (const auto& row : rows) {
    for (const std::uint64_t place : {30U, 60U}) {
      SCOPED_TRACE(std::string(row.name) + " " + std::to_string(place));
      ProgramOnPc program;
      VirtualDisk& stick = program.world.stick;
      VirtualSector saved = stick.Sector(0), table = saved;
      if (!row.savedIsSound) saved[510] = 0;
      stick.SetSector(place, saved);
      program.Start();
      demo::SetEntry(table, 4, false, 0x17, 63, 100);  // near the start
      demo::SetEntry(table, 1, row.first.active, row.first.type, row.first.start,
                     row.first.sectors);
      demo::SetEntry(table, 2, row.second.active, row.second.type, row.second.start,
                     row.second.sectors);
      stick.SetSector(0, table);
      program.Boxes(kSwitch, {Answer::Cancel});
      EXPECT_EQ(program.Written(), row.written);
    }
  }
}

// What is blank is no free place where a partition covers it.
TEST(SwitchBackup, TakesNoSectorOfAPartition) {
  const struct {
    std::uint32_t start, sectors;
    const char* written;
  } rows[] = {{61, 1000, "60 30"}, {60, 1000, "30"}, {31, 1000, "30"},
              {31, 29, "60 30"},   {30, 1000, ""},   {30, 30, "60"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.start) + " " + std::to_string(row.sectors));
    StartedPc program;
    VirtualSector table = program.world.stick.Sector(0);
    demo::SetEntry(table, 3, false, 7, row.start, row.sectors);
    program.world.stick.SetSector(0, table);
    const bool asked = *row.written != 0;
    EXPECT_EQ(program.Boxes(kSwitch, std::vector(asked ? 1 : 0, Answer::Cancel)),
              BoxRows{asked ? kLastQuestion : kNoRoom});
    EXPECT_EQ(program.Written(), row.written);
  }
}

TEST(SwitchFailures, EachReadAndWriteThatFailsIsTold) {
  enum class Defect { Unreadable, Unwritable, Forgetful };
  using enum Defect;
  struct Row {
    Defect defect;
    std::uint64_t sector;
    BoxRows boxes;
    std::string written;
  };
  const BoxRow kNoProof = Warning("Bad place of file!",
                                  "ERROR: Sector 200000 of Drive 1 can't be read.\r\nThe "
                                  "partition table was not changed.");
  const BoxRow kRecordWrite =
      Stop("Error Adjusting Hidden Sectors in PBR", "WRITE ERROR TO SECTOR 200000");
  const Row kRows[] = {{Unreadable, 0, {ReadFailed(0)}, ""},
                       {Unreadable, 30, {ReadFailed(30)}, ""},
                       {Unreadable, 60, {ReadFailed(60)}, ""},
                       {Unwritable, 60, {WriteFailed(60)}, "60!"},
                       {Unwritable, 30, {WriteFailed(30)}, "60 30!"},
                       {Unreadable, 200'000, {kNoProof}, "60 30"},
                       {Unwritable, 200'000, {kLastQuestion, kRecordWrite}, "60 30 200000! 0"},
                       {Unwritable, 0, {kLastQuestion, WriteFailed(0)}, "60 30 200000 0!"},
                       {Forgetful, 60, {WriteFailed(60)}, "60"},
                       {Forgetful, 30, {WriteFailed(30)}, "60 30"},
                       {Forgetful, 200'000, {kLastQuestion, kRecordWrite}, "60 30 200000 0"},
                       {Forgetful, 0, {kLastQuestion, WriteFailed(0)}, "60 30 200000 0"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.boxes.back().text);
    ProgramOnPc program;
    program.Start();
    VirtualDisk& stick = program.world.stick;
    (row.defect == Unreadable   ? stick.unreadable
     : row.defect == Unwritable ? stick.unwritable
                                : stick.forgetful) = {row.sector};
    const std::vector<Answer> answers(row.boxes.size() - 1, Answer::Ok);
    EXPECT_EQ(program.Boxes(kSwitch, answers), row.boxes);
    EXPECT_EQ(program.Written(), row.written);
    const bool tableWritten = row.written.ends_with(" 0") && row.sector != 0;
    EXPECT_EQ(program.Lines(MaskOf(Op::RenewTable)).size(), tableWritten ? 3U : 0U);
    EXPECT_EQ(program.Rows(Control::List1).empty(), tableWritten);  // refreshed or left alone
  }
}

}  // namespace
