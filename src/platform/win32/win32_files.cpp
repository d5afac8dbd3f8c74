#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

void ThrowUnless(BOOL ok) {
  if (!ok) throw FaultOfSystemError(::GetLastError());
}

// A file that is open for one statement.
class OpenFile {
 public:
  OpenFile(const std::string& path, DWORD access, DWORD share, DWORD disposition)
      : handle_(::CreateFileW(WideText(path).c_str(), access, share, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr)) {
    ThrowUnless(handle_ != INVALID_HANDLE_VALUE);
  }
  ~OpenFile() { ::CloseHandle(handle_); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  // Returns the count of bytes read, 0 at the end of the file.
  std::size_t Read(void* data, std::size_t bytes) {
    DWORD count = 0;
    ThrowUnless(::ReadFile(handle_, data, static_cast<DWORD>(bytes), &count, nullptr));
    return count;
  }

  void Write(const std::string& text) {
    DWORD count = 0;
    ThrowUnless(
        ::WriteFile(handle_, text.data(), static_cast<DWORD>(text.size()), &count, nullptr));
    if (count != text.size()) throw MakeFault(kDiskFull);
  }

 private:
  HANDLE handle_;
};

void Convert(const WIN32_FIND_DATAW& from, FindData& to) {
  to.name = NarrowText(from.cFileName);
  to.attributes = from.dwFileAttributes;
  to.size = std::uint64_t{from.nFileSizeHigh} << 32 | from.nFileSizeLow;
  to.lastWriteTime =
      std::uint64_t{from.ftLastWriteTime.dwHighDateTime} << 32 | from.ftLastWriteTime.dwLowDateTime;
}

// Without short names and with many entries per call, which Windows supports since 7; older ones
// refuse that.
HANDLE BeginSearch(const wchar_t* pattern, WIN32_FIND_DATAW& data) {
  constexpr auto kBasic = static_cast<FINDEX_INFO_LEVELS>(1);  // winbase.h, FindExInfoBasic
  constexpr DWORD kLargeFetch = 2;                             // FIND_FIRST_EX_LARGE_FETCH
  static bool refused = false;
  if (!refused) {
    const HANDLE search =
        ::FindFirstFileExW(pattern, kBasic, &data, FindExSearchNameMatch, nullptr, kLargeFetch);
    if (search != INVALID_HANDLE_VALUE || ::GetLastError() != ERROR_INVALID_PARAMETER)
      return search;
    refused = true;
  }
  return ::FindFirstFileW(pattern, &data);
}

// In the system's ANSI code page, with "?" for what it lacks, not a lookalike.
std::string CodePageText(const std::string& text) {
  const std::wstring wide = WideText(text);
  const auto units = static_cast<int>(wide.size());
  // For UTF-8 the call accepts neither the flag nor a default character.
  const bool whole = ::GetACP() == CP_UTF8;
  const DWORD flags = whole ? 0 : WC_NO_BEST_FIT_CHARS;
  const char* unknown = whole ? nullptr : "?";
  std::string bytes(4 * wide.size(), '\0');
  const int count = ::WideCharToMultiByte(CP_ACP, flags, wide.data(), units, bytes.data(),
                                          static_cast<int>(bytes.size()), unknown, nullptr);
  bytes.resize(static_cast<std::size_t>(count));
  return bytes;
}

class RealFiles final : public Files {
 public:
  Handle FindFirstFile(const std::string& pattern, FindData& found) noexcept override {
    WIN32_FIND_DATAW data;
    const HANDLE search = BeginSearch(WideText(pattern).c_str(), data);
    if (search != INVALID_HANDLE_VALUE) Convert(data, found);
    return reinterpret_cast<Handle>(search);
  }

  bool FindNextFile(Handle search, FindData& found) noexcept override {
    WIN32_FIND_DATAW data;
    if (!::FindNextFileW(reinterpret_cast<HANDLE>(search), &data)) return false;
    Convert(data, found);
    return true;
  }

  bool FindClose(Handle search) noexcept override {
    return ::FindClose(reinterpret_cast<HANDLE>(search)) != FALSE;
  }

  std::uint32_t GetFileAttributes(const std::string& path) noexcept override {
    return ::GetFileAttributesW(WideText(path).c_str());
  }

  void FileCopy(const std::string& from, const std::string& to) override {
    const std::wstring copy = WideText(to);
    ThrowUnless(::CopyFileW(WideText(from).c_str(), copy.c_str(), FALSE));
    const DWORD attributes = ::GetFileAttributesW(copy.c_str());
    ThrowUnless(attributes != INVALID_FILE_ATTRIBUTES &&
                ::SetFileAttributesW(copy.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}));
  }

  void FileDelete(const std::string& path) override {
    ThrowUnless(::DeleteFileW(WideText(path).c_str()));
  }

  void FileRename(const std::string& from, const std::string& to) override {
    ThrowUnless(::MoveFileW(WideText(from).c_str(), WideText(to).c_str()));
  }

  void MakeFolder(const std::string& path) override {
    if (::CreateDirectoryW(WideText(path).c_str(), nullptr)) return;
    const DWORD error = ::GetLastError();
    // The statement has no number of its own for an existing name.
    if (error == ERROR_ALREADY_EXISTS) throw MakeFault(kPathFileAccessError);
    throw FaultOfSystemError(error);
  }

  std::string ReadTextFile(const std::string& path) override {
    OpenFile file(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    std::string text;
    char chunk[4096];
    while (const std::size_t count = file.Read(chunk, sizeof chunk)) text.append(chunk, count);
    return text;
  }

  std::size_t ReadBinaryFile(const std::string& path, std::uint8_t* data,
                             std::size_t bytes) override {
    OpenFile file(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    return file.Read(data, bytes);
  }

  void AppendLine(const std::string& path, const std::string& line) override {
    OpenFile file(path, FILE_APPEND_DATA, FILE_SHARE_READ, OPEN_ALWAYS);
    file.Write(CodePageText(line) + "\r\n");
  }
};

}  // namespace

Files* Win32Files() {
  static RealFiles files;
  return &files;
}
