// The hidden-sectors field of an image's boot record: how many sectors of the disk lie before the
// volume. 4 bytes at offset 28, little-endian, in FAT32 and NTFS alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

constexpr std::size_t kHiddenSectors = 28;  // offset in a boot record
constexpr std::size_t kHiddenSectorsSize = 4;

// Writes Measured.FStart into that field of the sector at Measured.FStart, for the types 7, 11
// and 12. Reports its own failures, and stops nothing. Leaves the boot record in SectorBuffer.
void Adjust_Hidden(const std::string& MyFile, std::uint64_t PTYPE);
