// Searches and whole-file statements on the virtual volumes.
//
// Does not model: short (8.3) names; of read-only files, anything but that they can't be deleted.
#pragma once

#include <string>

#include "platform/files.h"
#include "platform/virtual/machine.h"

class VirtualFiles : public Files {
 public:
  explicit VirtualFiles(Machine& machine) : machine_(machine) {}

  Handle FindFirstFile(const std::string& pattern, FindData& found) noexcept override;
  bool FindNextFile(Handle search, FindData& found) noexcept override;
  bool FindClose(Handle search) noexcept override;
  std::uint32_t GetFileAttributes(const std::string& path) noexcept override;
  void FileCopy(const std::string& from, const std::string& to) override;
  void FileDelete(const std::string& path) override;
  void FileRename(const std::string& from, const std::string& to) override;
  void MakeFolder(const std::string& path) override;
  std::string ReadTextFile(const std::string& path) override;
  std::size_t ReadBinaryFile(const std::string& path, std::uint8_t* data,
                             std::size_t bytes) override;
  void AppendLine(const std::string& path, const std::string& line) override;

 private:
  struct Place {
    VirtualVolume* volume = nullptr;  // null: no such volume, or locked
    std::string path;
    VirtualFile* file = nullptr;  // null: none
    bool locked = false;
  };
  Place Look(const std::string& path);
  Step BeginStatement(Op op, const std::string& path, const std::string& detail = "");
  // Returns the file to work on; throws 76, 70, 53, 75 if none is usable.
  Place Require(const Step& step, const std::string& path);
  // True: another handle or a child prevents this access to the file; a delete collides with every
  // handle that reads or writes.
  bool Collides(const Place& place, std::uint32_t access) const;
  void Fill(FindData& found, VirtualVolume& volume, const std::string& folder,
            const std::string& name);

  Machine& machine_;
};
