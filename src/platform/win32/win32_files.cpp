#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

void ThrowUnless(BOOL ok) {
  if (!ok) throw FaultOfSystemError(::GetLastError());
}

// A file that is open for the length of one statement.
class OpenFile {
 public:
  OpenFile(const std::string& path, DWORD access, DWORD share, DWORD disposition)
      : handle_(::CreateFileA(path.c_str(), access, share, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr)) {
    ThrowUnless(handle_ != INVALID_HANDLE_VALUE);
  }
  ~OpenFile() { ::CloseHandle(handle_); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  // Gives the count of bytes read, 0 at the end of the file.
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

void Convert(const WIN32_FIND_DATAA& from, FindData& to) {
  to.name = from.cFileName;
  to.attributes = from.dwFileAttributes;
  to.size = std::uint64_t{from.nFileSizeHigh} << 32 | from.nFileSizeLow;
  to.lastWriteTime =
      std::uint64_t{from.ftLastWriteTime.dwHighDateTime} << 32 | from.ftLastWriteTime.dwLowDateTime;
}

class RealFiles final : public Files {
 public:
  Handle FindFirstFile(const std::string& pattern, FindData& found) override {
    WIN32_FIND_DATAA data;
    const HANDLE search = ::FindFirstFileA(pattern.c_str(), &data);
    if (search != INVALID_HANDLE_VALUE) Convert(data, found);
    return reinterpret_cast<Handle>(search);
  }

  bool FindNextFile(Handle search, FindData& found) override {
    WIN32_FIND_DATAA data;
    if (!::FindNextFileA(reinterpret_cast<HANDLE>(search), &data)) return false;
    Convert(data, found);
    return true;
  }

  bool FindClose(Handle search) override {
    return ::FindClose(reinterpret_cast<HANDLE>(search)) != FALSE;
  }

  std::uint32_t GetFileAttributes(const std::string& path) override {
    return ::GetFileAttributesA(path.c_str());
  }

  void FileCopy(const std::string& from, const std::string& to) override {
    ThrowUnless(::CopyFileA(from.c_str(), to.c_str(), FALSE));
    const DWORD attributes = ::GetFileAttributesA(to.c_str());
    ThrowUnless(attributes != INVALID_FILE_ATTRIBUTES &&
                ::SetFileAttributesA(to.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}));
  }

  void FileDelete(const std::string& path) override { ThrowUnless(::DeleteFileA(path.c_str())); }

  void FileRename(const std::string& from, const std::string& to) override {
    ThrowUnless(::MoveFileA(from.c_str(), to.c_str()));
  }

  void MakeFolder(const std::string& path) override {
    if (::CreateDirectoryA(path.c_str(), nullptr)) return;
    const DWORD error = ::GetLastError();
    // The statement has no number of its own for a name that is taken.
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
    file.Write(line + "\r\n");
  }
};

}  // namespace

Files* Win32Files() {
  static RealFiles files;
  return &files;
}
