#include "report/statements.h"

#include "platform/platform.h"
#include "report/routine.h"

namespace {

template <class Statement>
bool Do(Statement statement) {
  try {
    statement();
    return true;
  } catch (const Fault& fault) {
    Routine::Failed(fault);
    return false;
  }
}

}  // namespace

bool FileCopy(const std::string& from, const std::string& to) {
  return Do([&] { Sys.files->FileCopy(from, to); });
}

bool FileDelete(const std::string& path) {
  return Do([&] { Sys.files->FileDelete(path); });
}

bool FileRename(const std::string& from, const std::string& to) {
  return Do([&] { Sys.files->FileRename(from, to); });
}

bool MakeFolder(const std::string& path) {
  return Do([&] { Sys.files->MakeFolder(path); });
}

bool ReadTextFile(const std::string& path, std::string& text) {
  return Do([&] { text = Sys.files->ReadTextFile(path); });
}

bool ReadBinaryFile(const std::string& path, std::uint8_t* data, std::size_t bytes,
                    std::size_t& count) {
  return Do([&] { count = Sys.files->ReadBinaryFile(path, data, bytes); });
}

bool AppendLine(const std::string& path, const std::string& line) {
  return Do([&] { Sys.files->AppendLine(path, line); });
}

std::uint32_t Shell(const std::string& program, const std::string& commandLine, int windowStyle) {
  std::uint32_t child = 0;
  Do([&] { child = Sys.processes->Shell(program, commandLine, windowStyle); });
  return child;
}
