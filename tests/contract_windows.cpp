// The contract of the platform, on Windows: the one argument is an empty folder with its closing
// backslash. The exit code is the number of cases that don't hold.
#include <cstdio>

#include "platform/win32/win32_platform.h"
#include "tests/contract.h"

int main(int count, char** arguments) {
  if (count != 2) return 100;
  Platform platform = Win32Platform();
  int broken = 0;
  for (const ContractCase& contractCase : kContract) {
    const std::string wrong = RunCase(contractCase, platform, arguments[1]);
    std::printf("%s: %s\n", contractCase.name, wrong.empty() ? "ok" : wrong.c_str());
    if (!wrong.empty()) ++broken;
  }
  return broken;
}
