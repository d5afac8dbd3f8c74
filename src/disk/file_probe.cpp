#include "disk/file_probe.h"

#include <tuple>

#include "platform/platform.h"

namespace {

constexpr std::uint32_t kErrorFileNotFound = 2;  // winerror.h
constexpr std::uint32_t kErrorPathNotFound = 3;

// Other errors don't prove absence: a file in use may refuse its attributes.
bool IsSurelyAbsent(const std::string& path) {
  if (Sys.files->GetFileAttributes(path) != kInvalidAttributes) return false;
  const std::uint32_t error = Sys.devices->GetLastError();
  return error == kErrorFileNotFound || error == kErrorPathNotFound;
}

}  // namespace

std::optional<FindData> FindFile(const std::string& path) {
  FindData found;
  const Handle search = Sys.files->FindFirstFile(path, found);
  if (search == kInvalidHandle) return std::nullopt;
  std::ignore = Sys.files->FindClose(search);
  if ((found.attributes & kAttributeDirectory) != 0) return std::nullopt;
  return found;
}

std::string ProbeFile(const std::string& path) {
  // Most of the files asked for don't exist, and reading attributes costs a tenth of a search.
  if (IsSurelyAbsent(path)) return "";
  const std::optional<FindData> found = FindFile(path);
  return found ? found->name : "";
}

bool FileIsThere(const std::string& path) {
  return !ProbeFile(path).empty();
}
