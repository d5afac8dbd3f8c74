// windows.h, reduced. Only the files of this folder include it.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef UNICODE
#define UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif

#include <windows.h>
// Needs windows.h before it.
#include <shellapi.h>

// The seam's methods have the names of the calls, which windows.h and shellapi.h define as macros.
#undef CreateFile
#undef CreateMutex
#undef FindFirstFile
#undef FindNextFile
#undef FindWindow
#undef FormatMessage
#undef GetFileAttributes
#undef GetLongPathName
#undef GetTempPath
#undef GetVersionEx
#undef GetVolumeInformation
#undef GetWindowText
#undef GetWindowTextLength
#undef PostMessage
#undef SendMessage
#undef SendMessageTimeout
#undef ShellExecute

#include <string>

#include "platform/fault.h"
#include "text/wide_text.h"

// Returns the fault for the system error number of a failed statement.
Fault FaultOfSystemError(DWORD error);

// Returns a system function that the oldest Windows lacks, or null there.
template <class Function>
Function LookUp(const wchar_t* library, const char* name) {
  const HMODULE module = ::GetModuleHandleW(library);
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}
