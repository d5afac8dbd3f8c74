// Where a copy is placed on a volume.
#include <algorithm>
#include <stdexcept>

#include "platform/virtual/volume.h"

namespace {

std::uint64_t RoundUp(std::uint64_t value, std::uint64_t unit) {
  return (value + unit - 1) / unit * unit;
}

// Makes the sectors read as zeros, and returns what they held, by sector from the first.
std::map<std::uint64_t, VirtualSector> Wipe(VirtualDisk& disk, const Extent& piece,
                                            std::uint64_t count) {
  std::map<std::uint64_t, VirtualSector> stood;
  const auto end = disk.Contents().lower_bound(piece.lba + count);
  for (auto at = disk.Contents().lower_bound(piece.lba); at != end; ++at) {
    stood[at->first - piece.lba] = at->second;
  }
  for (const auto& [sector, data] : stood) disk.SetSector(piece.lba + sector, {});
  return stood;
}

// Copies byte ranges that begin and end on whole sectors, sparsely.
void CopyContents(VirtualDisk& to, const std::vector<Extent>& target, const VirtualDisk& from,
                  const std::vector<Extent>& source) {
  const auto placeOf = [&](std::uint64_t offset) {
    for (const Extent& piece : target) {
      if (offset >= piece.fileOffset && offset < piece.fileOffset + piece.sectors * 512) {
        return piece.lba + (offset - piece.fileOffset) / 512;
      }
    }
    return std::uint64_t{0};  // after an incomplete copy
  };
  for (const Extent& piece : target) Wipe(to, piece, piece.sectors);
  for (const Extent& piece : source) {
    const auto end = from.Contents().lower_bound(piece.lba + piece.sectors);
    std::vector<std::pair<std::uint64_t, VirtualSector>> held(
        from.Contents().lower_bound(piece.lba), end);
    for (const auto& [lba, data] : held) {
      const std::uint64_t place = placeOf(piece.fileOffset + (lba - piece.lba) * 512);
      if (place != 0) to.SetSector(place, data);
    }
  }
}

}  // namespace

std::vector<std::pair<std::uint64_t, std::uint64_t>> VirtualVolume::Gaps() const {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> used;
  for (const auto& [key, file] : files_) {
    for (const Extent& piece : file.extents) {
      used.emplace_back(piece.lba, piece.lba + RoundUp(piece.sectors, clusterSectors));
    }
  }
  used.emplace_back(firstSector + sectors, firstSector + sectors);
  std::sort(used.begin(), used.end());
  std::vector<std::pair<std::uint64_t, std::uint64_t>> gaps;  // start, sectors
  std::uint64_t next = firstSector + reservedSectors;
  for (const auto& [begin, end] : used) {
    const std::uint64_t room = begin > next ? (begin - next) / clusterSectors * clusterSectors : 0;
    if (room > 0) gaps.emplace_back(next, room);
    next = std::max(next, end);
  }
  return gaps;
}

std::vector<Extent> VirtualVolume::Allocate(std::uint64_t sectorCount,
                                            const Placement& placement) const {
  std::uint64_t left = RoundUp(sectorCount, clusterSectors);
  if (placement.lba == 0 && placement.pieces == 1) {
    const auto gaps = Gaps();
    for (const auto& [start, room] : gaps) {
      if (room >= left) return {{0, start, sectorCount}};
    }
    std::vector<Extent> pieces;
    for (const auto& [start, room] : gaps) {
      const std::uint64_t take = std::min(room, left);
      pieces.push_back({(RoundUp(sectorCount, clusterSectors) - left) * 512, start, take});
      left -= take;
      if (left == 0) return pieces;
    }
    return {};
  }
  // In pieces with a free cluster between them, from the given place or the first large enough gap.
  const std::uint64_t share = RoundUp(left / placement.pieces, clusterSectors);
  std::uint64_t at = placement.lba;
  if (at == 0) {
    for (const auto& [start, room] : Gaps()) {
      if (room >= left + placement.pieces * (clusterSectors + share)) at = start;
      if (at != 0) break;
    }
    if (at == 0) return {};
  }
  std::vector<Extent> pieces;
  for (std::uint64_t offset = 0; left > 0; offset += pieces.back().sectors * 512) {
    const std::uint64_t take = pieces.size() + 1 == placement.pieces ? left : std::min(share, left);
    if (!IsFree(at, take)) throw std::logic_error("scripted place is taken");
    pieces.push_back({offset, at, take});
    at += take + clusterSectors;
    left -= take;
  }
  return pieces;
}

VirtualFile* VirtualVolume::CopyIn(const std::string& target, const VirtualVolume& source,
                                   const VirtualFile& file, std::uint64_t now) {
  Placement placement;
  if (!placements.empty()) {
    placement = placements.front();
    placements.pop_front();
  }
  if (full) return nullptr;
  VirtualFile copy{.path = target,
                   .size = file.size,
                   .attributes = file.attributes,
                   .lastWriteTime = file.lastWriteTime};
  copy.unflushed = true;
  if (placement.keepBytes && *placement.keepBytes < copy.size) {
    copy.size = *placement.keepBytes;
    copy.lastWriteTime = now;
  }
  if (placement.lastWriteTime) copy.lastWriteTime = *placement.lastWriteTime;
  if (file.extents.empty()) {
    copy.resident = file.resident.substr(0, copy.size);
  } else if (copy.size > 0) {
    copy.extents = Allocate((copy.size + 511) / 512, placement);
    if (copy.extents.empty()) return nullptr;
    CopyContents(*disk, copy.extents, *source.disk, file.extents);
  }
  return &Insert(std::move(copy));
}

void VirtualVolume::LoseContents(VirtualFile& file) {
  for (const Extent& piece : file.extents) {
    for (const auto& [sector, data] : Wipe(*disk, piece, piece.sectors)) {
      file.cached[piece.fileOffset / 512 + sector] = data;
    }
  }
}

void VirtualVolume::FlushFiles() {
  for (auto& [key, file] : files_) {
    file.unflushed = false;
    file.cached.clear();
  }
}

std::size_t VirtualVolume::LosePower(std::uint64_t& fates) {
  std::size_t count = 0;
  for (auto& [key, file] : files_) {
    if (!file.unflushed || disk == nullptr || !disk->writeBack || file.extents.empty()) continue;
    ++count;
    const Fate fate = TakeFate(fates);
    for (const Extent& piece : file.extents) {
      const std::uint64_t kept = fate == Fate::Torn ? piece.sectors / 2 : 0;
      if (fate == Fate::Kept) continue;
      Wipe(*disk, {0, piece.lba + kept, 0}, piece.sectors - kept);
    }
  }
  return count;
}
