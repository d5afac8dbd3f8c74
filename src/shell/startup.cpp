#include "shell/startup.h"

#include <algorithm>
#include <tuple>

#include "disk/file_probe.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "disk/window_sweep.h"
#include "imagefiles/child_process.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/measured_file.h"
#include "platform/platform.h"
#include "report/message_box.h"
#include "report/product.h"
#include "report/progress.h"
#include "report/routine.h"
#include "report/statements.h"
#include "restore/mbr_writer.h"
#include "shell/drive_panel.h"
#include "shell/log_writer.h"
#include "shell/main_window.h"
#include "text/text.h"

namespace {

constexpr std::uint32_t kPathBuffer = 255;
constexpr const char* kToolName = "getFileExtents.exe";

std::string ToolInProgramFolder() {
  return Sys.facts->ProgramFolder() + "\\" + kToolName;
}

bool ToolIsAt(const std::string& path) {
  return UpperCase(ProbeFile(path)) == "GETFILEEXTENTS.EXE";
}

void FindVersion() {
  VersionInfo version;
  OSVersionCode = Sys.facts->GetVersionEx(version)
                      ? VersionCode(version.platformId, version.major, version.minor)
                      : 0;
}

// Form_Resize restores the size at load.
void KeepSizeAndCentre() {
  Toolkit& window = *Sys.toolkit;
  FormHeight = window.FormHeight();
  FormWidth = window.FormWidth();
  window.MoveForm((window.ScreenWidth() - FormWidth) / 2, (window.ScreenHeight() - FormHeight) / 2);
}

void RequireTool() {
  if (ToolIsAt(ToolInProgramFolder())) return;
  MsgBox(
      {.title = "Missing file!",
       .text = "Error: getFileExtents.exe helper file not found at " + Sys.facts->ProgramFolder(),
       .icon = Icon::Stop});
  Sys.processes->EndProcess();
}

std::string LongTempFolder() {
  return Sys.facts->GetLongPathName(Sys.facts->GetTempPath(kPathBuffer), kPathBuffer);
}

// Others may write to the temp folder, so the copy is held and checked from here on.
bool CopyIsOurs() {
  MyCloseHandle(ToolCopyHandle);
  return ToolIsAt(GFE_Path) && HoldToolCopy(ToolInProgramFolder());
}

// Falls back to the root of C: if the temp folder won't take the tool.
void RequireToolCopy() {
  if (CopyIsOurs()) return;
  MsgBox({.title = "Copy GFE file to TMP failed",
          .text = "WARNING: No TMP variable found in Windows environment or cannot copy file to " +
                  GFE_Path,
          .icon = Icon::Exclamation});
  GFE_Path = "C:\\getFileExtents.exe";
  FileCopy(ToolInProgramFolder(), GFE_Path);
  if (!CopyIsOurs()) Sys.processes->EndProcess();
}

// Windows PE keeps its temp folder on a RAM disk, which has no places that a tool could find.
bool TempIsOnPeDrive() {
  const std::string folder = UpperCase(TempFolder);
  return Contains(folder, "X:\\") || Contains(folder, "A:\\") || Contains(folder, "B:\\");
}

void ShowNoRights() {
  const std::string tail =
      Measured.GFE_Command + "\r\nfailed to return any values.\r\n\r\n" + Measured.GFE_Text;
  if (ContainsIgnoringCase(Measured.GFE_Text, "getNextTranslation: Incorrect function")) return;
  if (Contains(Measured.GFE_Text, "Access is denied")) {
    MsgBox({.title = "Run as Admin test (Access denied)",
            .text = "ERROR: Please use 'Run as Administrator'.\r\n\r\n\r\n" + tail,
            .icon = Icon::Stop});
    return;
  }
  MsgBox({.title = "Run as Admin (GFE size test failed)",
          .text = "WARNING: Please check you used 'Run as Administrator' and the target file is "
                  "not on a RAM or Compressed Disk.\r\n"
                  "Note: You can ignore this warning if using Windows PE or an encrypted "
                  "drive.\r\n\r\n" +
                  tail,
          .icon = Icon::Stop});
}

// The tool, run on itself, must find where its own file lies.
void TestRights() {
  if (TempIsOnPeDrive()) return;
  Measured.FStartSectors = 0;
  GetFileStart(ToolInProgramFolder());
  if (Measured.FStartSectors == 0) GetFileStart(GFE_Path);
  if (Measured.FStartSectors == 0) ShowNoRights();
}

}  // namespace

int VersionCode(unsigned platformId, unsigned major, unsigned minor) {
  struct Row {
    unsigned platformId, major;
    int minor;  // -1: any
    int code;
  };
  static constexpr Row kRows[] = {{1, 4, 0, 1},  {1, 4, 10, 2}, {1, 4, 90, 3}, {2, 3, -1, 4},
                                  {2, 4, -1, 5}, {2, 5, 0, 6},  {2, 5, 1, 7},  {2, 5, 2, 8},
                                  {2, 6, 0, 9},  {2, 6, 1, 10}, {2, 6, 2, 11}};
  const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& r) {
    return r.platformId == platformId && r.major == major &&
           (r.minor < 0 || static_cast<unsigned>(r.minor) == minor);
  });
  return row == std::end(kRows) ? 0 : row->code;
}

void Form_Load() {
  Routine me(ReportLayout::MainWindow, "Form_Load");
  WriteLog("---------------- Form_Load Started ----------------");
  SettleDelay = 2000;
  WRITES_OK = false;
  FindVersion();
  KeepSizeAndCentre();
  me.Ignore();
  if (!FileIsThere("X:\\Windows\\system32\\wpeutil.exe")) {
    Sys.toolkit->SetVisible(Control::cmd_rebootPE, false);
  }
  RequireTool();
  me.Report();
  Sys.toolkit->SetCaption(kWindowCaption);
  TempFolder = LongTempFolder();
  GFE_Path = TempFolder + kToolName;
  Measured.GFE_File = TempFolder + "GFE_Output.txt";
  FileCopy(ToolInProgramFolder(), GFE_Path);
  me.Ignore();
  RequireToolCopy();
  me.Report();
  TestRights();
  SectorBuffer.resize(4097);
  SectorBuffer[0] = 0;
  Sys.toolkit->ShowForm();
  Drive1_Change();
}

void cmd_rebootPE_Click() {
  const Routine quietly;
  WriteLog("cmd_rebootPE_Click");
  StartCommandLine("wpeutil reboot", kWindowNormal);
  const std::string wpeutil = SystemProgram("wpeutil.exe");
  std::ignore = Sys.processes->ShellExecute("open", wpeutil.empty() ? "wpeutil.exe" : wpeutil,
                                            "reboot", "", 1);
  std::ignore = Sys.processes->ShellExecute("open", "wpeutil reboot", "reboot", "0", 1);
  const Progress progress([] { return "Restarting the computer"; });
  RunCmd("cmd /c wpeutil reboot", kWindowNormal);
  StartCommandLine("cmd /c wpeutil reboot", kWindowMinimised);
}
