#include "disk/file_probe.h"

#include "platform/platform.h"
#include "report/error_mode.h"

std::optional<FindData> FindFile(const std::string& path) {
  ErrorMode quietly;
  std::optional<FindData> file;
  quietly([&] {
    FindData found;
    const Handle search = Sys.files->FindFirstFile(path, found);
    if (search == kInvalidHandle) return;
    if ((found.attributes & kAttributeDirectory) == 0) file = found;
    Sys.files->FindClose(search);
  });
  return file;
}

std::string ProbeFile(const std::string& path) {
  const std::optional<FindData> found = FindFile(path);
  return found ? found->name : "";
}

bool FileIsThere(const std::string& path) {
  return !ProbeFile(path).empty();
}
