// Sector transfers between SectorBuffer and a physical disk. Each read or write is one closed
// sequence: open, transfer, close, pause of 50 ms. Sector numbers count 512-byte sectors.
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

// Opens the disk for reading and writing as hDrive, after closing the previous one. False: not
// open, and hDrive is -1.
bool Open_Physical_Disk_hDrive(std::int32_t driveNo);

// Transfers nSectors sectors from iStartSec on between hDrive and SectorBuffer, from index 0.
// False: the buffer is too small, the seek or transfer failed, or fewer bytes moved than asked for.
bool DirectReadDrive(std::int64_t iStartSec, std::int32_t nSectors);
// Tries to lock the range first; flushes after the write.
bool DirectWriteDrive(std::int64_t iStartSec, std::int32_t nSectors);

// Reads sector SecNo of the disk that holds the volume (a letter and a colon) into SectorBuffer,
// trying twice, and judges it. Sets Physical_Drive_no. Returns false without a read for an unknown
// volume, and leaves buffer and verdicts unchanged. If nothing was read, they are those of the fill
// pattern i mod 16; after a partial read they mean nothing.
bool ReadandParseSector(const std::string& volume, std::int64_t SecNo);

// Writes the first 512 bytes of SectorBuffer to the sector, flushes them, and reads them back
// through a second handle: true only if they arrived. Sets Physical_Drive_no. Refuses every number
// above kHighestDrive, and drive 0 unless all drives are shown; asks once before it writes to a
// drive 0 that isn't a USB drive.
bool WriteSector(std::int32_t drv, std::int64_t SECTOR);

// Reads one sector of the disk through its own handle, trying twice. Changes no shared state: not
// SectorBuffer and its verdicts, hDrive or Physical_Drive_no. Empty: not read.
std::optional<Sector> ReadSectorApart(std::int32_t drive, std::int64_t sector);

// The disk's length in sectors, 0 if unknown.
std::uint64_t SectorsOfDisk(std::int32_t drive);

// The length of a file in bytes, exact over 64 bits; 0 on failure.
std::uint64_t FileLenA(const std::string& path);

// Closes the handle and forgets it, so that a second call does nothing.
void MyCloseHandle(Handle& handle);

// The physical drive that holds the volume, or kNoDrive (CD drives, network paths, no volume).
std::int32_t GetPhysDriveNo(const std::string& Sdrive);

bool IsUsbDrive(std::int32_t drv);

// ReadandParseSector, and WriteSector to Physical_Drive_no; a box reports a failure.
bool ReadOrReport(const std::string& volume, std::int64_t sector);
bool WriteOrReport(std::int64_t sector);
