// The contract of the platform, on Windows: the one argument is an empty folder with its closing
// backslash. The exit code is the number of cases that don't hold.
#include <cstdio>
#include <exception>
#include <string>
#include <tuple>

#include "platform/win32/win32_platform.h"
#include "tests/contract.h"

namespace {

// With the parts of the run-time library that the executables bring. The name of the case, if it
// doesn't hold.
const char* BrokenRunTime() {
  volatile std::size_t beyond = 2;
  try {
    (void)std::string("a").substr(beyond);
  } catch (const std::exception&) {
    try {
      (void)std::string().append("", ~std::size_t{0} - beyond);
    } catch (const std::exception&) {
      return nullptr;
    }
  }
  return "an error of the standard library arrives as one, also during another";
}

constexpr int kEndOfInput = 7;

// As a child of itself: what it reads, and whether what it writes goes anywhere.
int Ask() {
  return std::getchar() == EOF && std::puts("Well?") >= 0 && std::fflush(stdout) == 0 ? kEndOfInput
                                                                                      : 0;
}

// A question that a hidden child asks meets the end of its input.
bool HiddenChildrenHaveNoInput(Platform& p, const std::string& program) {
  const std::uint32_t child = p.processes->Shell("", "\"" + program + "\" ask", kWindowHidden);
  const Handle process = p.processes->OpenProcess(kProcessSynchronizeAndQuery, child);
  std::uint32_t code = 0;
  const bool ended = p.processes->WaitForSingleObject(process, 180000) == kWaitObject0 &&
                     p.processes->GetExitCodeProcess(process, code);
  std::ignore = p.devices->CloseHandle(process);
  p.processes->EndChild(child);
  return ended && code == kEndOfInput;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 100;
  if (arguments[1] == std::string("ask")) return Ask();
  Platform platform = Win32Platform();
  int broken = 0;
  if (!HiddenChildrenHaveNoInput(platform, arguments[0])) {
    std::puts("HiddenChildrenHaveNoInput: the child waits for an answer");
    ++broken;
  }
  for (const ContractCase& contractCase : kContract) {
    const std::string wrong = RunCase(contractCase, platform, arguments[1]);
    std::printf("%s: %s\n", contractCase.name, wrong.empty() ? "ok" : wrong.c_str());
    if (!wrong.empty()) ++broken;
  }
  if (const char* wrong = BrokenRunTime()) {
    std::printf("%s: no\n", wrong);
    ++broken;
  }
  return broken;
}
