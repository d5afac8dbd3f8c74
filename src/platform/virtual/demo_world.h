// A ready-made world: a PC with a system disk, a CD drive and a 16 GB stick ready to be switched.
//
//   disk 0  C: (fixed, SATA)       \Rotate\getFileExtents.exe, \Temp, the interpreter
//   disk 1  E: main volume (NTFS)  marker files, four images with what belongs to them
//           F: second partition (FAT32), empty
//   D: is a CD drive. LBA 30 and 60 of the stick are blank.
#pragma once

#include <cstdint>

#include "platform/virtual/virtual_pc.h"

namespace demo {

// Places are absolute sectors of the stick; sizes are in sectors.
struct Place {
  const char* path;  // from the root of E:
  std::uint64_t lba;
  std::uint64_t sectors;
};

constexpr int kStick = 1;
constexpr std::uint64_t kStickBytes = 16'000'000'000;
constexpr std::uint64_t kMainStart = 2048, kMainSectors = 20'000'000;
constexpr std::uint64_t kSecondStart = kMainStart + kMainSectors, kSecondSectors = 2'000'000;

constexpr Place kNtfsImage{"\\_ISO\\Rescue.volPAK", 200'000, 131'072};
constexpr Place kFatImage{"\\_ISO\\Tools.volPAK", 400'000, 65'536};
constexpr Place kLinuxImage{"\\_ISO\\Linux.volPAK", 500'000, 32'768};  // its type is asked for
constexpr Place kMarkedImage{"\\_ISO\\A.volPAKX4DATA", 600'000, 65'536};
constexpr Place kCompanion{"\\_ISO\\A", 700'000, 65'536};  // FAT32
constexpr Place kFourth{"\\_ISO\\DATA", 800'000, 20'000};  // its type is asked for

constexpr std::size_t kBootCodeMark = 200;  // offset of "Missing MBR-hel" in sector 0

struct World {
  VirtualDisk& systemDisk;
  VirtualDisk& stick;
  VirtualVolume& c;
  VirtualVolume& e;
  VirtualVolume& f;
  VirtualVolume& inner;  // within kNtfsImage: E: once the stick is switched to it
};

World Make(VirtualPc& pc);

// A stick of the same kind beside it, disk 2 with G: and H:. It holds files of the same names at
// other places, with other contents, and a sound saved table at LBA 30 and 60.
struct SecondStick {
  VirtualDisk& disk;
  VirtualVolume& g;
  VirtualVolume& h;
};
SecondStick AddSecondStick(VirtualPc& pc);

// The parts, for other worlds.
VirtualSector Grub4dosMbr();  // boot code and 55 AA, no entries
void SetEntry(VirtualSector& table, int entry, bool active, std::uint8_t type, std::uint32_t start,
              std::uint32_t sectors);  // entry 1 to 4
VirtualVolume& AddSystemVolume(VirtualPc& pc, VirtualDisk& disk);
void AddImage(VirtualVolume& volume, const Place& place, const VirtualSector& bootRecord);
VirtualSector NtfsBootRecord();
VirtualSector Fat32BootRecord();
VirtualSector ForeignBootRecord();

}  // namespace demo
