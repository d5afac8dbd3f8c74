#include "check/workplace.h"

#include <tuple>

#include "platform/platform.h"
#include "platform/win32/win32_headers.h"

namespace {

constexpr std::uint32_t kCreateNew = 1;  // winbase.h, CREATE_NEW
constexpr std::uint32_t kPathSize = 260;

struct Embedded {
  const wchar_t* resource;
  const char* file;
};
constexpr Embedded kExecutables[] = {{L"PROGRAM", "Rotate_TSD.exe"},
                                     {L"EXTENTS_TOOL", "getFileExtents.exe"}};

void Unpack(const Embedded& embedded, const std::string& folder) {
  const HRSRC found = ::FindResourceW(nullptr, embedded.resource, RT_RCDATA);
  const HGLOBAL data = found == nullptr ? nullptr : ::LoadResource(nullptr, found);
  if (data == nullptr) throw MakeFault(kFileNotFound);
  WriteNewFile(folder + embedded.file, static_cast<const std::uint8_t*>(::LockResource(data)),
               ::SizeofResource(nullptr, found));
}

// What can't be deleted stays.
void DeleteFolder(const std::string& folder) {
  FindData entry;
  const Handle search = Sys.files->FindFirstFile(folder + "*", entry);
  for (bool more = search != kInvalidHandle; more; more = Sys.files->FindNextFile(search, entry)) {
    const bool isFolder = (entry.attributes & kAttributeDirectory) != 0;
    if (!isFolder) ::DeleteFileW(WideText(folder + entry.name).c_str());
    if (isFolder && entry.name != "." && entry.name != "..") {
      DeleteFolder(folder + entry.name + "\\");
    }
  }
  if (search != kInvalidHandle) std::ignore = Sys.files->FindClose(search);
  ::RemoveDirectoryW(WideText(folder).c_str());
}

}  // namespace

void WriteNewFile(const std::string& path, const std::uint8_t* data, std::size_t bytes) {
  const Handle file = Sys.devices->CreateFile(path, kGenericReadWrite, kShareNone, kCreateNew, 0);
  if (file == kInvalidHandle) throw MakeFault(kPathFileAccessError);
  std::uint32_t written = 0;
  const bool whole =
      Sys.devices->WriteFile(file, data, static_cast<std::uint32_t>(bytes), written) &&
      written == bytes && Sys.devices->FlushFileBuffers(file);
  std::ignore = Sys.devices->CloseHandle(file);
  if (!whole) throw MakeFault(kDiskFull);
}

std::string Workplace::Folder(const char* name) const {
  const std::string folder = root_ + name;
  Sys.files->MakeFolder(folder);
  return folder + "\\";
}

Workplace::Workplace(const std::string& executables) {
  const std::string system = Sys.facts->GetTempPath(kPathSize);
  // A folder that is there already is somebody else's.
  root_ = Sys.facts->GetLongPathName(system, kPathSize) + "Rotate_TSD check " +
          std::to_string(::GetTickCount());
  Sys.files->MakeFolder(root_);
  root_ += "\\";
  programs = executables.empty() ? Folder("programs") : executables + "\\";
  contract = Folder("contract");
  temp = Folder("temp");
  files = Folder("files");
  if (executables.empty()) {
    for (const Embedded& embedded : kExecutables) Unpack(embedded, programs);
  }
  for (const wchar_t* name : {L"TMP", L"TEMP"}) {
    ::SetEnvironmentVariableW(name, WideText(temp).c_str());
  }
}

Workplace::~Workplace() {
  DeleteFolder(root_);
}
