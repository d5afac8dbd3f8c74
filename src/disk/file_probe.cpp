#include "disk/file_probe.h"

#include <tuple>

#include "platform/platform.h"

std::optional<FindData> FindFile(const std::string& path) {
  FindData found;
  const Handle search = Sys.files->FindFirstFile(path, found);
  if (search == kInvalidHandle) return std::nullopt;
  std::ignore = Sys.files->FindClose(search);
  if ((found.attributes & kAttributeDirectory) != 0) return std::nullopt;
  return found;
}

std::string ProbeFile(const std::string& path) {
  const std::optional<FindData> found = FindFile(path);
  return found ? found->name : "";
}

bool FileIsThere(const std::string& path) {
  return !ProbeFile(path).empty();
}
