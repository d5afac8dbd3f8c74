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

  using SetDllDirectoryFunction = BOOL(WINAPI*)(const char*);
  const auto setDllDirectory = LookUp<SetDllDirectoryFunction>("kernel32.dll", "SetDllDirectoryA");
  if (setDllDirectory != nullptr) setDllDirectory("");

  // A current folder on the stick is an open handle there, and the volume couldn't be locked.
  char folder[MAX_PATH] = "";
  if (::GetSystemDirectoryA(folder, MAX_PATH) != 0) ::SetCurrentDirectoryA(folder);
}

std::wstring WideText(const std::string& text) {
  const int bytes = static_cast<int>(text.size());
  const int size = ::MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  ::MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, wide.data(), size);
  return wide;
}

std::string NarrowText(const std::wstring& wide) {
  const int units = static_cast<int>(wide.size());
  const int size =
      ::WideCharToMultiByte(CP_ACP, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  ::WideCharToMultiByte(CP_ACP, 0, wide.data(), units, text.data(), size, nullptr, nullptr);
  return text;
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
