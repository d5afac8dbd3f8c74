// Checks on a real Windows what the tests check elsewhere: windows_check.exe [FOLDER]. Without a
// folder it checks the executables that it brings, else those of the folder. It writes no sector,
// and no file but its report and what it deletes at the end.
#include "check/checks.h"
#include "platform/win32/standard_output.h"
#include "platform/win32/win32_platform.h"
#include "report/product.h"

namespace {

constexpr const char* kBits = sizeof(void*) == 8 ? "x64" : "x86";

std::string System() {
  VersionInfo version;
  if (!Sys.facts->GetVersionEx(version)) return "an unknown Windows";
  std::string system =
      "Windows " + std::to_string(version.major) + "." + std::to_string(version.minor);
  using WineVersion = const char*(CDECL*)();
  const auto wine = LookUp<WineVersion>(L"ntdll.dll", "wine_get_version");
  return wine == nullptr ? system : system + ", Wine " + wine();
}

bool Run(Findings& findings, const std::string& executables) {
  const std::string report = Sys.facts->ProgramFolder() + "\\" + Sys.facts->ProgramName() + ".txt";
  const bool kept = findings.WriteTo(report);
  findings.Say("Rotate_TSD " PRODUCT_VERSION_TEXT " on " + System() + ", " + kBits);
  findings.Say(kept ? "This report: " + report : report + " can't be written");
  findings.Try("a folder of its own", [&] {
    const Workplace place(executables);
    CheckContract(findings, place);
    CheckFacts(findings);
    CheckExtents(findings, place);
    CheckCaptions(findings);
    CheckWindow(findings, place);
  });
  return findings.PrintTable();
}

// A console that was opened for this program alone closes with it.
void HoldOwnConsole() {
  DWORD processes[2];
  if (::GetConsoleProcessList(processes, 2) != 1) return;
  Print("\r\nPress Enter to close this window.");
  char line[80];
  DWORD count = 0;
  ::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), line, sizeof line, &count, nullptr);
}

}  // namespace

// The entry point of the run-time library, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

int wmain(int argc, wchar_t** argv) {
  PrepareProcess();
  Sys = Win32Platform();
  const std::string argument = argc > 1 ? NarrowText(argv[1]) : "";
  if (argument == "ask") return AskAsChild();
  Findings findings;
  const bool sound = Run(findings, argument);
  HoldOwnConsole();
  return sound ? 0 : 1;
}
