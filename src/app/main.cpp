// The entry of the Windows executable. A plain main: WinMain would bring the run-time library's
// splitting of the command line.
#include "platform/win32/win32_platform.h"
#include "shell/program.h"

int main() {
  PrepareProcess();
  RunProgram(Win32Platform());
  return 0;
}
