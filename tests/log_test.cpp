// The log file, its rotation, its switch, and the wording of a report in each layout.
// tests/cases/log.txt has its lines for each step.
#include <algorithm>
#include <functional>

#include "disk/drive_discovery.h"
#include "disk/raw_sector_io.h"
#include "disk/volume_lock.h"
#include "platform/platform.h"
#include "report/routine.h"
#include "report/statements.h"
#include "shell/drive_inventory.h"
#include "shell/log_writer.h"
#include "shell/startup.h"
#include "tests/support.h"

namespace {

const BoxRow kLogOn =
    Note(kTitle,
         "Logging to:\r\n\r\nC:\\Temp\\\r\n\r\nRotate_TSD.log\r\n\r\nhas now started."
         "\r\n\r\n{Tip: Press Ctrl+C to copy this text to clipboard)");
const BoxRow kLogOff = Note(kTitle, "Logging to Rotate_TSD.log file is disabled.");

struct Logging : ProgramOnPc {
  Logging() {
    Prepare();
    pc.machine.clock.start = {2019, 3, 4, 17, 5, 9, 125};
  }
  std::string Content(const std::string& name) {
    const VirtualFile* file = world.c.Find("\\Temp\\" + name);
    return file == nullptr ? "(none)" : world.c.Read(*file, 0, file->size);
  }
};

TEST(Log, LinesThatAreLost) {
  Logging l;
  WriteLog("lost");
  EXPECT_EQ(l.Lines(kAnyOp), Texts()) << "switched off it touches nothing";
  Logging without;
  without.world.c.Remove("\\Temp");
  LoggingEnabled = true;
  WriteLog("lost");
  EXPECT_EQ(without.TakeBoxes(), BoxRows());
  EXPECT_FALSE(without.world.c.FolderExists("\\Temp"));
}

TEST(Log, LinesAndTheirStamps) {
  Logging l;
  l.world.c.AddText("\\Temp\\Rotate_TSD.log", "of an earlier run\r\n").attributes =
      kAttributeHidden;
  l.Do(DoubleClick(Control::Label1));
  EXPECT_EQ(l.TakeBoxes(), BoxRows{kLogOn});
  l.pc.machine.clock.Advance(60'001);
  WriteLog("a\ttab, Ü, 容");
  const std::string start = "2019-03-04 17:05:09.125\t";
  EXPECT_EQ(l.Content("Rotate_TSD.log"), start + "App.path: C:\\Rotate\r\n" + start +
                                             "App.name: Rotate_TSD v.1.1.0\r\n" + start +
                                             "TempFolder: C:\\Temp\\\r\n"
                                             "2019-03-04 17:06:09.125\ta\ttab, \xDC, ?\r\n")
      << "single precision drops the last millisecond this late in the day";
  l.Do(DoubleClick(Control::Label1));
  EXPECT_EQ(l.TakeBoxes(), BoxRows{kLogOff});
  EXPECT_EQ(l.TakeLog().back(), "Logging is disabled");
  EXPECT_EQ(LogLineCount, 5);
  l.Do(DoubleClick(Control::Label1));
  EXPECT_EQ(LogLineCount, 8) << "goes on from its value";
  EXPECT_TRUE(l.Content("Rotate_TSD.log").starts_with("2019-03-04 17:06:09.125\tApp.path"));
}

TEST(Log, RotatesAfter60001Lines) {
  Logging l;
  LoggingEnabled = true;
  for (int line = 1; line <= 60002; ++line) {
    WriteLog(line == 60001 ? "last" : line == 60002 ? "first" : "");
    if (line % 1000 == 0) l.pc.machine.journal.Clear();
  }
  const std::string old = l.Content("Rotate_TSD_20190304_170509.log");
  EXPECT_EQ(std::count(old.begin(), old.end(), '\n'), 60001);
  EXPECT_TRUE(old.ends_with("\tlast\r\n"));
  EXPECT_EQ(l.Content("Rotate_TSD.log"), "2019-03-04 17:05:09.125\tfirst\r\n");
  EXPECT_EQ(LogLineCount, 1);
}

TEST(Log, RotationThatFails) {
  const struct {
    Op op;
    int number;
    const char* text;  // empty: the line is written
    bool folderIsGone = false;
  } rows[] = {{Op::Copy, 70, "WriteLog: Error 70:Permission denied"},
              {Op::Delete, 75, "WriteLog: Error 75:Path/File access error"},
              {Op::Copy, 76, ""},
              {Op::Count, 0, "WriteLog: Error 53:File not found", true},
              {Op::MakeFolder, 75, "WriteLog: Error 76:Path not found", true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    Logging l;
    LoggingEnabled = true;
    WriteLog("old");
    LogLineCount = 60001;
    if (row.folderIsGone) {
      l.world.c.Remove("\\Temp\\Rotate_TSD.log");
      l.world.c.Remove("\\Temp");
    }
    if (row.op != Op::Count) l.Plan(FaultKind::FaultThrown, MaskOf(row.op), 1, 0, row.number);
    WriteLog("new");
    const std::string text = row.text;
    EXPECT_EQ(l.TakeBoxes(), text.empty() ? BoxRows() : BoxRows({{kTitle, text}}));
    EXPECT_EQ(l.Content("Rotate_TSD.log").ends_with("\tnew\r\n"), text.empty());
    EXPECT_EQ(LogLineCount, 1);
    EXPECT_EQ(l.world.c.FolderExists("\\Temp"), row.op != Op::MakeFolder);
  }
}

TEST(Log, TellsWhereAVolumeOrADriveIsNotThere) {
  Logging l;
  l.TurnLoggingOn();
  Open_Lock_Dismount_Volume("Q:\\");
  Lock_Unlock_All_Volumes(7, "LOCK");
  EXPECT_EQ(l.TakeLog(),
            (Texts{"------- Open_Lock_Dismount_Volume Q:\\ Started ----------------",
                   "------- Open_Volume_get_lngHandle Started ----------------",
                   "------- Lock_Unlock_All_Volumes LOCK Started ----------------",
                   "------- Get_Drive_Volumes(7,,,,) Started ----------------",
                   "------- Get_Drive_Volumes(7,,,,) Result=False  ----------------"}));
}

// What no case of tests/cases/log.txt comes by.
TEST(Log, TellsOfRoutinesThatRunSeldom) {
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"---------------- Form_Load Started ----------------", Form_Load},
      {"cmd_rebootPE_Click", cmd_rebootPE_Click},
      {"------- APIErrorDescription Started ----------------", [] { APIErrorDescription(5); }},
      {"------- StripNull (x) Started ----------------", [] { StripNull("x"); }}};
  for (const auto& [line, routine] : rows) {
    Logging l;
    l.TurnLoggingOn();
    l.Call(routine);
    const Texts log = l.TakeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), line), 1) << line;
  }
}

TEST(Reports, Layouts) {
  const std::pair<ReportLayout, const char*> rows[] = {
      {ReportLayout::MainWindow, " Me.Name=Form1.Label"},
      {ReportLayout::Module, " Label"},
      {ReportLayout::ModuleSilent, " Label"},
      {ReportLayout::ModuleNoBlank, "Label"}};
  for (const auto& [layout, after] : rows) {
    SCOPED_TRACE(after);
    const std::string text =
        std::string("Err.Number=53 Err.Description=File not found") + after + " Erl=30";
    const BoxRows shown(layout == ReportLayout::ModuleSilent ? 0 : 1, {kTitle, text});
    Logging l;
    l.TurnLoggingOn();
    Routine me(layout, "Label");
    me.Erl = 30;
    const auto fail = [] { return FileDelete("C:\\none"); };
    EXPECT_FALSE(fail());
    EXPECT_EQ(l.TakeBoxes(), shown);
    EXPECT_EQ(l.TakeLog(), Texts{text});
    {
      const Routine called;
      fail();
    }
    me.Ignore();
    fail();
    EXPECT_EQ(l.TakeBoxes(), BoxRows());
    me.Report();
    fail();
    EXPECT_EQ(l.TakeBoxes(), shown);
  }
  Logging l;
  EXPECT_EQ(APIErrorDescription(5), "Access is denied.\r\n");
}

}  // namespace
