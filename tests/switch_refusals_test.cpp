// What a switch refuses: files that no table entry can hold, boot records that it can't patch.
#include <optional>

#include "disk/sector_buffer.h"
#include "imagefiles/measured_file.h"
#include "switch/hidden_sectors.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

constexpr const char* kRescue = "E:\\_ISO\\Rescue.volPAK";
constexpr const char* kQuestion = "Change partition table";
constexpr const char* kHiddenTitle = "Error in Adjusting Hidden Sectors in PBR";

// The files of an image are measured when they are chosen (runs 1 to 3 of the tool) and once more
// for the table (4 to 6). The last checks concern the file measured last.
TEST(SwitchRefusals, OfFilesThatNoEntryCanHold) {
  constexpr std::uint64_t kBeyond2TB = 0x100000000ULL * 512;
  const auto at = [](const char* lba) {
    return std::string("File offset 0 LBA: ") + lba + " Sectors: 40\r\n";
  };
  const std::string kFar = at("123456789"), kPieces = at("9") + at("99");
  const std::string kA = "E:\\_ISO\\A.volPAKX4DATA", kB = "E:\\_ISO\\A", kD = "E:\\_ISO\\DATA";
  const auto beyond = [](const std::string& file) {
    return Warning("File beyond 2TB", "ERROR: File" + file + " is beyond 2TB on disk!");
  };
  const auto large = [](const std::string& file) {
    return Warning("File too large", "ERROR: File" + file + " is larger than 2TB!");
  };
  const auto invalid = [](const std::string& file) {
    return Warning(
        "File invalid",
        "ERROR: File " + file + " is too small, not accessible/contiguous or not an NTFS drive!");
  };
  const BoxRow kBadStart = Stop("Bad FStart", "ERROR: Bad Start sector!");
  // Eight digits are within the limits.
  const auto beyondDisk = [](const std::string& file) {
    return Warning("Bad place of file!",
                   "ERROR: File " + file +
                       " starts at sector 4294967295 and ends beyond Drive 1, which has 31250000 "
                       "sectors.\r\nThe partition table was not changed.");
  };
  const BoxRow kBadLength = Stop("Bad FLength", "ERROR: Bad File length!");
  const char *kFails = "getFileExtents failed", *kInPieces = "More than one extent";
  const struct {
    std::string file;
    int run = 1;                             // of the tool, from which on it is so
    std::optional<std::string> output = {};  // of the tool; none: the file's true place
    std::optional<std::uint64_t> bytes = {};
    bool tableUnreadable = false;
    BoxRow last = {};              // none: the last question
    const char* before = nullptr;  // the title of the measuring's own box
  } rows[] = {
      {.file = kA, .output = kFar, .bytes = kBeyond2TB, .last = beyond("")},
      {.file = kA, .bytes = kBeyond2TB, .last = large("")},
      {.file = kA, .output = "", .last = invalid(kA), .before = kFails},
      {.file = kA, .output = kPieces, .last = invalid(kA), .before = kInPieces},
      {.file = kB, .output = kFar, .last = beyond(" " + kB)},
      {.file = kB, .output = kFar, .bytes = kBeyond2TB, .last = large(" " + kB)},
      {.file = kD, .output = kFar, .last = beyond(" " + kD)},
      {.file = kRescue,
       .output = at("FFFFFFFF"),
       .bytes = kBeyond2TB - 512,
       .last = beyondDisk(kRescue)},
      {.file = kD, .output = at("FFFFFFFF"), .bytes = kBeyond2TB - 512, .last = beyondDisk(kD)},
      {.file = kA, .run = 3, .tableUnreadable = true, .last = ReadFailed(0)},
      {.file = kA, .run = 4, .output = "", .last = kBadStart, .before = kFails},
      {.file = kA, .run = 4, .bytes = 0, .last = kBadLength},
      {.file = kA, .run = 4, .bytes = kBeyond2TB, .last = large(" " + kA)},
      {.file = kA, .run = 4, .output = kFar, .last = beyond(" " + kA)},
      {.file = kD, .run = 6, .output = "", .last = kBadStart, .before = kFails},
      {.file = kRescue, .output = at("1F"), .last = kBadStart},
      {.file = kRescue, .bytes = 15872, .last = kBadLength},
      {.file = kRescue, .bytes = 15873},
      {.file = kA, .bytes = 512},
      {.file = kD, .bytes = 15872, .last = kBadLength}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file + " in run " + std::to_string(row.run) + ": " + row.last.title);
    StartedPc program;
    program.world.stick.SetSector(demo::kFourth.lba, demo::NtfsBootRecord());
    int runs = 0;
    program.pc.processes.whileChildRuns = [&] {
      if (++runs != row.run) return;
      if (row.output) program.pc.processes.toolTexts[UpperCase(row.file)] = *row.output;
      if (row.tableUnreadable) program.world.stick.unreadable = {0};
      if (row.bytes) program.world.e.Find(row.file.substr(2))->size = *row.bytes;
    };
    const bool asked = row.last == BoxRow{};
    const BoxRows boxes = program.Boxes(Open(row.file == kRescue ? kRescue : kA),
                                        std::vector(asked ? 1 : 0, Answer::Cancel));
    ASSERT_EQ(boxes.size(), row.before == nullptr ? 1U : 2U) << testing::PrintToString(boxes);
    EXPECT_TRUE(row.before == nullptr || boxes[0].title == row.before);
    EXPECT_EQ(asked ? boxes.back().title : "", asked ? kQuestion : "");
    EXPECT_TRUE(asked || boxes.back() == row.last) << testing::PrintToString(boxes);
    EXPECT_EQ(program.Written(), "60 30");
  }
}

// Another tool may answer anything, and a file may change after it was measured.
TEST(SwitchRefusals, OfPlacesThatAreNotTheFiles) {
  const std::string kFile = std::string("File ") + kRescue;
  const std::string kNotThere =
      "Sector 400000 of Drive 1 does not hold the beginning of file " + std::string(kRescue) + ".";
  const auto zeros = [](ProgramOnPc& p) {
    p.world.stick.SetSector(demo::kNtfsImage.lba, {});
    p.pc.toolkit.AnswerInput("7");
  };
  const auto untold = [](ProgramOnPc& p) { p.world.stick.answersLength = false; };
  const struct {
    const char* name;
    std::uint64_t sector;  // that the tool names
    std::string refusal;   // empty: none
    void (*prepare)(ProgramOnPc&) = [](ProgramOnPc&) {};
  } rows[] = {
      {"the true place", demo::kNtfsImage.lba, ""},
      {"on a backup sector", 60,
       kFile + " starts at sector 60. Sectors 0 to 60 are for the boot code and the saved tables."},
      {"right after the backups", 61, "",
       [](auto& p) { p.world.stick.SetSector(61, demo::NtfsBootRecord()); }},
      {"one sector beyond the disk", 31'250'000 - 131'071,
       kFile + " starts at sector 31118929 and ends beyond Drive 1, which has 31250000 sectors."},
      {"at the end of the disk", 31'250'000 - 131'072, "",
       [](auto& p) { p.world.stick.SetSector(31'118'928, demo::NtfsBootRecord()); }},
      {"the disk doesn't say its length", 31'250'000 - 131'071,
       "Sector 31118929 of Drive 1 does not hold the beginning of file " + std::string(kRescue) +
           ".",
       untold},
      {"another file's place", demo::kFatImage.lba, kNotThere},
      {"a file of zeros proves nothing", demo::kFatImage.lba, "", zeros},
      {"hidden sectors changed under a cached file", demo::kFatImage.lba, "",
       [](auto& p) {
         VirtualSector record = demo::NtfsBootRecord();
         Put32(record, 28, 400'000);
         p.world.stick.SetSector(demo::kFatImage.lba, record);
       }},
      {"the byte after them", demo::kFatImage.lba, kNotThere, [](auto& p) {
         VirtualSector record = demo::NtfsBootRecord();
         record[32] ^= 1;
         p.world.stick.SetSector(demo::kFatImage.lba, record);
       }}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    StartedPc program;
    row.prepare(program);
    program.pc.processes.toolTexts[UpperCase(kRescue)] =
        "File offset 0 LBA: " + HexDigits(static_cast<double>(row.sector)) + " Sectors: 20000\r\n";
    const auto before = program.world.stick.Contents();
    const BoxRows boxes =
        program.Boxes(Open(kRescue), std::vector(row.refusal.empty() ? 1 : 0, Answer::Cancel));
    ASSERT_EQ(boxes.size(), 1U) << testing::PrintToString(boxes);
    if (row.refusal.empty()) {
      EXPECT_EQ(boxes[0].title, kQuestion);
    } else {
      EXPECT_EQ(boxes[0],
                Warning("Bad place of file!",
                        "ERROR: " + row.refusal + "\r\nThe partition table was not changed."));
    }
    auto expected = before;
    expected[30] = expected[60] = before.at(0);
    EXPECT_EQ(program.world.stick.Contents(), expected);
  }
}

TEST(SwitchRefusals, OfAFileThatCannotBeRead) {
  StartedPc program;
  program.world.e.Find("\\_ISO\\Rescue.volPAK")->heldOpen = true;
  const BoxRows boxes = program.Boxes(Open(kRescue));
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_TRUE(boxes[0].text.starts_with("Err.Number=70 "));
  EXPECT_EQ(boxes[1],
            Warning("Bad place of file!", "ERROR: File " + std::string(kRescue) +
                                              " can't be read.\r\nThe partition table was "
                                              "not changed."));
  EXPECT_EQ(program.Written(), "60 30");
}

TEST(HiddenSectors, AreWrittenForTheTypesThatHaveThem) {
  for (const std::uint64_t type : {7U, 11U, 12U, 0U, 131U}) {
    for (const bool opens : {true, false}) {
      SCOPED_TRACE(type);
      PreparedPc program;
      program.leavesHandles = true;  // the disk stays open where the boot record isn't written
      VirtualDisk& stick = program.world.stick;
      stick.refusesOpen = !opens;
      VirtualSector expected = demo::ForeignBootRecord();  // the type decides, not the content
      stick.SetSector(129024, expected);
      Physical_Drive_no = 1;
      SectorBuffer.resize(512);
      Measured.FStart = "1F800";
      program.Call([&] { Adjust_Hidden("E:\\x.volPAK", type); });
      BoxRows boxes;
      if (!opens) {
        boxes = {Stop(kHiddenTitle, "DISK 1 OPEN ERROR")};
      } else if (type == 0 || type == 131) {
        boxes = {Stop(kHiddenTitle, "UNKNOWN PARTITION TYPE " + std::to_string(type))};
      } else {
        Put32(expected, 28, 129024);
      }
      EXPECT_EQ(program.TakeBoxes(), boxes);
      EXPECT_EQ(stick.Sector(129024), expected);
    }
  }
}

}  // namespace
