#include "platform/win32/win32_platform.h"

#include "platform/win32/library_search.h"
#include "platform/win32/win32_headers.h"

Platform Win32Platform() {
  return {Win32Devices(), Win32Files(),   Win32Processes(), Win32SystemFacts(),
          Win32Desktop(), Win32Toolkit(), Win32Clock()};
}

void PrepareProcess() {
  LoadSystemLibrariesOnly();
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);

  using SetDllDirectoryFunction = BOOL(WINAPI*)(const wchar_t*);
  const auto setDllDirectory = LookUp<SetDllDirectoryFunction>(L"kernel32.dll", "SetDllDirectoryW");
  if (setDllDirectory != nullptr) setDllDirectory(L"");

  // A current folder on the stick is an open handle there; the volume couldn't be locked.
  wchar_t folder[MAX_PATH] = L"";
  if (::GetSystemDirectoryW(folder, MAX_PATH) != 0) ::SetCurrentDirectoryW(folder);
}

Fault FaultOfSystemError(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
      return MakeFault(kFileNotFound);
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
      return MakeFault(kPathNotFound);
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
      return MakeFault(kPermissionDenied);
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return MakeFault(kFileAlreadyExists);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return MakeFault(kDiskFull);
    case ERROR_NOT_READY:
      return MakeFault(kDiskNotReady);
    case ERROR_CRC:
    case ERROR_IO_DEVICE:
    case ERROR_SECTOR_NOT_FOUND:
    case ERROR_GEN_FAILURE:
      return MakeFault(kDeviceIoError);
    default:
      return MakeFault(kPathFileAccessError);
  }
}
