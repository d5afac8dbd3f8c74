#include "runs.h"

#include <cstring>

namespace extents_tool {

namespace {

constexpr std::uint64_t kSector = 512;
constexpr std::int64_t kNowhere = -1;
constexpr std::uint64_t kLargestVolume = std::uint64_t{1} << 60;  // bytes; keeps sums from wrapping

std::uint64_t Little(const std::uint8_t* bytes, std::size_t count) {
  std::uint64_t value = 0;
  for (std::size_t i = count; i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

bool IsPowerOfTwo(std::uint64_t value) {
  return value != 0 && (value & (value - 1)) == 0;
}

bool IsPlausible(const VolumeLayout& layout) {
  return IsPowerOfTwo(layout.sectorBytes) && layout.sectorBytes >= kSector &&
         layout.sectorBytes <= 4096 && IsPowerOfTwo(layout.clusterBytes) &&
         layout.clusterBytes >= layout.sectorBytes && layout.firstClusterByte % kSector == 0 &&
         layout.firstClusterByte < layout.volumeBytes && layout.volumeBytes <= kLargestVolume;
}

// The main boot sector of exFAT, as its publisher documents it.
VolumeLayout ReadExFat(const std::uint8_t* sector) {
  const std::uint8_t sectorShift = sector[108], clusterShift = sector[109];
  if (sectorShift > 12 || clusterShift > 25) return {};
  const std::uint64_t sectorBytes = std::uint64_t{1} << sectorShift;
  return {sectorBytes, sectorBytes << clusterShift, Little(sector + 88, 4) * sectorBytes,
          Little(sector + 72, 8) * sectorBytes};
}

// The sectors per cluster; a value above 128 is the negative exponent of a power of two.
std::uint64_t NtfsSectorsPerCluster(std::uint8_t value) {
  if (value <= 128) return value;
  const unsigned shift = 256u - value;
  return shift > 31 ? 0 : std::uint64_t{1} << shift;
}

VolumeLayout ReadNtfs(const std::uint8_t* sector) {
  const std::uint64_t sectorBytes = Little(sector + 11, 2);
  return {sectorBytes, sectorBytes * NtfsSectorsPerCluster(sector[13]), 0,
          Little(sector + 40, 8) * sectorBytes};
}

// FAT file systems (ECMA-107 and its FAT32 extension): reserved sectors, the FATs, on FAT12 and
// FAT16 the root folder, and then LCN 0.
VolumeLayout ReadFat(const std::uint8_t* sector) {
  const std::uint64_t sectorBytes = Little(sector + 11, 2);
  const std::uint64_t reserved = Little(sector + 14, 2), fats = sector[16];
  const std::uint64_t rootBytes = Little(sector + 17, 2) * 32;
  std::uint64_t total = Little(sector + 19, 2), fatSectors = Little(sector + 22, 2);
  if (total == 0) total = Little(sector + 32, 4);
  if (fatSectors == 0) fatSectors = Little(sector + 36, 4);
  if (sectorBytes == 0 || reserved == 0 || fats == 0 || fatSectors == 0) return {};
  const std::uint64_t rootSectors = (rootBytes + sectorBytes - 1) / sectorBytes;
  return {sectorBytes, sectorBytes * sector[13],
          (reserved + fats * fatSectors + rootSectors) * sectorBytes, total * sectorBytes};
}

}  // namespace

bool ReadBootSector(const std::uint8_t* bootSector, VolumeLayout& layout) {
  if (bootSector[510] != 0x55 || bootSector[511] != 0xAA) return false;
  const auto named = [&](const char* name) { return std::memcmp(bootSector + 3, name, 8) == 0; };
  // FAT has no name at this place: what is neither of the others must parse as FAT.
  const VolumeLayout found = named("NTFS    ")   ? ReadNtfs(bootSector)
                             : named("EXFAT   ") ? ReadExFat(bootSector)
                                                 : ReadFat(bootSector);
  if (!IsPlausible(found)) return false;
  layout = found;
  return true;
}

bool AppendRuns(const std::uint8_t* buffer, std::size_t bytes, std::int64_t startVcn,
                std::vector<Run>& runs) {
  constexpr std::size_t kHead = 16, kEntry = 16;
  if (bytes < kHead) return false;
  const std::uint64_t count = Little(buffer, 4);
  if (count == 0 || count > (bytes - kHead) / kEntry) return false;
  std::vector<Run> found;
  auto vcn = static_cast<std::int64_t>(Little(buffer + 8, 8));
  if (vcn < 0 || vcn > startVcn) return false;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t* entry = buffer + kHead + i * kEntry;
    const auto next = static_cast<std::int64_t>(Little(entry, 8));
    const auto lcn = static_cast<std::int64_t>(Little(entry + 8, 8));
    if (next <= vcn || lcn < kNowhere) return false;
    const std::int64_t cut = vcn < startVcn ? startVcn - vcn : 0;
    if (next > startVcn) found.push_back({vcn + cut, next, lcn == kNowhere ? lcn : lcn + cut});
    vcn = next;
  }
  if (found.empty()) return false;
  runs.insert(runs.end(), found.begin(), found.end());
  return true;
}

bool ShowsWhatLiesThere(const std::uint8_t* shown, const std::uint8_t* onDisk, std::size_t bytes) {
  while (bytes > 0 && shown[bytes - 1] == 0) --bytes;
  return std::memcmp(shown, onDisk, bytes) == 0;
}

Placement PlaceFile(const std::vector<Run>& runs, const VolumeLayout& layout,
                    std::uint64_t volumeStart, std::uint64_t fileBytes) {
  if (fileBytes == 0) return {{}, "the file is empty"};
  if (volumeStart % kSector != 0) return {{}, "the volume doesn't begin on a sector"};
  const std::uint64_t cluster = layout.clusterBytes;
  const std::uint64_t needed = fileBytes / cluster + (fileBytes % cluster != 0 ? 1 : 0);
  const std::uint64_t clusters = (layout.volumeBytes - layout.firstClusterByte) / cluster;
  Placement placed;
  std::uint64_t vcn = 0;
  for (const Run& run : runs) {
    if (vcn >= needed) break;  // allocated beyond the file's end
    if (run.startVcn < 0 || static_cast<std::uint64_t>(run.startVcn) != vcn ||
        run.nextVcn <= run.startVcn) {
      return {{}, "the runs of the file don't follow each other"};
    }
    if (run.lcn < 0) return {{}, "a piece of the file has no place on the disk"};
    auto length = static_cast<std::uint64_t>(run.nextVcn - run.startVcn);
    if (length > needed - vcn) length = needed - vcn;
    const auto lcn = static_cast<std::uint64_t>(run.lcn);
    if (lcn >= clusters || length > clusters - lcn) {
      return {{}, "a piece of the file lies outside the volume"};
    }
    placed.extents.push_back({vcn * cluster,
                              (volumeStart + layout.firstClusterByte + lcn * cluster) / kSector,
                              length * cluster / kSector});
    vcn += length;
  }
  if (vcn < needed) return {{}, "the runs end before the file does"};
  placed.extents = MergeExtents(placed.extents);
  return placed;
}

}  // namespace extents_tool
