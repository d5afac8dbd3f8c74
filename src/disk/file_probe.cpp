#include "disk/file_probe.h"

#include "platform/platform.h"
#include "shell/failure.h"

std::string ProbeFile(const std::string& path) {
  ErrorMode quietly;
  std::string name;
  quietly([&] {
    FindData found;
    const Handle search = Sys.files->FindFirstFileA(path, found);
    if (search == kInvalidHandle) return;
    if ((found.attributes & kAttributeDirectory) == 0) name = found.name;
    Sys.files->FindClose(search);
  });
  return name;
}

bool FileIsThere(const std::string& path) {
  return !ProbeFile(path).empty();
}
