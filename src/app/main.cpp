// The entry of the Windows executable. A plain main: WinMain would link in the run-time library's
// command-line parser.
#include "platform/win32/win32_platform.h"
#include "shell/program.h"

int main() {
  PrepareProcess();
  RunProgram(Win32Platform());
  return 0;
}
