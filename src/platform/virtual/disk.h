// A disk in memory: sparse 512-byte sectors, and what the device reports about itself.
//
// Does not model: other sector sizes, caches of the file system, time.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

constexpr std::uint32_t kBusUsb = 7;  // STORAGE_BUS_TYPE
constexpr std::uint32_t kBusSata = 11;

using VirtualSector = std::array<std::uint8_t, 512>;

// What becomes of held-back data when power is lost.
enum class Fate : std::uint8_t { Kept, Dropped, Torn };
// Takes the lowest base-3 digit off fates.
Fate TakeFate(std::uint64_t& fates);

class VirtualDisk {
 public:
  int number = 0;
  std::uint32_t bus = kBusUsb;
  bool removable = true;
  std::uint64_t bytes = 0;

  // SCSI inquiry; padded with blanks to 8, 16, 4 and 8 characters.
  std::string vendor = "Tessel", product = "USB Stick", revision = "1.00", vendorField;
  bool answersCapacity = true, answersInquiry = true, answersLength = true, answersBus = true;
  bool warns = false;  // SCSI requests fail although they are answered
  // The answer to READ CAPACITY, if not the true one: last block, block length.
  std::pair<std::uint32_t, std::uint32_t> capacityAnswer{0, 0};

  bool plugged = true;
  bool refusesOpen = false, refusesFlush = false, refusesRangeLocks = false, refusesRenewal = false;
  bool writeProtected = false;
  std::set<std::uint64_t> unreadable, unwritable;  // sectors
  std::set<std::uint64_t> forgetful;               // sectors: what is written to them never arrives

  std::uint64_t SectorCount() const { return bytes / 512; }
  VirtualSector Sector(std::uint64_t lba) const;  // never written: zeros
  void SetSector(std::uint64_t lba, const VirtualSector& data);
  void Put(std::uint64_t lba, std::size_t offset, const std::string& data);  // within one sector
  void CopySectors(std::uint64_t from, std::uint64_t to, std::uint64_t count);
  // The sectors that hold anything, for comparing two moments.
  const std::map<std::uint64_t, VirtualSector>& Contents() const { return sectors_; }

  // A sector that was written through a handle.
  struct SectorWrite {
    std::uint64_t lba;
    VirtualSector before, after;
  };
  std::vector<SectorWrite> written;  // all of them, in order

  // Write-back: what was written through a handle since the last flush is at risk in a power cut.
  bool writeBack = false;
  void WriteThroughHandle(std::uint64_t lba, const VirtualSector& data);
  void Flush() { held_.clear(); }
  // Decides on each held-back write by one digit of fates; returns how many there were.
  std::size_t LosePower(std::uint64_t& fates);

 private:
  std::map<std::uint64_t, VirtualSector> sectors_;
  std::vector<SectorWrite> held_;
};
