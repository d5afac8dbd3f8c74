// Start-up: its order, its boxes, its ends, and the button of Windows PE.
#include "shell/startup.h"

#include <functional>

#include "disk/raw_sector_io.h"
#include "disk/window_sweep.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/measured_file.h"
#include "restore/mbr_writer.h"
#include "shell/log_writer.h"
#include "shell/main_window.h"
#include "tests/support.h"

namespace {

constexpr const char* kTool = "C:\\ROTATE\\GETFILEEXTENTS.EXE";
constexpr const char* kCopy = "C:\\TEMP\\GETFILEEXTENTS.EXE";
std::string Command(const std::string& file) {
  return "\"C:\\Windows\\system32\\cmd.exe\" /c C:\"\\Temp\\getFileExtents.exe\" \"" + file +
         "\" > \"C:\\Temp\\GFE_Output.txt\"\r\n";
}

BoxRow Failed(const std::string& file) {
  return Warning(
      "getFileExtents failed",
      "ERROR GETTING START SECTOR FROM C:\\Temp\\GFE_Output.txt\r\n\r\n" + Command(file));
}

BoxRow Report(const std::string& what) {
  return {kTitle, what + " Me.Name=Form1.Form_Load Erl=0"};
}

const BoxRow kCopyFailed =
    Warning("Copy GFE file to TMP failed",
            "WARNING: No TMP variable found in Windows environment or cannot copy file to "
            "C:\\Temp\\getFileExtents.exe");

BoxRow Rights(const std::string& title, const std::string& text, const std::string& toolText) {
  return Stop(title, text + "\r\n\r\n" + Command("C:\\Temp\\getFileExtents.exe") +
                         "failed to return any values.\r\n\r\n" + toolText);
}

BoxRow NoRights(const std::string& toolText) {
  return Rights(
      "Run as Admin (GFE size test failed)",
      "WARNING: Please check you used 'Run as Administrator' and the target file is not on "
      "a RAM or Compressed Disk.\r\nNote: You can ignore this warning if using Windows PE "
      "or an encrypted drive.",
      toolText);
}

void AddPe(ProgramOnPc& p, bool tempThere) {
  VirtualVolume& x = p.pc.AddVolume('X', p.world.systemDisk, 400'000'000, 1'000'000);
  x.tiedToTable = false;
  x.AddText("\\Windows\\system32\\wpeutil.exe", "MZ").attributes = kAttributeHidden;
  x.AddText("\\Windows\\system32\\cmd.exe", "MZ");
  p.pc.facts.systemFolder = "X:\\Windows\\system32";
  x.AddFolder("\\Temp");
  p.pc.RenewTables();
  if (tempThere) p.pc.facts.tempPath = "X:\\Temp\\";
}

TEST(Startup, Order) {
  ProgramOnPc p;
  p.pc.facts.tempPath = "C:\\TEMP~1\\";
  p.pc.facts.longPaths["C:\\TEMP~1\\"] = "C:\\Temp\\";
  EXPECT_EQ(p.Start(), RunEnd::Returned);
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
  const auto lines = p.Lines(MaskOf(Op::Attributes, Op::Find, Op::Fact, Op::Copy));
  const Texts expected{"fact version ok",
                       "attributes X:\\Windows\\system32\\wpeutil.exe failed",
                       "attributes C:\\Rotate\\getFileExtents.exe ok",
                       "find C:\\Rotate\\getFileExtents.exe ok",
                       "fact temp-path ok",
                       "fact long-path ok",
                       "copy C:\\Rotate\\getFileExtents.exe -> C:\\Temp\\getFileExtents.exe ok",
                       "attributes C:\\Temp\\getFileExtents.exe ok",
                       "find C:\\Temp\\getFileExtents.exe ok"};
  ASSERT_GT(lines.size(), expected.size());
  EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 9), expected);
  EXPECT_EQ(p.Lines(MaskOf(Op::ChildTool, Op::Append)),
            Texts{"child-tool C:\\Rotate\\getFileExtents.exe ok"})
      << "the tool is run on itself, once, and nothing is logged";

  EXPECT_EQ((Texts{TempFolder, GFE_Path, Measured.GFE_File}),
            (Texts{"C:\\Temp\\", "C:\\Temp\\getFileExtents.exe", "C:\\Temp\\GFE_Output.txt"}));
  EXPECT_EQ(SettleDelay, 2000);
  EXPECT_FALSE(WRITES_OK);
  EXPECT_EQ(OSVersionCode, 11);
  const VirtualToolkit& window = p.pc.toolkit;
  EXPECT_TRUE(window.shown);
  EXPECT_TRUE(window.caption.starts_with("ROTATE_TSD  for NTFS TSD drives    v1.1.0  "));
  EXPECT_GT(window.caption.size(), 44U) << "a notice stands at the end";
  EXPECT_EQ(FormHeight, window.height);
  EXPECT_EQ(FormWidth, window.width);
  EXPECT_EQ(window.top * 2 + window.height, 15360);
  EXPECT_EQ(window.left * 2 + window.width, 20480);
  EXPECT_FALSE(p.pc.toolkit.At(Control::cmd_rebootPE).visible);
}

constexpr std::uint64_t kForEver = ~std::uint64_t{0};

VirtualWindow Window(VirtualWindow more) {
  more.className = "Rotate_TSD_Form";
  more.process = 7;
  return more;
}

// What a second start finds of the first: its window, boxes, other programs' windows.
TEST(Startup, SecondInstanceEndsBeforeItDoesAnything) {
  const BoxRow running = Warning(
      "Rotate_TSD is already running!",
      "Another Rotate_TSD is running and doesn't answer. It may be at work: wait until it has "
      "finished.\r\n\r\nIf it never answers, end it in the Task Manager and start the program "
      "again.");
  const VirtualWindow other{.title = "other", .process = 8}, box{.title = "box", .process = 7};
  const VirtualWindow hangingBox{.title = "box", .process = 7, .hangs = true};
  const VirtualWindow hanging = Window({.title = "window", .visibleFrom = 2000, .hangs = true});
  const struct {
    const char* name;
    std::vector<VirtualWindow> windows;
    std::string inFront;  // empty: this start went on, or said something
    bool says = false;
    std::uint64_t endsAt = kForEver;  // the first one; then this start goes on
  } rows[] = {
      {"idle", {other, Window({.title = "window"})}, "window"},
      {"minimised", {other, Window({.title = "window", .minimised = true})}, "window"},
      {"a box open", {other, Window({.title = "window", .popup = 2}), box}, "box"},
      {"a box of start-up", {other, box, Window({.title = "window", .visible = false})}, "box"},
      {"starting", {other, Window({.title = "window", .visibleFrom = 4500})}, "window"},
      {"no window yet, then ends", {other}, "", false, 800},
      {"ends before its window answers", {hanging}, "", false, 1500},
      {"hangs", {hanging}, "", true},
      {"hangs with a box", {Window({.title = "window", .popup = 1}), hangingBox}, "", true},
      {"never comes up", {other, Window({.title = "window", .visible = false})}, "", true},
      {"is another user's", {other}, "", true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ProgramOnPc p;
    p.pc.processes.othersMutexes["Rotate_TSD"] = row.endsAt;
    p.pc.desktop.windows = row.windows;
    EXPECT_EQ(p.Start(), RunEnd::Returned);
    EXPECT_EQ(p.pc.desktop.inFront, row.inFront);
    EXPECT_EQ(p.TakeBoxes(), row.says ? BoxRows{running} : BoxRows());
    EXPECT_EQ(p.pc.toolkit.design != nullptr, row.endsAt != kForEver);
    for (const VirtualWindow& window : p.pc.desktop.windows) EXPECT_FALSE(window.minimised);
    const OpMask looks = MaskOf(Op::CreateMutex, Op::Wait, Op::Desktop, Op::Sleep);
    EXPECT_EQ(p.Lines(kAnyOp & ~looks).empty(), row.endsAt == kForEver);
    EXPECT_LE(p.pc.machine.clock.Elapsed(), 9000U) << "a few seconds";
  }
}

TEST(Startup, GoesOnWhereNothingCanBeToldOfOthers) {
  for (const Op op : {Op::CreateMutex, Op::Wait}) {
    ProgramOnPc p;
    p.pc.processes.othersMutexes["Rotate_TSD"] = kForEver;
    p.Plan(FaultKind::Refusal, MaskOf(op));
    EXPECT_EQ(p.Start(), RunEnd::Returned);
    EXPECT_TRUE(p.pc.toolkit.shown);
    EXPECT_EQ(p.TakeBoxes(), BoxRows());
  }
}

TEST(Startup, BoxesAndEnds) {
  using World = std::function<void(ProgramOnPc&)>;
  const auto says = [](const char* file, const std::string& text) -> World {
    return [=](ProgramOnPc& p) { p.pc.processes.toolTexts[file] = text; };
  };
  const auto fails = [](FaultKind kind, Op op, int number) -> World {
    return [=](ProgramOnPc& p) { p.Plan(kind, MaskOf(op), 1, 1117, number); };
  };
  const auto pe = [](bool onRamDisk, const std::string& text) -> World {
    return [=](ProgramOnPc& p) {
      AddPe(p, onRamDisk);
      p.pc.processes.toolTexts[""] = text;
    };
  };
  const World gone = [](ProgramOnPc& p) { p.world.c.Remove("\\Rotate\\getFileExtents.exe"); };
  const World full = [](ProgramOnPc& p) { p.world.c.full = true; };
  const World planted = [=](ProgramOnPc& p) {
    p.world.c.AddText("\\Temp\\getFileExtents.exe", "MZ another tool");
    fails(FaultKind::FaultThrown, Op::Copy, 70)(p);
  };
  const World otherLetters = [](ProgramOnPc& p) {
    p.world.c.Move("\\Rotate\\getFileExtents.exe", "\\Rotate\\GetFileExtents.EXE");
    p.world.c.Find("\\Rotate\\GetFileExtents.EXE")->attributes = kAttributeHidden;
  };
  const std::string hasOffset = "offset? Access is denied";
  const std::string upper = "offset ACCESS is denied";
  const std::string incorrect = hasOffset + " GETNEXTTRANSLATION: incorrect function";
  const BoxRows none, copyFailed{kCopyFailed}, otherText{NoRights(upper)};
  const BoxRows denied{Rights("Run as Admin test (Access denied)",
                              "ERROR: Please use 'Run as Administrator'.\r\n", hasOffset)};
  const BoxRows missing{
      Stop("Missing file!", "Error: getFileExtents.exe helper file not found at C:\\Rotate")};
  const BoxRows refused{Report("Err.Number=70 Err.Description=Permission denied"), kCopyFailed};
  const BoxRows noRoom{Report("Err.Number=61 Err.Description=Disk full"), kCopyFailed};
  const BoxRows twice{Failed("C:\\Rotate\\getFileExtents.exe"),
                      Failed("C:\\Temp\\getFileExtents.exe"), NoRights("")};
  const char *temp = "C:\\Temp\\getFileExtents.exe", *root = "C:\\getFileExtents.exe";
  constexpr auto kRuns = RunEnd::Returned, kEnds = RunEnd::ProcessEnded;
  const struct {
    const char* name;
    World prepare;
    BoxRows boxes;
    RunEnd end;
    const char* toolPath;
  } rows[] = {
      {"tool missing", gone, missing, kEnds, ""},
      {"tool in other letters, hidden", otherLetters, none, kRuns, temp},
      {"no copy", fails(FaultKind::FaultThrown, Op::Copy, 70), refused, kRuns, root},
      {"another tool in the copy's place", planted, refused, kRuns, root},
      {"copy isn't held", fails(FaultKind::Refusal, Op::Open, 0), copyFailed, kRuns, root},
      {"copy isn't read", fails(FaultKind::FaultThrown, Op::ReadText, 70), copyFailed, kRuns, root},
      {"no place takes a copy", full, noRoom, kEnds, root},
      {"tool says nothing", says("", ""), twice, kRuns, temp},
      {"denied without \"offset\"", says("", "Access is denied"), twice, kRuns, temp},
      {"denied", says("", hasOffset), denied, kRuns, temp},
      {"denied in other letters", says("", upper), otherText, kRuns, temp},
      {"no place on this kind of disk", says("", incorrect), none, kRuns, temp},
      {"only the copy can be measured", says(kTool, hasOffset), none, kRuns, temp},
      {"only the original can be measured", says(kCopy, hasOffset), none, kRuns, temp},
      {"PE, temp folder on X:", pe(true, ""), none, kRuns, "X:\\Temp\\getFileExtents.exe"},
      {"PE, temp folder elsewhere", pe(false, hasOffset), denied, kRuns, temp},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ProgramOnPc p;
    row.prepare(p);
    EXPECT_EQ(p.Start(), row.end);
    EXPECT_EQ(p.TakeBoxes(), row.boxes);
    EXPECT_EQ(GFE_Path, row.toolPath);
    EXPECT_EQ(p.pc.toolkit.shown, row.end == kRuns);
    EXPECT_EQ(p.Rows(Control::Combo1).size(), row.end == kRuns ? 2U : 0U);
    EXPECT_EQ(p.pc.toolkit.At(Control::cmd_rebootPE).visible,
              std::string(row.name).starts_with("PE"));
  }
}

TEST(Startup, TempFolderThatCannotBeFound) {
  ProgramOnPc p;
  p.pc.facts.tempPath = "";
  p.pc.machine.currentFolder = "C:\\Temp";
  p.Start();
  EXPECT_EQ((Texts{TempFolder, GFE_Path, Measured.GFE_File}),
            (Texts{"", "getFileExtents.exe", "GFE_Output.txt"}));
  EXPECT_NE(p.world.c.Find("\\Temp\\getFileExtents.exe"), nullptr);
}

TEST(Startup, RebootRunsTheSystemsProgramInFiveWays) {
  ProgramOnPc p;
  AddPe(p, false);
  p.world.c.AddText("\\Rotate\\wpeutil.exe", "MZ planted by somebody");
  p.Start({Click(Control::cmd_rebootPE)});
  EXPECT_EQ(p.Lines(MaskOf(Op::Shell, Op::ShellExecute)).size(), 5U);
  EXPECT_EQ(p.Lines(MaskOf(Op::Executed)), Texts());
}

}  // namespace
