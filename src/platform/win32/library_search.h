// Where the process looks for libraries that are named without a folder.
#pragma once

#include "platform/win32/win32_headers.h"

// Only in the system folder from here on; the program's own folder may hold anything. To be called
// first. Windows supports it since 8, and 7 with an update.
inline void LoadSystemLibrariesOnly() {
  using SetDefaultDllDirectoriesFunction = BOOL(WINAPI*)(DWORD);
  constexpr DWORD kSearchSystem32 = 0x800;  // libloaderapi.h, LOAD_LIBRARY_SEARCH_SYSTEM32
  const auto setDefaultDllDirectories =
      LookUp<SetDefaultDllDirectoriesFunction>(L"kernel32.dll", "SetDefaultDllDirectories");
  if (setDefaultDllDirectories != nullptr) setDefaultDllDirectories(kSearchSystem32);
}
