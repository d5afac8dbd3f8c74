// The four entries of a partition table, as numbers.
#pragma once

#include <array>
#include <cstdint>

#include "disk/sector_buffer.h"

struct PartitionEntry {
  bool active = false;        // boot byte 0x80
  std::uint8_t type = 0;      // 0: empty
  std::uint32_t start = 0;    // LBA
  std::uint32_t sectors = 0;  // length

  // The partition holds this sector of the disk.
  [[nodiscard]] bool Covers(std::uint64_t lba) const {
    return type != 0 && lba >= start && lba - start < sectors;
  }
};

std::array<PartitionEntry, 4> EntriesOf(const Sector& table);

// An entry of type 0xEE: the disk has a GPT (the protective entry of UEFI).
bool HasGptEntry(const Sector& table);

// The sector lies inside one of the table's partitions.
bool IsInPartition(const Sector& table, std::uint64_t lba);

// The first 512 bytes of SectorBuffer, which must hold that many.
Sector CopyOfSectorBuffer();
