// Directory searches, and whole-file statements by path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/devices.h"

// File attributes (winnt.h).
constexpr std::uint32_t kAttributeReadOnly = 1;
constexpr std::uint32_t kAttributeHidden = 2;
constexpr std::uint32_t kAttributeSystem = 4;
constexpr std::uint32_t kAttributeDirectory = 16;
constexpr std::uint32_t kInvalidAttributes = 0xFFFFFFFF;

// One entry of a search, as WIN32_FIND_DATA describes it.
struct FindData {
  std::string name;                 // bare file name, at most 259 UTF-16 units
  std::uint32_t attributes = 0;     // the bits above, and others
  std::uint64_t size = 0;           // bytes
  std::uint64_t lastWriteTime = 0;  // FILETIME: 100 ns since 1601, UTC
};

class Files {
 public:
  virtual ~Files() = default;

  // Searches. The pattern may hold * and ? in its last part; hidden and system entries and folders
  // are found as well. FindFirstFile returns a search handle, or -1 when nothing matches.
  [[nodiscard]] virtual Handle FindFirstFile(const std::string& pattern,
                                             FindData& found) noexcept = 0;
  [[nodiscard]] virtual bool FindNextFile(Handle search, FindData& found) noexcept = 0;
  [[nodiscard]] virtual bool FindClose(Handle search) noexcept = 0;

  // The attributes of a file or folder, or kInvalidAttributes.
  [[nodiscard]] virtual std::uint32_t GetFileAttributes(const std::string& path) noexcept = 0;

  // Statements: each does all of its work or throws a Fault.
  virtual void FileCopy(const std::string& from, const std::string& to) = 0;    // see below
  virtual void FileDelete(const std::string& path) = 0;                         // 53, 70, 75
  virtual void FileRename(const std::string& from, const std::string& to) = 0;  // 53, 58, 75
  virtual void MakeFolder(const std::string& path) = 0;                         // 75, 76
  // A copy overwrites to, and loses the read-only attribute, so that it can be deleted.

  // The whole file as text.
  [[nodiscard]] virtual std::string ReadTextFile(const std::string& path) = 0;

  // Reads up to bytes from the start of the file into data; returns how many there were.
  [[nodiscard]] virtual std::size_t ReadBinaryFile(const std::string& path, std::uint8_t* data,
                                                   std::size_t bytes) = 0;

  // Opens the file for appending (creating it), writes line and CR LF, closes it. Writes in the
  // system's ANSI code page, with "?" for what that lacks. 76: no folder.
  virtual void AppendLine(const std::string& path, const std::string& line) = 0;
};
