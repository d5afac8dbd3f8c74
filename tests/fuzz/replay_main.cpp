// Runs a harness on files and folders of files, where libFuzzer isn't there to do it.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/fuzz/fuzz.h"

int main(int argc, char** argv) {
  int runs = 0;
  const auto replay = [&](const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string data{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(data.data()), data.size());
    ++runs;
  };
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      replay(argv[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) replay(entry.path());
  }
  std::printf("%d inputs\n", runs);
  return runs > 0 ? 0 : 1;  // a folder that lost its seeds proves nothing
}
