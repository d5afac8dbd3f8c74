#include "imagefiles/file_compare.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "platform/platform.h"
#include "shell/failure.h"

namespace {

// Reads past the cache begin at whole sectors, ask for whole sectors and go into memory that is
// aligned as a sector is. 4096 is the largest sector of any device; a chunk is many of them.
constexpr std::size_t kAlignment = 4096;
constexpr std::uint32_t kChunk = 1 << 20;

class AlignedChunk {
 public:
  std::uint8_t* Data() { return data_; }

 private:
  std::size_t space_ = kChunk + kAlignment;
  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(space_);
  void* start_ = memory_.data();
  std::uint8_t* data_ = static_cast<std::uint8_t*>(std::align(kAlignment, kChunk, start_, space_));
};

Handle OpenPastCache(const std::string& path) {
  ErrorMode quietly;
  return quietly(kInvalidHandle, [&] {
    return Sys.devices->CreateFileA(path, kGenericRead, kShareRead, kOpenExisting,
                                    kFlagNoBuffering);
  });
}

void Close(Handle file) {
  ErrorMode quietly;
  if (file != kInvalidHandle) quietly([&] { Sys.devices->CloseHandle(file); });
}

std::optional<std::uint64_t> SizeOf(Handle file) {
  std::uint32_t high = 0;
  const std::uint32_t low = Sys.devices->GetFileSize(file, high);
  if (low == kInvalidFileSize && Sys.devices->GetLastError() != 0) return std::nullopt;
  return static_cast<std::uint64_t>(high) << 32 | low;
}

// Always asks for a whole chunk: the end of the file cuts the last one short, which is allowed
// where asking for a part of a sector isn't.
bool ReadNext(Handle file, AlignedChunk& chunk, std::uint32_t expected) {
  std::uint32_t count = 0;
  return Sys.devices->ReadFile(file, chunk.Data(), kChunk, count) && count == expected;
}

bool HoldSame(Handle file1, Handle file2) {
  const std::optional<std::uint64_t> size = SizeOf(file1);
  if (!size || SizeOf(file2) != size) return false;
  AlignedChunk chunk1, chunk2;
  for (std::uint64_t left = *size; left > 0;) {
    const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, kChunk));
    if (!ReadNext(file1, chunk1, count) || !ReadNext(file2, chunk2, count) ||
        std::memcmp(chunk1.Data(), chunk2.Data(), count) != 0) {
      return false;
    }
    left -= count;
  }
  return true;
}

}  // namespace

bool HoldSameBytes(const std::string& path1, const std::string& path2) {
  const Handle file1 = OpenPastCache(path1);
  const Handle file2 = file1 == kInvalidHandle ? kInvalidHandle : OpenPastCache(path2);
  ErrorMode quietly;
  const bool same =
      file2 != kInvalidHandle && quietly(false, [&] { return HoldSame(file1, file2); });
  Close(file2);
  Close(file1);
  return same;
}
