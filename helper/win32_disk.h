// The few system calls of the tool. Each failure throws a Refusal that says what failed and why.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/win32/win32_headers.h"
#include "runs.h"

namespace extents_tool {

// Why there is no result. The text is what the tool prints, in UTF-8 like every text here.
struct Refusal {
  std::string why;
};

// An open file, volume or disk.
class Opened {
 public:
  Opened(const std::string& path, DWORD access, DWORD flags = 0);
  ~Opened() { ::CloseHandle(handle_); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  // Sends a control code without input. False: the system refused; error says why.
  bool Ask(DWORD code, void* out, DWORD outSize, DWORD& error) const;

  // Reads bytes at offset, both multiples of the sector size, uncached if the handle was opened so.
  // Returns how many were read.
  std::size_t ReadAt(std::uint64_t offset, std::uint8_t* data, std::size_t bytes) const;

  [[nodiscard]] HANDLE Get() const { return handle_; }
  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  std::string path_;
  HANDLE handle_;
};

// A page-aligned buffer for unbuffered reads.
class PageBuffer {
 public:
  explicit PageBuffer(std::size_t bytes);
  ~PageBuffer() { ::VirtualFree(data_, 0, MEM_RELEASE); }
  PageBuffer(const PageBuffer&) = delete;
  PageBuffer& operator=(const PageBuffer&) = delete;

  std::uint8_t* Data() { return data_; }

 private:
  std::uint8_t* data_;
};

// Where a volume lies.
struct VolumePlace {
  std::uint32_t disk = 0;   // the number in "\\.\PhysicalDrive1"
  std::uint64_t start = 0;  // bytes from the start of the disk
};

// "Access is denied. (error 5)" and the like: the texts of the system in English, because callers
// look for them.
std::string ErrorText(DWORD error);

std::vector<Run> RunsOfFile(const Opened& file);
VolumePlace PlaceOfVolume(const Opened& volume);
VolumeLayout LayoutOfVolume(const Opened& volume, const std::string& root);

}  // namespace extents_tool
