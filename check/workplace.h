// A fresh folder in the temp folder, with all that the check writes; deleted with everything in it
// when the check ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class Workplace {
 public:
  // Unpacks the executables that the check brings; with executables, those of that folder are
  // checked instead. Throws a Fault where nothing can be written.
  explicit Workplace(const std::string& executables);
  ~Workplace();
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  // Folders, each with its closing backslash.
  std::string programs;  // of Rotate_TSD.exe and getFileExtents.exe
  std::string contract;  // empty
  std::string temp;      // the temp folder of every program that is started from now on
  std::string files;     // for files that are placed

 private:
  std::string Folder(const char* name) const;

  std::string root_;
};

// Writes a new file, as far as the disk. Throws a Fault.
void WriteNewFile(const std::string& path, const std::uint8_t* data, std::size_t bytes);
