#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

std::string ProgramPath() {
  char path[MAX_PATH + 1] = "";  // left one longer: the call doesn't end a full buffer with a NUL
  ::GetModuleFileNameA(nullptr, path, MAX_PATH);
  return path;
}

class RealSystemFacts final : public SystemFacts {
 public:
  std::uint32_t GetTempPath(std::uint32_t size, char* buffer) override {
    const DWORD count = ::GetTempPathA(size, buffer);
    return count < size ? count : 0;  // a larger count is the size that would have been needed
  }

  std::uint32_t GetLongPathName(const std::string& shortPath, char* buffer,
                                std::uint32_t size) override {
    const DWORD count = ::GetLongPathNameA(shortPath.c_str(), buffer, size);
    return count < size ? count : 0;
  }

  bool GetVersionEx(VersionInfo& version) override {
    OSVERSIONINFOA info{};
    info.dwOSVersionInfoSize = sizeof info;
    if (!::GetVersionExA(&info)) return false;
    version = {info.dwPlatformId, info.dwMajorVersion, info.dwMinorVersion};
    return true;
  }

  bool GetVolumeInformation(const std::string& root, std::string& label, std::uint32_t labelSize,
                            std::uint32_t& serial, std::string& fileSystem,
                            std::uint32_t fileSystemSize) override {
    // The wide call, since a label of few characters can be of many bytes.
    std::wstring wideLabel(labelSize, L'\0'), wideSystem(fileSystemSize, L'\0');
    DWORD number = 0, longestName = 0, flags = 0;
    if (!::GetVolumeInformationW(WideText(root).c_str(), wideLabel.data(), labelSize, &number,
                                 &longestName, &flags, wideSystem.data(), fileSystemSize)) {
      return false;
    }
    label = NarrowText(wideLabel.c_str());
    fileSystem = NarrowText(wideSystem.c_str());
    serial = number;
    return true;
  }

  std::uint32_t FormatMessage(std::uint32_t flags, std::uint32_t code, std::uint32_t language,
                              char* buffer, std::uint32_t size) override {
    return ::FormatMessageA(flags, nullptr, code, language, buffer, size, nullptr);
  }

  std::string Environment(const std::string& name) override {
    std::string value(::GetEnvironmentVariableA(name.c_str(), nullptr, 0), '\0');
    const auto size = static_cast<DWORD>(value.size());
    value.resize(size == 0 ? 0 : ::GetEnvironmentVariableA(name.c_str(), value.data(), size));
    return value;
  }

  std::string SystemFolder() override {
    char folder[MAX_PATH] = "";
    return ::GetSystemDirectoryA(folder, MAX_PATH) < MAX_PATH ? folder : "";
  }

  std::string ProgramFolder() override {
    const std::string path = ProgramPath();
    return path.substr(0, path.find_last_of('\\'));
  }

  std::string ProgramName() override {
    const std::string path = ProgramPath();
    const std::string file = path.substr(path.find_last_of('\\') + 1);
    return file.substr(0, file.find_last_of('.'));
  }

  int LogicalDriveCount() override { return __builtin_popcount(::GetLogicalDrives()); }
};

}  // namespace

SystemFacts* Win32SystemFacts() {
  static RealSystemFacts facts;
  return &facts;
}
