// From a file system's data about a file to places on the physical disk. Pure: no system calls.
//
// Units: a cluster is a fixed number of bytes of the volume; a VCN counts clusters of the file, an
// LCN clusters of the volume from its first cluster; all byte offsets are of the volume or the disk
// as their names say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "text/extents_text.h"

namespace extents_tool {

// What a volume's first sector says.
struct VolumeLayout {
  std::uint64_t sectorBytes = 0;
  std::uint64_t clusterBytes = 0;
  std::uint64_t firstClusterByte = 0;  // of LCN 0, from the start of the volume
  std::uint64_t volumeBytes = 0;
};

// Reads NTFS, exFAT, FAT32, FAT16 and FAT12. False: none of them, or impossible numbers; layout is
// then unchanged. bootSector holds 512 bytes.
bool ReadBootSector(const std::uint8_t* bootSector, VolumeLayout& layout);

// One run as FSCTL_GET_RETRIEVAL_POINTERS returns it.
struct Run {
  std::int64_t startVcn, nextVcn;
  std::int64_t lcn;  // -1: nothing on the disk
};

// Decodes a RETRIEVAL_POINTERS_BUFFER (winioctl.h) of bytes bytes and appends its runs from
// startVcn on. The system may begin before the VCN asked for: the run there is then cut. False: the
// buffer is inconsistent; runs is then unchanged.
bool AppendRuns(const std::uint8_t* buffer, std::size_t bytes, std::int64_t startVcn,
                std::vector<Run>& runs);

// Where a file's bytes lie.
struct Placement {
  std::vector<Extent> extents;  // covers the file up to its last cluster; empty after a failure
  std::string problem;          // why there are none; empty after a success
};

// True: what a file shows in a block is what the disk holds there. Zeros at the block's end aren't
// compared: beyond the length to which a file was ever written the system shows zeros, and the disk
// holds older data.
bool ShowsWhatLiesThere(const std::uint8_t* shown, const std::uint8_t* onDisk, std::size_t bytes);

// Turns the runs of a file of fileBytes into extents of the disk on which the volume begins at byte
// volumeStart. Refuses gaps, holes, clusters outside the volume, and runs that end before the file.
Placement PlaceFile(const std::vector<Run>& runs, const VolumeLayout& layout,
                    std::uint64_t volumeStart, std::uint64_t fileBytes);

}  // namespace extents_tool
