// The switch from the double-click to the last write: the checks of the drive, the backups, the
// order of everything that reaches the disk, the last question, and what each failure leaves.
#include "disk/sector_buffer.h"
#include "shell/form1.h"
#include "switch/hidden_sectors.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

using Lines = std::vector<std::string>;

constexpr OpMask kDiskWork = MaskOf(Op::Lock, Op::Unlock, Op::Dismount, Op::RenewTable, Op::Write,
                                    Op::Sleep, Op::PointerChange);
constexpr const char* kRescue = "E:\\_ISO\\Rescue.volPAK";
constexpr const char* kQuestion = "Change partition table";
constexpr const char* kToolFailed = "getFileExtents failed";
constexpr const char* kHiddenTitle = "Error in Adjusting Hidden Sectors in PBR";
constexpr const char* kHiddenWriteTitle = "Error Adjusting Hidden Sectors in PBR";
const BoxRow kLastQuestion{kQuestion,
                           "PTN1: Type=07 (NTFS)   Start=200000 (0x30D40) \r\n"
                           "E:\\_ISO\\Rescue.volPAK\r\n\r\nPTN2: -\r\n\r\nPTN3: -\r\n\r\nPTN4: -"
                           "\r\n\r\nOK to write new MBR to Drive 1?",
                           Buttons::OkCancel};

BoxRow ReadFailed(int sector) {
  return {"SECTOR READ FAILED", "READ SECTOR " + std::to_string(sector) + " from DRIVE 1 FAILED!",
          Buttons::Ok, Icon::Stop};
}

BoxRow WriteFailed(int sector) {
  return {"SECTOR WRITE FAILED", "WRITE SECTOR " + std::to_string(sector) + " to DRIVE 1 FAILED!",
          Buttons::Ok, Icon::Stop};
}

Lines Titles(const BoxRows& boxes) {
  Lines titles;
  for (const BoxRow& box : boxes) titles.push_back(box.title);
  return titles;
}

// "60 30!": the LBAs written, in order, failed ones with a "!".
std::string Written(const ProgramOnPc& program) {
  std::string places;
  for (const JournalEntry& entry : program.pc.machine.journal.Only(MaskOf(Op::Write))) {
    places += (places.empty() ? "" : " ") + std::to_string(entry.lba) + (entry.ok ? "" : "!");
  }
  return places;
}

void Put32(VirtualSector& sector, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) sector[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// "lock E:", "dismount E:" for each volume.
void AddTaken(Lines& lines, const std::string& volumes) {
  for (const char volume : volumes) {
    lines.push_back(std::string("lock ") + volume + ": ok");
    lines.push_back(std::string("dismount ") + volume + ": ok");
  }
}

void Add(Lines& lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
}

// What the two writes of an agreed switch do to the disk, step by step.
Lines ExpectedDiskWork() {
  Lines lines;
  for (int read = 0; read < 4; ++read) lines.push_back("sleep 50");  // 0, 30, 60, 0
  Add(lines, {"write PhysicalDrive1 lba=60 n=1 ok", "sleep 50",
              "write PhysicalDrive1 lba=30 n=1 ok", "sleep 50"});
  lines.push_back("sleep 50");  // LBA 0 afresh
  AddTaken(lines, "EF");        // dismounted and let go
  AddTaken(lines, "EF");        // held during the write of the boot record
  Add(lines, {"write PhysicalDrive1 lba=200000 n=1 ok", "sleep 50", "unlock E: ok", "unlock F: ok",
              "pointer hourglass", "sleep 1000", "pointer default"});
  AddTaken(lines, "EF");
  Add(lines, {"write PhysicalDrive1 lba=0 n=1 ok", "sleep 50", "renew-table PhysicalDrive1 ok"});
  AddTaken(lines, "E");  // the letters follow the new table
  Add(lines, {"unlock E: ok", "pointer hourglass", "sleep 1000", "renew-table PhysicalDrive1 ok",
              "sleep 1000", "renew-table PhysicalDrive1 ok", "pointer default"});
  return lines;
}

TEST(Switch, MakesThePickedImagePartition1) {
  ProgramOnPc program;
  program.Start();
  program.pc.machine.journal.Clear();
  const VirtualDisk& stick = program.world.stick;
  const VirtualSector oldTable = stick.Sector(0);
  const VirtualSector oldBootRecord = stick.Sector(200'000);
  const auto before = stick.Contents();
  const auto systemBefore = program.world.systemDisk.Contents();
  program.pc.toolkit.AnswerNext(Answer::Ok, kQuestion);
  program.Do(Open(kRescue));

  EXPECT_EQ(program.TakeBoxes(), BoxRows{kLastQuestion});
  const Lines expected = ExpectedDiskWork();
  Lines work = program.Lines(kDiskWork);
  ASSERT_GE(work.size(), expected.size());
  work.resize(expected.size());  // behind it the drive list is refreshed
  EXPECT_EQ(work, expected);
  EXPECT_EQ(Written(program), "60 30 200000 0");

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

TEST(Switch, SaysInTheLogHowFarItCame) {
  for (const bool agreed : {true, false}) {
    for (const bool writable : {true, false}) {
      ProgramOnPc program;
      program.Start();
      program.TurnLoggingOn();
      if (!writable) program.world.stick.unwritable = {0};
      program.pc.toolkit.AnswerNext(agreed ? Answer::Ok : Answer::Cancel, kQuestion);
      program.Do(Open(kRescue));
      std::string marks;
      for (const std::string& line : program.TakeLog()) {
        if (line.starts_with("List1_DblClick ")) marks += line.substr(14);
      }
      EXPECT_EQ(marks, std::string(" 100 200 300 400 410 500 600 620 630 640 650 700 750 800") +
                           (writable || !agreed ? " END" : ""));
    }
  }
}

TEST(Switch, CancelLeavesOnlyTheBackups) {
  ProgramOnPc program;
  auto expected = program.world.stick.Contents();
  expected[30] = expected[60] = expected[0];
  program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
  program.Start({Open(kRescue)});
  EXPECT_EQ(program.TakeBoxes(), BoxRows{kLastQuestion});
  EXPECT_EQ(program.world.stick.Contents(), expected);
  EXPECT_TRUE(program.Lines(MaskOf(Op::Lock, Op::Dismount, Op::RenewTable)).empty());
  EXPECT_FALSE(program.Rows(Control::List1).empty());
}

// Every combination of the four defects that a table can have.
TEST(SwitchChecks, ShowEverythingThatIsWrongWithTheTable) {
  const BoxRow kBoxes[] = {
      {"No partition table entries", "ERROR: MBR on drive 1 has no partitions", Buttons::Ok,
       Icon::Exclamation},
      {"Need to install grub4dos to MBR!",
       "ERROR: MBR on drive 1 does not have grub4dos installed.", Buttons::Ok, Icon::Exclamation},
      {"Need to install grub4dos to MBR!",
       "ERROR: MBR on drive 1 does not have valid 55 AA ending bytes.", Buttons::Ok,
       Icon::Exclamation},
      {"MBR is not an TSD MBR?",
       "ERROR: MBR on drive 1 does not contain a partition near the start of the drive.\r\nUse "
       "'Safely Remove Drive' System Tray icon and re-insert USB drive.",
       Buttons::Ok, Icon::Exclamation}};
  for (unsigned defects = 1; defects < 16; ++defects) {
    SCOPED_TRACE(defects);
    ProgramOnPc program;
    program.Start();
    VirtualSector table = program.world.stick.Sector(0);
    if ((defects & 1) != 0) table[446] = table[462] = 0x01;
    if ((defects & 2) != 0) table[demo::kBootCodeMark] = 'm';
    if ((defects & 4) != 0) table[511] = 0;
    if ((defects & 8) != 0) table[446 + 10] = 1;  // sector 67584
    program.world.stick.SetSector(0, table);
    program.pc.machine.journal.Clear();
    program.Do(Open(kRescue));
    BoxRows expected;
    for (unsigned i = 0; i < 4; ++i) {
      if ((defects >> i & 1) != 0) expected.push_back(kBoxes[i]);
    }
    EXPECT_EQ(program.TakeBoxes(), expected);
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

const BoxRow kNoRoom{"No backup sector available for MBR!",
                     "ERROR: LBA 30 and LBA 60 both in use - reformat USB drive", Buttons::Ok,
                     Icon::Exclamation};
const BoxRow kSwitchedAlready{"Partition table is already switched!",
                              "ERROR: MBR on drive 1 is already switched and neither LBA 30 nor "
                              "LBA 60 holds the table from before.",
                              Buttons::Ok, Icon::Exclamation};

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
                       {'f', 'f', '1', "", kNoRoom}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(1, row.at30) + row.at60 + row.switched);
    ProgramOnPc program;
    VirtualDisk& stick = program.world.stick;
    stick.SetSector(30, SectorOf(row.at30));
    stick.SetSector(60, SectorOf(row.at60));
    VirtualSector table = stick.Sector(0);
    if (row.switched != ' ') Put32(table, 440, row.switched == '2' ? demo::kSecondStart : 2048);
    if (row.switched == '0') {
      table[450] = 0;
      demo::SetEntry(table, 4, false, 0x17, 63, 100);  // near the start
    }
    stick.SetSector(0, table);
    auto expected = stick.Contents();
    const std::string written = row.written;
    if (written.starts_with("60")) expected[60] = table;
    if (written.ends_with("30")) expected[30] = table;
    if (row.box == kLastQuestion) program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
    program.Start({Open(kRescue)});
    EXPECT_EQ(program.TakeBoxes(), BoxRows{row.box});
    EXPECT_EQ(Written(program), written);
    EXPECT_EQ(stick.Contents(), expected);
  }
}

TEST(SwitchFailures, EachReadAndWriteThatFailsIsTold) {
  struct Row {
    const char* kind;
    std::uint64_t sector;
    BoxRows boxes;
    std::string written;
  };
  const BoxRow kRecordRead{kHiddenTitle, "DISK READ ERROR", {}, Icon::Stop};
  const BoxRow kRecordWrite{kHiddenWriteTitle, "WRITE ERROR TO SECTOR 200000", {}, Icon::Stop};
  const Row kRows[] = {{"read", 0, {ReadFailed(0)}, ""},
                       {"read", 30, {ReadFailed(30)}, ""},
                       {"read", 60, {ReadFailed(60)}, ""},
                       {"write", 60, {WriteFailed(60)}, "60!"},
                       {"write", 30, {WriteFailed(30)}, "60 30!"},
                       {"read", 200'000, {kLastQuestion, kRecordRead}, "60 30 0"},
                       {"write", 200'000, {kLastQuestion, kRecordWrite}, "60 30 200000! 0"},
                       {"write", 0, {kLastQuestion, WriteFailed(0)}, "60 30 200000 0!"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.kind + std::to_string(row.sector));
    ProgramOnPc program;
    program.Start();
    VirtualDisk& stick = program.world.stick;
    (row.kind == std::string("read") ? stick.unreadable : stick.unwritable) = {row.sector};
    program.pc.machine.journal.Clear();
    if (row.boxes[0] == kLastQuestion) program.pc.toolkit.AnswerNext(Answer::Ok, kQuestion);
    program.Do(Open(kRescue));
    EXPECT_EQ(program.TakeBoxes(), row.boxes);
    EXPECT_EQ(Written(program), row.written);
    const bool tableWritten = row.written.ends_with(" 0");
    EXPECT_EQ(program.Lines(MaskOf(Op::RenewTable)).size(), tableWritten ? 3U : 0U);
    EXPECT_EQ(program.Rows(Control::List1).empty(), tableWritten);  // refreshed or left alone
  }
}

// Between the choice of the files and the table everything is measured and read once more.
TEST(SwitchFailures, WhatChangesUnderTheRunStopsIt) {
  enum Change { kTableUnreadable, kToolSaysNothing, kInPieces, kEmptied, kBeyond2TB };
  struct Row {
    const char* file;  // of the three that A.volPAKX4DATA brings along
    int run;           // of the extents tool, at which it happens
    Change change;
    Lines titles;
  };
  const Row kRows[] = {{"A.volPAKX4DATA", 3, kTableUnreadable, {"SECTOR READ FAILED"}},
                       {"A.volPAKX4DATA", 4, kToolSaysNothing, {kToolFailed, "Bad FStart"}},
                       {"A.volPAKX4DATA", 4, kEmptied, {"Bad FLength"}},
                       {"A.volPAKX4DATA", 4, kBeyond2TB, {"File beyond 2TB"}},
                       {"A", 5, kInPieces, {"More than one extent", "Bad FStart"}},
                       {"DATA", 6, kToolSaysNothing, {kToolFailed, "Bad FStart"}}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.file + std::to_string(row.run));
    ProgramOnPc program;
    program.Start();
    const std::string path = std::string("\\_ISO\\") + row.file;
    int runs = 0;
    program.pc.processes.whileChildRuns = [&] {
      if (++runs != row.run) return;
      std::string& output = program.pc.processes.toolTexts["E:" + UpperCase(path)];
      output = "File offset 0 LBA: 927C0 Sectors: 8\r\n";
      if (row.change == kTableUnreadable) program.world.stick.unreadable = {0};
      if (row.change == kToolSaysNothing) output.clear();
      if (row.change == kInPieces) output += "File offset 1000 LBA: 40000 Sectors: 8\r\n";
      if (row.change == kBeyond2TB) output.insert(19, "1000");
      if (row.change == kEmptied) program.world.e.Find(path)->size = 0;
    };
    program.pc.machine.journal.Clear();
    program.Do(Open("E:\\_ISO\\A.volPAKX4DATA"));
    EXPECT_EQ(Titles(program.TakeBoxes()), row.titles);
    EXPECT_EQ(Written(program), "60 30");
  }
}

// The last checks concern the file measured last: the fourth one where there is one.
TEST(SwitchCommit, RefusesWhatCannotBeAPartition) {
  const BoxRow kBadStart{"Bad FStart", "ERROR: Bad Start sector!", Buttons::Ok, Icon::Stop};
  const BoxRow kBadLength{"Bad FLength", "ERROR: Bad File length!", Buttons::Ok, Icon::Stop};
  struct Row {
    const char* name;
    const char* image;
    const char* lba;
    std::uint64_t bytes;
    const BoxRow* refusal;  // null: the question comes
  };
  const Row kRows[] = {
      {"start 31", "Rescue.volPAK", "1F", 1 << 20, &kBadStart},
      {"start 32", "Rescue.volPAK", "20", 1 << 20, nullptr},
      {"31 sectors", "Rescue.volPAK", "30D40", 15872, &kBadLength},
      {"32 sectors", "Rescue.volPAK", "30D40", 15873, nullptr},
      {"a small image before a fourth file", "A.volPAKX4DATA", "927C0", 512, nullptr},
      {"a small fourth file", "A.volPAKX4DATA", nullptr, 15872, &kBadLength}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    ProgramOnPc program;
    VirtualVolume& e = program.world.e;
    program.Start();
    const std::string image = std::string("E:\\_ISO\\") + row.image;
    const bool fourth = row.lba == nullptr;
    e.Find(fourth ? "\\_ISO\\DATA" : image.substr(2))->size = row.bytes;
    program.world.stick.SetSector(demo::kFourth.lba, demo::NtfsBootRecord());
    if (!fourth) {
      program.pc.processes.toolTexts[UpperCase(image)] =
          std::string("File offset 0 LBA: ") + row.lba + " Sectors: 100\r\n";
    }
    if (row.refusal == nullptr) program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
    program.Do(Open(image));
    const BoxRows boxes = program.TakeBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].title, row.refusal != nullptr ? row.refusal->title : kQuestion);
    EXPECT_TRUE(row.refusal == nullptr || boxes[0] == *row.refusal);
  }
}

TEST(HiddenSectors, AreWrittenForTheTypesThatHaveThem) {
  struct Row {
    std::uint64_t type;
    const char* defect;
    const char* text;  // of the box; "": it is written
  };
  const Row kRows[] = {{7, "", ""},
                       {11, "", ""},
                       {12, "", ""},
                       {0, "", "UNKNOWN PARTITION TYPE 0"},
                       {131, "", "UNKNOWN PARTITION TYPE 131"},
                       {7, "open", "DISK 1 OPEN ERROR"},
                       {99, "read", "DISK READ ERROR"},
                       {12, "write", "WRITE ERROR TO SECTOR 129024"}};
  for (const Row& row : kRows) {
    const std::string defect = row.defect, text = row.text;
    SCOPED_TRACE(defect + std::to_string(row.type));
    ProgramOnPc program;
    program.leavesHandles = true;  // the disk stays open where the boot record isn't written
    program.Prepare();
    VirtualDisk& stick = program.world.stick;
    VirtualSector expected = demo::ForeignBootRecord();  // the type decides, not the content
    stick.SetSector(129024, expected);
    if (text.empty()) Put32(expected, 28, 129024);
    stick.refusesOpen = defect == "open";
    if (defect == "read") stick.unreadable = {129024};
    if (defect == "write") stick.unwritable = {129024};
    Physical_Drive_no = 1;
    SectorBuffer.resize(512);
    Form1.FStart = "1F800";
    program.Call([&] { Adjust_Hidden("E:\\x.volPAK", row.type); });
    const BoxRow box{defect == "write" ? kHiddenWriteTitle : kHiddenTitle, text, {}, Icon::Stop};
    EXPECT_EQ(program.TakeBoxes(), text.empty() ? BoxRows() : BoxRows{box});
    EXPECT_EQ(stick.Sector(129024), expected);
    EXPECT_EQ(program.pc.HeldLocks(), Lines());
  }
}

TEST(HiddenSectors, OfAnUnknownFormatStayAndTheSwitchGoesOn) {
  ProgramOnPc program;
  const auto before = program.world.stick.Sector(demo::kLinuxImage.lba);
  program.pc.toolkit.AnswerInput("0x83");
  program.pc.toolkit.AnswerNext(Answer::Ok, kQuestion);
  program.Start({Open("E:\\_ISO\\Linux.volPAK")});
  const BoxRows boxes = program.TakeBoxes();
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_EQ(boxes[0].text.substr(0, 45), "PTN1: Type=83 Start=500000 (0x7A120) \r\nE:\\_IS");
  EXPECT_EQ(boxes[1].text, "UNKNOWN PARTITION TYPE 131");
  EXPECT_EQ(program.world.stick.Sector(demo::kLinuxImage.lba), before);
  EXPECT_EQ(EntryOf(program.world.stick.Sector(0), 1), (TableEntry{true, 0x83, 500'000, 32'768}));
}

}  // namespace
