#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

std::string ProgramPath() {
  wchar_t path[MAX_PATH + 1] = L"";  // one more: the call doesn't end a full buffer with a NUL
  ::GetModuleFileNameW(nullptr, path, MAX_PATH);
  return NarrowText(path);
}

// What a call has put into the buffer. A larger count is the size that it needs.
std::string Filled(const std::wstring& buffer, DWORD count) {
  return count < buffer.size() ? NarrowText({buffer.data(), count}) : "";
}

class RegistryKey {
 public:
  RegistryKey(HKEY root, const wchar_t* path) {
    if (::RegOpenKeyExW(root, path, 0, KEY_QUERY_VALUE, &key_) != ERROR_SUCCESS) key_ = nullptr;
  }
  ~RegistryKey() {
    if (key_ != nullptr) ::RegCloseKey(key_);
  }
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;

  // A text, or a number as text. Empty if it is neither.
  [[nodiscard]] std::optional<std::string> Value(const std::wstring& name) const {
    DWORD type = 0, bytes = 0;
    const auto query = [&](BYTE* data) {
      return key_ != nullptr &&
             ::RegQueryValueExW(key_, name.c_str(), nullptr, &type, data, &bytes) == ERROR_SUCCESS;
    };
    if (!query(nullptr)) return std::nullopt;
    std::wstring data(bytes / sizeof(wchar_t) + 2, L'\0');
    if (!query(reinterpret_cast<BYTE*>(data.data()))) return std::nullopt;
    if (type == REG_SZ || type == REG_EXPAND_SZ) return NarrowText(data.c_str());
    const DWORD number = data[0] | DWORD{data[1]} << 16;
    return type == REG_DWORD ? std::to_string(number) : "";
  }

 private:
  HKEY key_ = nullptr;
};

class RealSystemFacts final : public SystemFacts {
 public:
  std::string GetTempPath(std::uint32_t size) noexcept override {
    std::wstring path(size, L'\0');
    return Filled(path, ::GetTempPathW(size, path.data()));
  }

  std::string GetLongPathName(const std::string& shortPath, std::uint32_t size) noexcept override {
    std::wstring path(size, L'\0');
    return Filled(path, ::GetLongPathNameW(WideText(shortPath).c_str(), path.data(), size));
  }

  bool GetVersionEx(VersionInfo& version) noexcept override {
    OSVERSIONINFOW info{};
    info.dwOSVersionInfoSize = sizeof info;
    if (!::GetVersionExW(&info)) return false;
    version = {info.dwPlatformId, info.dwMajorVersion, info.dwMinorVersion};
    return true;
  }

  bool GetVolumeInformation(const std::string& root, std::string& label, std::uint32_t labelSize,
                            std::uint32_t& serial, std::string& fileSystem,
                            std::uint32_t fileSystemSize) noexcept override {
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

  std::string FormatMessage(std::uint32_t flags, std::uint32_t code, std::uint32_t language,
                            std::uint32_t size) noexcept override {
    std::wstring text(size, L'\0');
    return Filled(text,
                  ::FormatMessageW(flags, nullptr, code, language, text.data(), size, nullptr));
  }

  std::string TextOfCodePage(const std::string& bytes) noexcept override {
    std::wstring wide(bytes.size(), L'\0');  // no code page has more characters than bytes
    const auto size = static_cast<int>(bytes.size());
    const int count = ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, wide.data(), size);
    return NarrowText({wide.data(), static_cast<std::size_t>(count)});
  }

  std::optional<std::string> Environment(const std::string& name) noexcept override {
    const std::wstring wideName = WideText(name);
    std::wstring value(::GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
    if (value.empty()) return std::nullopt;
    return Filled(value, ::GetEnvironmentVariableW(wideName.c_str(), value.data(),
                                                   static_cast<DWORD>(value.size())));
  }

  std::optional<std::string> InterpreterSetting(SettingsOf whose,
                                                const std::string& name) noexcept override {
    const RegistryKey key(whose == SettingsOf::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
                          L"Software\\Microsoft\\Command Processor");
    return key.Value(WideText(name));
  }

  std::string SystemFolder() noexcept override {
    std::wstring folder(MAX_PATH, L'\0');
    return Filled(folder, ::GetSystemDirectoryW(folder.data(), MAX_PATH));
  }

  std::string ProgramFolder() noexcept override {
    const std::string path = ProgramPath();
    return path.substr(0, path.find_last_of('\\'));
  }

  std::string ProgramName() noexcept override {
    const std::string path = ProgramPath();
    const std::string file = path.substr(path.find_last_of('\\') + 1);
    return file.substr(0, file.find_last_of('.'));
  }

  int LogicalDriveCount() noexcept override { return __builtin_popcount(::GetLogicalDrives()); }
};

}  // namespace

SystemFacts* Win32SystemFacts() {
  static RealSystemFacts facts;
  return &facts;
}
