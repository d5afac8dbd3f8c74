// Sectors between SectorBuffer and a physical disk. Each read or write is one closed sequence:
// open, transfer, close, pause of 50 ms. Sector numbers count 512-byte sectors of the disk.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "disk/sector_buffer.h"
#include "platform/devices.h"

// A drive number above this one means no drive.
constexpr std::int32_t kHighestDrive = 80;
constexpr std::int32_t kNoDrive = 99;

// The user has agreed once to write to drive 0.
extern bool WRITES_OK;

// Opens the disk for reading and writing into hDrive, after closing what that held. True: open;
// else hDrive is -1.
bool Open_Physical_Disk_hDrive(std::int32_t driveNo);

// nSectors sectors at iStartSec between hDrive and SectorBuffer from index 0. False where the
// buffer is too small, the seek or the transfer failed, or fewer bytes moved than asked.
bool DirectReadDrive(std::int64_t iStartSec, std::int32_t nSectors);
// Locks the range first, as far as that goes; flushes after the write.
bool DirectWriteDrive(std::int64_t iStartSec, std::int32_t nSectors);

// Reads sector SecNo of the disk that holds the volume (a letter and a colon) into SectorBuffer,
// trying twice, and judges it. Sets Physical_Drive_no. False without a read for an unknown volume:
// buffer and flags then stay. Where nothing was read they are those of the fill pattern i mod 16;
// of a sector of which only a part came they tell nothing.
bool ReadandParseSector(const std::string& volume, std::int64_t SecNo);

// Writes the first 512 bytes of SectorBuffer to the sector, flushes them, and reads them back
// through a handle of its own: true only where they have arrived. Sets Physical_Drive_no. Refuses
// drive 0 unless all drives are shown, asking once where it is not a USB drive, and every number
// above kHighestDrive.
bool WriteSector(std::int32_t drv, std::int64_t SECTOR);

// Reads one sector of the disk through a handle of its own, trying twice. Changes nothing that is
// shared: neither SectorBuffer and its verdicts nor hDrive nor Physical_Drive_no. Empty: not read.
std::optional<Sector> ReadSectorApart(std::int32_t drive, std::int64_t sector);

// The disk's length in sectors, 0 where the disk doesn't say.
std::uint64_t SectorsOfDisk(std::int32_t drive);

// The length of a file in bytes, exact over 64 bits; 0 when it can't be had.
std::uint64_t FileLenA(const std::string& path);

// Closes the handle and forgets it, so that a second call does nothing.
void MyCloseHandle(Handle& handle);

// The physical drive that holds the volume, or kNoDrive (CD drives, network paths, no volume).
std::int32_t GetPhysDriveNo(const std::string& Sdrive);

bool IsUsbDrive(std::int32_t drv);

// ReadandParseSector, and WriteSector to Physical_Drive_no; a box reports a failure.
bool ReadOrTell(const std::string& volume, std::int64_t sector);
bool WriteOrTell(std::int64_t sector);
