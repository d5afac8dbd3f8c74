// A substitute extents tool, which a story puts beside the program. For each file it prints what
// the file named by ROTATE_RIG_ANSWERS says, one line per file: the end of its path, a tab, and the
// sector in hexadecimal. Exit codes: 1 for a file that isn't named there, 2 if the answers can't be
// read, 3 if the line can't be printed.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

int main(int, char** arguments) {
  const std::string path = arguments[1] == nullptr ? "" : arguments[1];
  const char* answers = getenv("ROTATE_RIG_ANSWERS");
  std::ifstream file(answers == nullptr ? "" : answers);
  if (!file) return 2;
  for (std::string line; std::getline(file, line);) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos || !path.ends_with(line.substr(0, tab))) continue;
    printf("File offset 0 LBA: %s Sectors: 800\n", line.c_str() + tab + 1);
    return fflush(stdout) == 0 ? 0 : 3;
  }
  return 1;
}
