#include "imagefiles/file_compare.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <tuple>
#include <vector>

#include "platform/platform.h"
#include "report/progress.h"
#include "text/text.h"

namespace {

// Uncached reads need offsets, lengths and memory aligned to whole sectors. No device has sectors
// larger than 4096 bytes.
constexpr std::size_t kAlignment = 4096;
constexpr std::uint64_t kChunk = 1 << 20;

std::uint32_t NextChunk(std::uint64_t left) {
  return static_cast<std::uint32_t>(std::min(left, kChunk));
}

// Reads must ask for whole sectors, and the file's end cuts the last one short.
std::uint32_t InWholeSectors(std::uint32_t bytes) {
  return static_cast<std::uint32_t>((bytes + kAlignment - 1) / kAlignment * kAlignment);
}

class AlignedMemory {
 public:
  explicit AlignedMemory(std::size_t bytes) : memory_(bytes + kAlignment) {
    const auto start = reinterpret_cast<std::uintptr_t>(memory_.data());
    data_ = memory_.data() + (kAlignment - start % kAlignment) % kAlignment;
  }
  std::uint8_t* Data() { return data_; }

 private:
  std::vector<std::uint8_t> memory_;
  std::uint8_t* data_;
};

Handle OpenPastCache(const std::string& path) {
  return Sys.devices->CreateFile(path, kGenericRead, kShareRead, kOpenExisting, kFlagNoBuffering);
}

void Close(Handle file) {
  if (file != kInvalidHandle) std::ignore = Sys.devices->CloseHandle(file);
}

std::optional<std::uint64_t> SizeOf(Handle file) {
  std::uint32_t high = 0;
  const std::uint32_t low = Sys.devices->GetFileSize(file, high);
  if (low == kInvalidFileSize && Sys.devices->GetLastError() != 0) return std::nullopt;
  return static_cast<std::uint64_t>(high) << 32 | low;
}

bool ReadNext(Handle file, AlignedMemory& memory, std::uint32_t bytes) {
  std::uint32_t count = 0;
  return Sys.devices->ReadFile(file, memory.Data(), InWholeSectors(bytes), count) && count == bytes;
}

// compared counts the bytes that were equal so far.
bool HoldSame(Handle file1, Handle file2, Amount& compared) {
  const std::optional<std::uint64_t> size = SizeOf(file1);
  if (!size || SizeOf(file2) != size) return false;
  compared.total = *size;
  AlignedMemory memory1(InWholeSectors(NextChunk(*size))),
      memory2(InWholeSectors(NextChunk(*size)));
  while (compared.done < compared.total) {
    const std::uint32_t bytes = NextChunk(compared.total - compared.done);
    if (!ReadNext(file1, memory1, bytes) || !ReadNext(file2, memory2, bytes) ||
        std::memcmp(memory1.Data(), memory2.Data(), bytes) != 0) {
      return false;
    }
    compared.done += bytes;
    Progress::GoOn();
  }
  return true;
}

}  // namespace

bool HoldSameBytes(const std::string& path1, const std::string& path2) {
  const Handle file1 = OpenPastCache(path1);
  const Handle file2 = file1 == kInvalidHandle ? kInvalidHandle : OpenPastCache(path2);
  Amount compared;
  const Progress progress([&] { return "Comparing " + BareName(path2) + HowFar(compared); });
  const bool same = file2 != kInvalidHandle && HoldSame(file1, file2, compared);
  Close(file2);
  Close(file1);
  return same;
}
