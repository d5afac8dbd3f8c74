// The current sector, the verdicts on it, and the current drive.
//
// MBR (offsets from the start of the 512-byte sector, numbers little-endian):
//   0    446 boot code            446  4 x 16 partition entries
//   440  4   disk signature       510  0x55, 0xAA
// Partition entry (offsets within the 16 bytes):
//   0 boot byte (0x00, 0x80)   1-3 CHS of the first sector   4 type (0: empty)
//   5-7 CHS of the last sector   8-11 first sector (LBA)   12-15 length in sectors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/devices.h"

constexpr std::size_t kSectorSize = 512;
using Sector = std::array<std::uint8_t, kSectorSize>;

// The sectors of the disk in which a switch saves sector 0.
constexpr std::int64_t kBackupSector1 = 30;
constexpr std::int64_t kBackupSector2 = 60;

constexpr std::size_t kDiskSignature = 440;
constexpr std::size_t kEntrySize = 16;
constexpr std::size_t kEntry1 = 446;
constexpr std::size_t kEntry2 = 462;
constexpr std::size_t kEntry3 = 478;
constexpr std::size_t kEntry4 = 494;
constexpr std::size_t kEntryType = 4;   // within an entry
constexpr std::size_t kEntryStart = 8;  // within an entry
constexpr std::size_t kSignature = 510;

constexpr std::uint8_t kTypeSmallPartition = 0x21;

// The current sector. Start-up sizes it to 4097 bytes, every sector read to 512.
extern std::vector<std::uint8_t> SectorBuffer;

// The verdicts of the last ParseSectorBuffer on SectorBuffer.
struct SectorVerdicts {
  bool SigOK = false;   // 55 AA at the end
  bool Ptn1OK = false;  // entry 1: boot byte 0x00 or 0x80, type not 0
  bool Ptn2OK = false;
  bool Ptn3OK = false;
  bool Ptn4OK = false;
  bool AnyPtnOK = false;      // at least one of the four
  bool HasGrub4dos = false;   // grub4dos boot code
  bool IsUniform = false;     // all 512 bytes are equal
  bool Ptn2Is21 = false;      // entry 2 has type 0x21, whatever its boot byte
  bool PtnNearStart = false;  // an entry with a type starts below sector 65536
};
extern SectorVerdicts SectorFlags;

// The current drive.
extern std::string MYDRIVE;                 // letter and colon
extern std::int32_t Physical_Drive_no;      // above 80: none
extern Handle hDrive;                       // the open disk, -1 after a failed open
extern Handle lngHandle;                    // the volume last opened for dismounting
extern std::string vol1, vol2, vol3, vol4;  // up to four volumes of the drive, empty where none
extern bool ShowAllDrives;                  // chkShowAll is ticked and confirmed

// Judges the first 512 bytes of SectorBuffer, which must hold that many.
void ParseSectorBuffer();

// Judged by SectorFlags: the sector is a saved table that may be written back.
bool IsSoundSavedTable();

// Judged by SectorFlags and SectorBuffer: entries 1 and 2 may be exchanged.
bool EntriesMayBeSwapped();

// The number in 4 bytes, lowest first, and the bytes of a number.
std::uint32_t Number32(const std::uint8_t* bytes);
void PutNumber32(std::uint8_t* bytes, std::uint32_t number);
