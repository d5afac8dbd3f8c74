// A program that somebody put where it doesn't belong. It leaves a file that shows it has run.
#include <windows.h>

int main() {
  const HANDLE file =
      CreateFileA("C:\\planted.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  CloseHandle(file);
  return 0;
}
