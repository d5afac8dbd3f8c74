// The switch from the double-click to the last write: the checks of the drive, the backups, the
// order of everything that reaches the disk, the last question.
#include <algorithm>

#include "tests/support.h"

namespace {

constexpr OpMask kDiskWork = MaskOf(Op::Lock, Op::Unlock, Op::Dismount, Op::RenewTable, Op::Write,
                                    Op::Sleep, Op::PointerChange, Op::Events);
constexpr const char* kRescue = "E:\\_ISO\\Rescue.volPAK";
constexpr const char* kQuestion = "Change partition table";
const UserAction kSwitch = Open(kRescue);
const BoxRow kLastQuestion{kQuestion,
                           "PTN1: Type=07 (NTFS)   Start=200000 (0x30D40) \r\n"
                           "E:\\_ISO\\Rescue.volPAK\r\n\r\nPTN2: -\r\n\r\nPTN3: -\r\n\r\nPTN4: -"
                           "\r\n\r\nOK to write new MBR to Drive 1?",
                           Buttons::OkCancel};

// What an agreed switch does to the disk, step by step.
const std::string kRead = "events, sleep 50, events, ";
const std::string kLetGo =
    "events, lock E: ok, dismount E: ok, events, lock F: ok, dismount F: ok, ";
std::string WriteOf(const char* lba) {
  return std::string("events, write PhysicalDrive1 lba=") + lba + " n=1 ok, sleep 50, events, ";
}
const std::string kSteps =
    kRead + kRead + kRead + kRead +          // of 0, 30, 60 and 0
    WriteOf("60") + WriteOf("30") + kRead +  // LBA 0 afresh
    kLetGo +                                 // then the volumes are held for the boot record
    "lock E: ok, dismount E: ok, lock F: ok, dismount F: ok, events, " + WriteOf("200000") +
    "unlock E: ok, unlock F: ok, "
    "pointer hourglass, events, sleep 1000, events, pointer default, events, " +
    kLetGo + WriteOf("0") + "events, renew-table PhysicalDrive1 ok, events, " +
    "lock E: ok, dismount E: ok, unlock E: ok, "  // the letters follow the new table
    "pointer hourglass, events, sleep 1000, events, renew-table PhysicalDrive1 ok, "
    "sleep 1000, events, renew-table PhysicalDrive1 ok, pointer default, events, ";

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
  EXPECT_EQ(steps.substr(0, kSteps.size()), kSteps);  // after it the drive list is refreshed
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
  const std::string kMbr = "ERROR: MBR on drive 1 ";
  const char* const kNoGrub = "Need to install grub4dos to MBR!";
  const struct {
    std::vector<std::pair<std::size_t, std::uint8_t>> bytes;  // that make it so
    BoxRow box;
  } defects[] = {
      {{{446, 1}, {462, 1}}, Warning("No partition table entries", kMbr + "has no partitions")},
      {{{demo::kBootCodeMark, 'm'}}, Warning(kNoGrub, kMbr + "does not have grub4dos installed.")},
      {{{511, 0}}, Warning(kNoGrub, kMbr + "does not have valid 55 AA ending bytes.")},
      {{{456, 1}},  // entry 1 starts at sector 67584
       Warning("MBR is not an TSD MBR?",
               kMbr + "does not contain a partition near the start of the drive.\r\nUse 'Safely "
                      "Remove Drive' System Tray icon and re-insert USB drive.")}};
  for (unsigned combination = 1; combination < 16; ++combination) {
    SCOPED_TRACE(combination);
    StartedPc program;  // lists the images before the table goes bad
    VirtualSector table = program.world.stick.Sector(0);
    BoxRows expected;
    for (unsigned i = 0; i < 4; ++i) {
      if ((combination >> i & 1) == 0) continue;
      for (const auto& [at, value] : defects[i].bytes) table[at] = value;
      expected.push_back(defects[i].box);
    }
    program.world.stick.SetSector(0, table);
    EXPECT_EQ(program.Boxes(kSwitch), expected);
    EXPECT_EQ(program.Lines(MaskOf(Op::Read, Op::Write)),
              Texts{"read PhysicalDrive1 lba=0 n=1 ok"});
  }
}

// What a backup sector may hold. NoEntry is a saved table without an entry.
enum class Held { Zeros, Ones, Saved, NoEntry, Foreign };
using enum Held;

VirtualSector SectorOf(Held held) {
  VirtualSector sector = FilledSector(held == Ones ? 0xFF : 0);
  if (held == Foreign) sector[7] = 1;
  if (held == Saved || held == NoEntry) sector = demo::Grub4dosMbr();
  if (held == Saved) demo::SetEntry(sector, 1, true, 7, 63, 1000);
  return sector;
}

// The stick's own table, and what tells that a switch has made it: the disk signature shows the
// start of entry 1, or of entry 2 after an exchange, or of entry 1 that got the type 0.
using Patch = void (*)(VirtualSector& table);
void Unswitched(VirtualSector&) {
}
void SignedAsEntry1(VirtualSector& table) {
  Put32(table, 440, 2048);
}
void SignedAsEntry2(VirtualSector& table) {
  Put32(table, 440, demo::kSecondStart);
}
void SignedAsEntry1OfType0(VirtualSector& table) {
  SignedAsEntry1(table);
  table[450] = 0;
  demo::SetEntry(table, 4, false, 0x17, 63, 100);  // near the start
}
void Entry2AndSignatureZero(VirtualSector& table) {
  Put32(table, 440, 0);
  std::fill_n(table.begin() + 462, 16, std::uint8_t{0});
}

const BoxRow kNoRoom = Warning("No backup sector available for MBR!",
                               "ERROR: LBA 30 and LBA 60 both in use - reformat USB drive");
const BoxRow kSwitchedAlready =
    Warning("Partition table is already switched!",
            "ERROR: MBR on drive 1 is already switched and neither LBA 30 nor "
            "LBA 60 holds the table from before.");

TEST(SwitchBackup, TakesBlankSectorsAndOldCopiesOnly) {
  const struct {
    Held at30, at60;
    Patch patch;
    const char* written;
    BoxRow box = kLastQuestion;
  } rows[] = {{Zeros, Zeros, Unswitched, "60 30"},
              {Saved, NoEntry, Unswitched, "60 30"},
              {Ones, Foreign, Unswitched, "30"},
              {Foreign, Zeros, Unswitched, "60"},
              {Foreign, Foreign, Unswitched, "", kNoRoom},
              {Saved, Zeros, SignedAsEntry1, ""},
              {Foreign, Saved, SignedAsEntry1, ""},
              {Saved, Saved, SignedAsEntry2, ""},
              {Saved, Saved, SignedAsEntry1OfType0, ""},
              {NoEntry, Zeros, SignedAsEntry1, "", kSwitchedAlready},
              {Zeros, Zeros, SignedAsEntry2, "", kSwitchedAlready},
              {Foreign, Foreign, SignedAsEntry1, "", kNoRoom},
              {Saved, Zeros, Entry2AndSignatureZero, "60 30"}};
  for (const auto& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    ProgramOnPc program;
    VirtualDisk& stick = program.world.stick;
    stick.SetSector(30, SectorOf(row.at30));
    stick.SetSector(60, SectorOf(row.at60));
    VirtualSector table = stick.Sector(0);
    row.patch(table);
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

TEST(SwitchFailures, LBA0IsReadAgainBeforeItIsSaved) {
  StartedPc program;
  program.Plan(FaultKind::Refusal, MaskOf(Op::Read), 4);  // after 0, 30 and 60
  program.pc.machine.plan.times = 2;
  EXPECT_EQ(program.Boxes(kSwitch), BoxRows{ReadFailed(0)});
  EXPECT_EQ(program.Written(), "");
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
