// Where a file lies: the tool's command line, its output, its failures; and the children below.
#include "imagefiles/child_process.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/measured_file.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

constexpr const char* kImage = "E:\\_ISO\\Rescue.volPAK";
constexpr const char* kOutput = "C:\\Temp\\GFE_Output.txt";
constexpr const char* kCommand =
    "\"C:\\Windows\\system32\\cmd.exe\" /c C:\"\\Temp\\getFileExtents.exe\" "
    "\"E:\\_ISO\\Rescue.volPAK\" > \"C:\\Temp\\GFE_Output.txt\"";

BoxRow ToolFailed() {
  return Warning("getFileExtents failed", std::string("ERROR GETTING START SECTOR FROM ") +
                                              kOutput + "\r\n\r\n" + kCommand + "\r\n");
}

const BoxRow kInPieces = Warning("More than one extent",
                                 "ERROR: File is not contiguous.\r\n"
                                 "Please run \\PACK_FILES_TOGETHER.cmd or use Defraggler.\r\n\r\n"
                                 "E:\\_ISO\\Rescue.volPAK");

// The tool is in its place, and the fields hold an earlier file's results.
struct Measuring : ProgramOnPc {
  Measuring() {
    Prepare();
    GFE_Path = "C:\\Temp\\getFileExtents.exe";
    world.c.AddText("\\Temp\\getFileExtents.exe", "MZ");
    Measured.GFE_File = kOutput;
    Measured.FStart = "old start";
    Measured.FLength = "old length";
    Measured.FStartSectors = 1;
    Measured.FLengthSectors = 2;
    Measured.MoreThanOneExtent = true;
  }
  bool OutputIsThere() { return world.c.Find("\\Temp\\GFE_Output.txt") != nullptr; }
};

TEST(Extents, OutputsOfTheTool) {
  enum Outcome { kMeasured, kPieces, kBox, kSilent };
  const std::string one = "File offset 0 LBA: 1f800 Sectors: 20\r\n";
  const std::string two = "File offset 0 LBA: 64 Sectors: 8\r\nFile offset 1000 LBA: C8 Sectors: 8";
  const struct {
    std::string text;
    Outcome outcome;
    const char *start = "old start", *startSectors = "0";
  } rows[] = {
      {one, kMeasured, "1f800", "129024"},
      {one + "file", kMeasured, "1f800", "129024"},
      {"File offset 0 LBA: A x y Sectors: 1\r\n", kMeasured, "A", "10"},
      {"File offset 0 LBA: FFFFFFFFFFFFFFFF Sectors: 1\r\n", kMeasured, "FFFFFFFFFFFFFFFF",
       "18446744073709551615"},
      {two, kPieces},
      {"", kBox},
      {"Access is denied\r\n", kBox},
      {"OFFSET: Access is denied", kSilent},
      {"file offset 0 LBA: 1 Sectors: 1\r\n", kSilent},
      {" " + two, kSilent},
      {"File offset 0 LBA: zz Sectors: 1\r\n", kSilent},
      {"File offset 0 LBA: 12", kSilent},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    Measuring m;
    m.pc.processes.toolTexts[UpperCase(kImage)] = row.text;
    GetFileStart(kImage);
    BoxRows boxes;
    if (row.outcome == kPieces) boxes = {kInPieces};
    if (row.outcome == kBox) boxes = {ToolFailed()};
    EXPECT_EQ(m.TakeBoxes(), boxes);
    EXPECT_EQ(Measured.GFE_Command, kCommand);
    EXPECT_EQ(m.Lines(MaskOf(Op::Shell)), Texts{std::string("shell ") + kCommand + " style=0 ok"});
    EXPECT_EQ(Measured.FStart, row.start);
    EXPECT_EQ(Measured.FStartSectors.ToDecimal(), row.startSectors);
    EXPECT_EQ(Measured.MoreThanOneExtent, row.outcome == kPieces);
    EXPECT_EQ(Measured.GFE_Text, row.outcome == kBox ? "" : row.text);
    // Of the file, whatever the tool counts.
    EXPECT_EQ(Measured.FLength, row.outcome == kMeasured ? "20000" : "old length");
    EXPECT_EQ(Measured.FLengthSectors.ToDecimal(), row.outcome == kMeasured ? "131072"
                                                   : row.outcome == kBox    ? "0"
                                                                            : "2");
    EXPECT_FALSE(m.OutputIsThere());
  }
}

TEST(Extents, LengthIsWholeSectorsOfTheFile) {
  const std::pair<std::uint64_t, const char*> rows[] = {{1, "1"},
                                                        {512, "1"},
                                                        {513, "2"},
                                                        {3'000'000'000, "59682F"},
                                                        {0xFFFFFFFF, "800000"},
                                                        {0x100000000, "800000"},
                                                        {5'000'000'000, "9502F9"}};
  for (const auto& [bytes, hex] : rows) {
    Measuring m;
    m.world.e.AddFile("\\with a blank", bytes, 4'000'000);
    GetFileStart("E:\\with a blank");
    EXPECT_EQ(Measured.FStart, "3D0900");
    EXPECT_EQ(Measured.FLength, hex) << bytes;
  }
  Measuring m;
  m.world.e.AddText("\\empty", "");
  m.pc.processes.toolTexts[""] = "File offset 0 LBA: 5 Sectors: 0\r\n";
  for (const char* file : {"E:\\empty", "E:\\gone meanwhile", "E:\\_ISO"}) {
    GetFileStart(file);
    EXPECT_EQ(Measured.FLength, "0") << file;
  }
}

TEST(Extents, ToolItselfMayLieInPieces) {
  Measuring m;
  m.pc.processes.toolTexts[""] = "File offset 0 LBA: A Sectors: 1\r\nFile offset 200 LBA: C ";
  GetFileStart("C:\\Rotate\\GetfileExtents.EXE");
  EXPECT_EQ(m.TakeBoxes(), BoxRows());
  EXPECT_EQ(Measured.FStart, "A");
  EXPECT_FALSE(Measured.MoreThanOneExtent);
}

TEST(Extents, ChildThatFailsGivesNoOldResult) {
  const struct {
    const char* name;
    ChildScript script;
    bool measured, oldOutputStays = false;
  } rows[] = {
      {"not started", {.match = "Rescue", .refusedWith = 53}, false},
      {"never ends", {.match = "Rescue", .neverEnds = true}, false},
      {"takes 61 s", {.match = "Rescue", .milliseconds = 61'000}, false},
      {"takes 59 s", {.match = "Rescue", .milliseconds = 59'000}, true},
      {"gone before it is opened", {.match = "Rescue", .goneBeforeOpen = true}, true},
      {"an old output can't be deleted", {}, false, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Measuring m;
    m.world.c.AddText("\\Temp\\GFE_Output.txt", "File offset 0 LBA: BAD Sectors: 1\r\n");
    if (!row.script.match.empty()) m.pc.processes.scripts = {row.script};
    if (row.oldOutputStays) m.Plan(FaultKind::FaultThrown, MaskOf(Op::Delete));
    EXPECT_EQ(m.Call([] { GetFileStart(kImage); }), RunEnd::Returned);
    EXPECT_EQ(m.TakeBoxes(), row.measured ? BoxRows() : BoxRows{ToolFailed()});
    EXPECT_EQ(Measured.FStart, row.measured ? "30D40" : "old start");
    EXPECT_EQ(Measured.FLengthSectors.ToDecimal(), row.measured ? "131072" : "0");
    EXPECT_LE(m.pc.machine.clock.Elapsed(), 60'000U);
    EXPECT_EQ(m.pc.processes.StillRunning(), Texts());
    EXPECT_EQ(m.OutputIsThere(), row.oldOutputStays);
  }
}

TEST(Extents, NamesThatTheInterpreterWouldChangeAreNotMeasured) {
  for (const char* file : {"E:\\%OS%.volPAK", "E:\\a\"b", "E:\\a\tb"}) {
    Measuring m;
    GetFileStart(file);
    const BoxRow box =
        Warning("getFileExtents failed",
                "ERROR: The command interpreter would change this file name. Rename the "
                "file:\r\n\r\n" +
                    std::string(file));
    EXPECT_EQ(m.TakeBoxes(), BoxRows{box});
    EXPECT_EQ(m.Lines(MaskOf(Op::Shell)), Texts());
    EXPECT_EQ(Measured.FStartSectors.ToDecimal() + Measured.FLengthSectors.ToDecimal(), "00");
  }
}

TEST(Extents, OutputFileWithoutAFolder) {
  Measuring m;
  Measured.GFE_File.clear();
  GetFileStart(kImage);
  EXPECT_EQ(Measured.GFE_File, "GFE.txt");
  EXPECT_EQ(Measured.FStart, "30D40");
  EXPECT_EQ(m.Lines(MaskOf(Op::Delete)), Texts{"delete GFE.txt ok"});
}

TEST(Children, FailuresOfSyncShell) {
  const ChildScript well, refused{.match = "x", .refusedWith = 5},
      gone{.match = "x", .goneBeforeOpen = true}, hides{.match = "x", .hidesExitCode = true};
  struct Failure {
    std::uint32_t number;
    const char* description;
  };
  const struct {
    const char* command;
    ChildScript script;
    std::int32_t result;
    Failure failure;
  } rows[] = {
      {"cmd /c nothere", well, 9009, {0, ""}},
      {"\"cmd.exe\" /c nothere", well, 9009, {0, ""}},
      {"nothere", well, 0, {0x8004AA02, "Failed to Shell child process"}},
      {"cmd /c x", refused, 0, {0x8004AA02, "Failed to Shell child process"}},
      {"cmd /c x", gone, 0, {0x8004AA01, "Failed to open child process"}},
      {"cmd /c x", hides, 0, {0x8004AA00, "Failed to retrieve exit code, error 5"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.command);
    PreparedPc p;
    if (!row.script.match.empty()) p.pc.processes.scripts = {row.script};
    EXPECT_EQ(SyncShell(row.command, 0), row.result);
    EXPECT_EQ(LastShellFailure.number, row.failure.number);
    EXPECT_EQ(LastShellFailure.description, row.failure.description);
    EXPECT_EQ(p.TakeBoxes(), BoxRows());
  }
}

TEST(Children, RunCmdWaitsOrReturnsQuietly) {
  PreparedPc p;
  p.pc.processes.scripts = {{.match = "slow", .milliseconds = 150},
                            {.match = "gone", .goneBeforeOpen = true}};
  RunCmd("cmd /c slow", 1);
  EXPECT_EQ(p.pc.machine.clock.Elapsed(), 150U);
  RunCmd("cmd /c gone", 1);
  RunCmd("nothere", 1);
  EXPECT_EQ(p.Lines(MaskOf(Op::Wait, Op::OpenProcess)),
            (Texts{"open-process process 1000 ok", "wait process 1000 100 ok",
                   "wait process 1000 100 ok", "open-process process 1004 failed"}));
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

}  // namespace
