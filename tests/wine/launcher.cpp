// Starts a program with a library in it: launcher LIBRARY PROGRAM. The library is loaded before the
// program's first statement; the program's file is not changed. Gives the program's exit code.
#include <windows.h>

#include <cstdio>
#include <cstring>

namespace {

int Fail(const char* what) {
  fprintf(stderr, "launcher: %s failed, error %lu\n", what, GetLastError());
  return 95;
}

// True: the library is in the process and has taken its place.
bool LoadInto(HANDLE process, const char* library) {
  const SIZE_T bytes = strlen(library) + 1;
  void* text = VirtualAllocEx(process, nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
  if (text == nullptr || !WriteProcessMemory(process, text, library, bytes, nullptr)) return false;
  const FARPROC load = GetProcAddress(GetModuleHandleA("kernel32.dll"), "LoadLibraryA");
  LPTHREAD_START_ROUTINE start;
  memcpy(&start, &load, sizeof start);
  const HANDLE thread = CreateRemoteThread(process, nullptr, 0, start, text, 0, nullptr);
  if (thread == nullptr) return false;
  WaitForSingleObject(thread, INFINITE);
  DWORD loaded = 0;
  GetExitCodeThread(thread, &loaded);
  CloseHandle(thread);
  return loaded != 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 94;
  char commandLine[MAX_PATH + 2];
  snprintf(commandLine, sizeof commandLine, "\"%s\"", arguments[2]);
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION child = {};
  if (!CreateProcessA(arguments[2], commandLine, nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr,
                      nullptr, &startup, &child)) {
    return Fail("CreateProcess");
  }
  if (!LoadInto(child.hProcess, arguments[1])) {
    TerminateProcess(child.hProcess, 1);
    return Fail("loading the library");
  }
  ResumeThread(child.hThread);
  WaitForSingleObject(child.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(child.hProcess, &code);
  return static_cast<int>(code);
}
