// Loads a library into a process that hasn't run yet.
#pragma once

#include <windows.h>

#include <cstring>
#include <string>

// True: the library is in the process and has installed its hooks.
inline bool LoadInto(HANDLE process, const std::wstring& library) {
  const SIZE_T bytes = (library.size() + 1) * sizeof(wchar_t);
  void* text = VirtualAllocEx(process, nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
  if (text == nullptr || !WriteProcessMemory(process, text, library.c_str(), bytes, nullptr))
    return false;
  const FARPROC load = GetProcAddress(GetModuleHandleA("kernel32.dll"), "LoadLibraryW");
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

inline std::wstring Environment(const wchar_t* name) {
  wchar_t text[MAX_PATH] = L"";
  GetEnvironmentVariableW(name, text, MAX_PATH);
  return text;
}
