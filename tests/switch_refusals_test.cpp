// What a switch refuses: files that no table entry can hold, boot records that it can't patch.
#include "disk/sector_buffer.h"
#include "shell/form1.h"
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
  constexpr std::uint64_t kTrue = 7, kBeyond2TB = 0x100000000ULL * 512;
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
  const BoxRow kNone{kQuestion, ""}, kBadStart = Stop("Bad FStart", "ERROR: Bad Start sector!");
  const BoxRow kBadLength = Stop("Bad FLength", "ERROR: Bad File length!");
  const char *kFails = "getFileExtents failed", *kInPieces = "More than one extent";
  const struct {
    std::string file;
    int run;             // of the tool, from which on it is so
    std::string output;  // of the tool; "-": the truth, "u": that, but the table is unreadable
    std::uint64_t bytes;
    BoxRow last;
    const char* before = nullptr;  // the title of the measuring's own box
  } rows[] = {{kA, 1, kFar, kBeyond2TB, beyond("")},
              {kA, 1, "-", kBeyond2TB, large("")},
              {kA, 1, "", kTrue, invalid(kA), kFails},
              {kA, 1, kPieces, kTrue, invalid(kA), kInPieces},
              {kB, 1, kFar, kTrue, beyond(" " + kB)},
              {kB, 1, kFar, kBeyond2TB, large(" " + kB)},
              {kB, 1, kPieces, kTrue, invalid(kB), kInPieces},
              {kD, 1, kFar, kTrue, beyond(" " + kD)},
              {kD, 1, kFar, kBeyond2TB, large(" " + kD)},
              {kD, 1, "", kTrue, invalid(kD), kFails},
              {kD, 1, at("FFFFFFFF"), kBeyond2TB - 512, kNone},
              {kA, 3, "u", kTrue, ReadFailed(0)},
              {kA, 4, "", kTrue, kBadStart, kFails},
              {kA, 4, "-", 0, kBadLength},
              {kA, 4, kFar, kTrue, beyond(" " + kA)},
              {kB, 5, kPieces, kTrue, kBadStart, kInPieces},
              {kD, 6, "", kTrue, kBadStart, kFails},
              {kRescue, 1, at("1F"), kTrue, kBadStart},
              {kRescue, 1, at("20"), kTrue, kNone},
              {kRescue, 1, "-", 15872, kBadLength},
              {kRescue, 1, "-", 15873, kNone},
              {kA, 1, "-", 512, kNone},
              {kD, 1, "-", 15872, kBadLength}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file + " " + std::to_string(row.run) + " " + row.output + row.last.title);
    StartedPc program;
    program.world.stick.SetSector(demo::kFourth.lba, demo::NtfsBootRecord());
    int runs = 0;
    program.pc.processes.whileChildRuns = [&] {
      if (++runs != row.run) return;
      if (row.output.size() != 1) program.pc.processes.toolTexts[UpperCase(row.file)] = row.output;
      if (row.output == "u") program.world.stick.unreadable = {0};
      if (row.bytes != kTrue) program.world.e.Find(row.file.substr(2))->size = row.bytes;
    };
    const bool asked = row.last == kNone;
    const BoxRows boxes = program.Boxes(Open(row.file == kRescue ? kRescue : kA),
                                        std::vector(asked ? 1 : 0, Answer::Cancel));
    ASSERT_EQ(boxes.size(), row.before == nullptr ? 1U : 2U) << testing::PrintToString(boxes);
    EXPECT_TRUE(row.before == nullptr || boxes[0].title == row.before);
    EXPECT_EQ(asked ? boxes.back().title : "", asked ? kQuestion : "");
    EXPECT_TRUE(asked || boxes.back() == row.last) << testing::PrintToString(boxes);
    EXPECT_EQ(program.Written(), "60 30");
  }
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
      Form1.FStart = "1F800";
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
