#include "platform/virtual/disk.h"

#include <algorithm>

namespace {

constexpr VirtualSector kZeros{};

}  // namespace

VirtualSector VirtualDisk::Sector(std::uint64_t lba) const {
  const auto found = sectors_.find(lba);
  return found == sectors_.end() ? kZeros : found->second;
}

void VirtualDisk::SetSector(std::uint64_t lba, const VirtualSector& data) {
  if (data == kZeros) {
    sectors_.erase(lba);
  } else {
    sectors_[lba] = data;
  }
}

void VirtualDisk::Put(std::uint64_t lba, std::size_t offset, const std::string& data) {
  VirtualSector sector = Sector(lba);
  for (std::size_t i = 0; i < data.size() && offset + i < sector.size(); ++i) {
    sector[offset + i] = static_cast<std::uint8_t>(data[i]);
  }
  SetSector(lba, sector);
}

void VirtualDisk::CopySectors(std::uint64_t from, std::uint64_t to, std::uint64_t count) {
  const std::map<std::uint64_t, VirtualSector> source(sectors_.lower_bound(from),
                                                      sectors_.lower_bound(from + count));
  sectors_.erase(sectors_.lower_bound(to), sectors_.lower_bound(to + count));
  for (const auto& [lba, data] : source) sectors_[lba - from + to] = data;
}

void VirtualDisk::WriteThroughHandle(std::uint64_t lba, const VirtualSector& data) {
  if (forgetful.contains(lba)) return;
  written.push_back({lba, Sector(lba), data});
  if (writeBack) held_.push_back(written.back());
  SetSector(lba, data);
}

std::size_t VirtualDisk::LosePower(std::uint64_t& fates) {
  for (auto write = held_.rbegin(); write != held_.rend(); ++write) {
    SetSector(write->lba, write->before);
  }
  for (const SectorWrite& write : held_) {
    const Fate fate = TakeFate(fates);
    if (fate == Fate::Dropped) continue;
    VirtualSector sector = write.after;
    if (fate == Fate::Torn) {
      const VirtualSector old = Sector(write.lba);
      std::copy(old.begin() + 256, old.end(), sector.begin() + 256);
    }
    SetSector(write.lba, sector);
  }
  const std::size_t count = held_.size();
  held_.clear();
  return count;
}

Fate TakeFate(std::uint64_t& fates) {
  const auto fate = static_cast<Fate>(fates % 3);
  fates /= 3;
  return fate;
}
