#include "disk/partition_entries.h"

#include <algorithm>

namespace {

constexpr std::uint8_t kTypeGptProtective = 0xEE;
constexpr std::uint8_t kActive = 0x80;

}  // namespace

std::array<PartitionEntry, 4> EntriesOf(const Sector& table) {
  std::array<PartitionEntry, 4> entries;
  const std::uint8_t* at = table.data() + kEntry1;
  for (PartitionEntry& entry : entries) {
    entry = {at[0] == kActive, at[kEntryType], Number32(at + kEntryStart),
             Number32(at + kEntryStart + 4)};
    at += kEntrySize;
  }
  return entries;
}

bool HasGptEntry(const Sector& table) {
  const auto entries = EntriesOf(table);
  return std::any_of(entries.begin(), entries.end(),
                     [](const PartitionEntry& entry) { return entry.type == kTypeGptProtective; });
}

bool IsInPartition(const Sector& table, std::uint64_t lba) {
  const auto entries = EntriesOf(table);
  return std::any_of(entries.begin(), entries.end(),
                     [&](const PartitionEntry& entry) { return entry.Covers(lba); });
}

Sector CopyOfSectorBuffer() {
  Sector copy;
  std::copy_n(SectorBuffer.begin(), kSectorSize, copy.begin());
  return copy;
}
