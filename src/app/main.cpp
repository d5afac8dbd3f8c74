// The entry of the Windows executable.
#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"
#include "shell/program.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  PrepareProcess();
  RunProgram(Win32Platform());
  return 0;
}
