// External commands, run to their end. The window is drawn meanwhile (report/progress.h), but no
// window event runs.
#pragma once

#include <cstdint>
#include <string>

// A failure of SyncShell. Shown to nobody; the source is always "SyncShell".
struct ShellFailure {
  std::uint32_t number = 0;  // 0: none
  std::string description;
};
extern ShellFailure LastShellFailure;

constexpr std::uint32_t kShellNoExitCode = 0x8004AA00;
constexpr std::uint32_t kShellNoHandle = 0x8004AA01;
constexpr std::uint32_t kShellNotStarted = 0x8004AA02;
constexpr std::uint32_t kShellNeverEnded = 0x8004AA03;

// Returns the full path in the system folder of a program named without a folder, "cmd" or
// "cmd.exe"; empty if it isn't there or the name has a folder. Windows would look for the bare name
// in this program's own folder first.
std::string SystemProgram(const std::string& name);

// Statement: starts a command line, using the program in the system folder if it is there. Returns
// the child's process identifier.
std::uint32_t StartCommandLine(const std::string& commandLine, int windowStyle);

// Starts a command line and waits for its end, 60 s at most: a child that takes longer is ended,
// together with everything it started. Returns its exit code, or 0 after a failure, which it
// records.
std::int32_t SyncShell(const std::string& commandLine, int windowStyle);

// The same without exit code, time limit or record of a failure.
void RunCmd(const std::string& CmdPath, int WindowStyle);
