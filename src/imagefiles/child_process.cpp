#include "imagefiles/child_process.h"

#include <algorithm>
#include <tuple>

#include "platform/platform.h"
#include "report/log.h"
#include "report/progress.h"
#include "report/routine.h"
#include "report/statements.h"
#include "text/text.h"

ShellFailure LastShellFailure;

namespace {

constexpr std::uint32_t kLongestWait = 60000;  // ms; the tool needs far less
constexpr std::uint32_t kSlice = 100;          // ms; the window is drawn after each

std::int32_t Fail(std::uint32_t number, const std::string& description) {
  LastShellFailure = {number, description};
  return 0;
}

// As WaitForSingleObject, but the window is drawn meanwhile.
std::uint32_t WaitForChild(Handle process, std::uint32_t milliseconds) {
  const std::uint32_t begun = Sys.clock->GetTickCount();
  for (;;) {
    const std::uint32_t past = Sys.clock->GetTickCount() - begun;
    const std::uint32_t left =
        milliseconds == kInfinite ? kSlice : milliseconds - std::min(past, milliseconds);
    const std::uint32_t waited =
        Sys.processes->WaitForSingleObject(process, std::min(left, kSlice));
    if (waited != kWaitTimeout || left == 0) return waited;
    Progress::GoOn();
  }
}

// Any other failure proves nothing, and starting the bare name would run whatever is found first.
bool IsSurelyMissing(const std::string& path) {
  constexpr std::uint32_t kErrorFileNotFound = 2, kErrorPathNotFound = 3;  // winerror.h
  if (Sys.files->GetFileAttributes(path) != kInvalidAttributes) return false;
  const std::uint32_t error = Sys.devices->GetLastError();
  return error == kErrorFileNotFound || error == kErrorPathNotFound;
}

}  // namespace

std::string SystemProgram(const std::string& name) {
  const std::string folder = Sys.facts->SystemFolder();
  if (folder.empty() || name.find_first_of("\\/:") != std::string::npos) return "";
  const std::string path = folder + "\\" + name + (Contains(name, ".") ? "" : ".exe");
  return IsSurelyMissing(path) ? "" : path;
}

std::uint32_t StartCommandLine(const std::string& commandLine, int windowStyle) {
  std::string name = commandLine.substr(0, commandLine.find(' '));
  std::erase(name, '"');
  const std::string program = SystemProgram(name);
  return Shell(program, commandLine, windowStyle);
}

std::int32_t SyncShell(const std::string& commandLine, int windowStyle) {
  const Routine quietly;
  WriteLog("SyncShell");
  LastShellFailure = {};
  const std::uint32_t child = StartCommandLine(commandLine, windowStyle);
  if (child == 0) return Fail(kShellNotStarted, "Failed to Shell child process");
  const Handle process = Sys.processes->OpenProcess(kProcessSynchronizeAndQuery, child);
  if (process == kNoHandle) return Fail(kShellNoHandle, "Failed to open child process");
  const std::uint32_t waited = WaitForChild(process, kLongestWait);
  std::uint32_t exitCode = 0;
  bool known = false;
  if (waited == kWaitTimeout) {
    Sys.processes->EndChild(child);
    Fail(kShellNeverEnded, "Child process did not end");
  } else {
    known = Sys.processes->GetExitCodeProcess(process, exitCode);
    if (!known) {
      Fail(kShellNoExitCode,
           "Failed to retrieve exit code, error " + Decimal(Sys.devices->GetLastError()));
    }
  }
  std::ignore = Sys.devices->CloseHandle(process);
  return known ? static_cast<std::int32_t>(exitCode) : 0;
}

void RunCmd(const std::string& CmdPath, int WindowStyle) {
  const Routine quietly;
  WriteLog("RunCmd " + CmdPath);
  const std::uint32_t child = StartCommandLine(CmdPath, WindowStyle);
  if (child == 0) return;
  const Handle process = Sys.processes->OpenProcess(kProcessSynchronize, child);
  if (process == kNoHandle) return;
  std::ignore = WaitForChild(process, kInfinite);
  std::ignore = Sys.devices->CloseHandle(process);
}
