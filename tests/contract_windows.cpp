// The contract of the platform, on Windows: the one argument is an empty folder with its closing
// backslash. The exit code is the number of cases that don't hold.
#include <cstdio>
#include <exception>

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

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 100;
  Platform platform = Win32Platform();
  int broken = 0;
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
