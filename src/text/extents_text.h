// The text that the extents tool prints, made from a file's runs. Pure: the helper executable and
// the virtual PC print through this one file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One contiguous piece of a file on the physical disk.
struct Extent {
  std::uint64_t fileOffset;  // bytes from the start of the file
  std::uint64_t lba;         // absolute 512-byte sector of the physical disk
  std::uint64_t sectors;     // 512-byte sectors
};

// Joins neighbouring extents that follow each other both in the file and on the disk.
std::vector<Extent> MergeExtents(const std::vector<Extent>& extents);

// One line per extent: "File offset " offset " LBA: " lba " Sectors: " count CR LF, all three in
// upper-case hexadecimal without leading zeros. The first line begins "File offset 0 LBA: ". Joins
// neighbours first. Without extents the text is empty.
std::string ExtentsText(const std::vector<Extent>& extents);
