#include "disk/raw_sector_io.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "disk/drive_discovery.h"
#include "disk/file_probe.h"
#include "disk/picked_drive.h"
#include "platform/platform.h"
#include "report/events.h"
#include "report/log.h"
#include "report/message_box.h"
#include "report/routine.h"
#include "text/text.h"

bool WRITES_OK = false;

namespace {

constexpr std::uint32_t kPauseMilliseconds = 50;
constexpr std::uint32_t kFileDeviceDisk = 7;  // winioctl.h, FILE_DEVICE_DISK
constexpr std::size_t kBusTypeOffset = 28;    // STORAGE_DEVICE_DESCRIPTOR.BusType
constexpr std::uint8_t kBusTypeUsb = 7;       // winioctl.h, BusTypeUsb

// A negative sector becomes an offset that no device has, and the seek to it fails.
std::uint64_t ByteOffset(std::int64_t sector) {
  return static_cast<std::uint64_t>(sector) * kSectorSize;
}

std::uint32_t LowHalf(std::uint64_t value) {
  return static_cast<std::uint32_t>(value);
}
std::uint32_t HighHalf(std::uint64_t value) {
  return static_cast<std::uint32_t>(value >> 32);
}

Handle OpenDiskToRead(std::int32_t drive) {
  return Sys.devices->CreateFile("\\\\.\\PhysicalDrive" + Decimal(drive), kGenericRead,
                                 kShareReadWrite, kOpenExisting, 0);
}

bool ReadSectorFrom(Handle disk, std::int64_t number, Sector& sector) {
  std::uint32_t transferred = 0;
  return Sys.devices->SetFilePointerEx(disk, ByteOffset(number)) &&
         Sys.devices->ReadFile(disk, sector.data(), kSectorSize, transferred) &&
         transferred == kSectorSize;
}

// Worn sticks acknowledge writes that they lose.
bool HasArrived(std::int32_t drive, std::int64_t number) {
  const std::optional<Sector> sector = ReadSectorApart(drive, number);
  return sector && std::equal(sector->begin(), sector->end(), SectorBuffer.begin());
}

// Drive 0 is most likely the system disk, and may be another disk by the time the user answers.
bool UserAllowsDrive0(std::int64_t sector) {
  const std::optional<Sector> before = ReadSectorApart(0, 0);
  const Answer answer = MsgBox({.title = "WARNING: Writing to Drive 0!",
                                .text = "WARNING: WRITE to Sector " + Decimal(sector) +
                                        " on DRIVE 0" + kLineEnd + "ARE YOU SURE?",
                                .buttons = Buttons::OkCancel});
  if (answer != Answer::Ok) return false;
  if (ReadSectorApart(0, 0) != before) {
    return RefuseChangedDrive("Sector 0 of Drive 0 is not the one that was read before.");
  }
  WRITES_OK = true;
  return true;
}

}  // namespace

bool Open_Physical_Disk_hDrive(std::int32_t driveNo) {
  const Routine me(ReportLayout::Module, "Open_Physical_Disk_hDrive");
  WriteLog("------- Open_Physical_Disk_hDrive Started ----------------");
  if (hDrive > kNoHandle) MyCloseHandle(hDrive);
  hDrive = Sys.devices->CreateFile("\\\\.\\PhysicalDrive" + Decimal(driveNo), kGenericReadWrite,
                                   kShareReadWrite, kOpenExisting, 0);
  return hDrive > kNoHandle;
}

bool DirectReadDrive(std::int64_t iStartSec, std::int32_t nSectors) {
  const Routine me(ReportLayout::Module,
                   "DirectReadDrive(ByVal iStartSec As Variant, ByVal nSectors As Long)");
  WriteLog("------- DirectReadDrive(" + Decimal(iStartSec) + "," + Decimal(nSectors) +
           ") Started ----------------");
  const std::uint64_t offset = ByteOffset(iStartSec);
  const std::uint32_t bytes = static_cast<std::uint32_t>(nSectors) * kSectorSize;
  if (SectorBuffer.size() < bytes) return false;
  if (!Sys.devices->SetFilePointerEx(hDrive, offset)) return false;
  // After a short read the rest would be fill pattern, judged and perhaps written back.
  std::uint32_t transferred = 0;
  return Sys.devices->ReadFile(hDrive, SectorBuffer.data(), bytes, transferred) &&
         transferred == bytes;
}

bool DirectWriteDrive(std::int64_t iStartSec, std::int32_t nSectors) {
  const Routine me(ReportLayout::Module,
                   "DirectWriteDrive(ByVal iStartSec As Variant, ByVal nSectors As Long)");
  WriteLog("------- DirectWriteDrive(" + Decimal(iStartSec) + "," + Decimal(nSectors) +
           ") Started ----------------");
  const std::uint64_t offset = ByteOffset(iStartSec);
  const std::uint32_t bytes = static_cast<std::uint32_t>(nSectors) * kSectorSize;
  if (SectorBuffer.size() < bytes) return false;
  if (!Sys.devices->SetFilePointerEx(hDrive, offset)) return false;
  std::ignore = Sys.devices->LockFile(hDrive, LowHalf(offset), HighHalf(offset), bytes, 0);
  std::uint32_t transferred = 0;
  if (!Sys.devices->WriteFile(hDrive, SectorBuffer.data(), bytes, transferred) ||
      transferred != bytes) {
    return false;
  }
  std::ignore = Sys.devices->FlushFileBuffers(hDrive);
  std::ignore = Sys.devices->UnlockFile(hDrive, LowHalf(offset), HighHalf(offset), bytes, 0);
  return true;
}

bool ReadandParseSector(const std::string& volume, std::int64_t SecNo) {
  const Routine me(ReportLayout::ModuleNoBlank, "ReadandParseSector(MYDRIVE, SecNo)");
  WriteLog("------- ReadandParseSector(" + volume + ", " + Decimal(SecNo) +
           ") Started ----------------");
  if (volume.size() < 2) return false;
  Physical_Drive_no = GetPhysDriveNo(volume);
  if (Physical_Drive_no > kHighestDrive) return false;
  DoEvents();
  SectorBuffer.resize(kSectorSize);
  for (std::size_t i = 0; i < kSectorSize; ++i) SectorBuffer[i] = static_cast<std::uint8_t>(i % 16);
  Open_Physical_Disk_hDrive(Physical_Drive_no);  // a failed open shows as a failed read
  bool read = DirectReadDrive(SecNo, 1);
  if (!read) read = DirectReadDrive(SecNo, 1);
  Sys.clock->Sleep(kPauseMilliseconds);
  DoEvents();
  MyCloseHandle(hDrive);
  ParseSectorBuffer();
  return read;
}

bool WriteSector(std::int32_t drv, std::int64_t SECTOR) {
  const Routine me(ReportLayout::ModuleNoBlank, "WriteSector(drv, SECTOR)");
  WriteLog("------- WriteSector(" + Decimal(drv) + ", " + Decimal(SECTOR) +
           ") Started ----------------");
  Physical_Drive_no = drv;
  if (!ShowAllDrives && drv == 0) return false;
  if (drv > kHighestDrive) return false;
  const bool onUsb = IsUsbDrive(drv);
  if (drv == 0 && !onUsb && !WRITES_OK && !UserAllowsDrive0(SECTOR)) return false;
  DoEvents();
  Open_Physical_Disk_hDrive(drv);  // a failed open shows as a failed write
  const bool written = DirectWriteDrive(SECTOR, 1);
  MyCloseHandle(hDrive);
  const bool arrived = written && HasArrived(drv, SECTOR);
  Sys.clock->Sleep(kPauseMilliseconds);
  DoEvents();
  return arrived;
}

std::optional<Sector> ReadSectorApart(std::int32_t drive, std::int64_t sector) {
  WriteLog("------- ReadSectorApart(" + Decimal(drive) + ", " + Decimal(sector) +
           ") Started ----------------");
  const Handle disk = OpenDiskToRead(drive);
  if (disk == kInvalidHandle) return std::nullopt;
  Sector data;
  bool read = ReadSectorFrom(disk, sector, data);
  if (!read) read = ReadSectorFrom(disk, sector, data);
  std::ignore = Sys.devices->CloseHandle(disk);
  return read ? std::optional(data) : std::nullopt;
}

std::uint64_t SectorsOfDisk(std::int32_t drive) {
  const Handle disk = OpenDiskToRead(drive);
  if (disk == kInvalidHandle) return 0;
  const std::uint64_t bytes = GetDiskLength(disk);
  std::ignore = Sys.devices->CloseHandle(disk);
  return bytes / kSectorSize;
}

std::uint64_t FileLenA(const std::string& path) {
  if (!FileIsThere(path)) return 0;
  const Handle file =
      Sys.devices->CreateFile(path, kFileReadAttributes, kShareRead, kOpenExisting, 0);
  if (file == kInvalidHandle) return 0;
  std::uint32_t high = 0;
  const std::uint32_t low = Sys.devices->GetFileSize(file, high);
  // A failure taken for a length would make a partition of 4 GiB, mostly of other files' sectors.
  const bool failed = low == kInvalidFileSize && Sys.devices->GetLastError() != 0;
  std::ignore = Sys.devices->CloseHandle(file);
  return failed ? 0 : static_cast<std::uint64_t>(high) << 32 | low;
}

void MyCloseHandle(Handle& handle) {
  const Routine me(ReportLayout::Module, "MyCloseHandle");
  WriteLog("------- MyCloseHandle Started ----------------");
  if (handle > kNoHandle) std::ignore = Sys.devices->CloseHandle(handle);
  handle = kNoHandle;
}

std::int32_t GetPhysDriveNo(const std::string& Sdrive) {
  const Routine me(ReportLayout::ModuleSilent, "GetPhysDriveNo(Sdrive)");
  const Handle volume =
      Sys.devices->CreateFile("\\\\.\\" + Sdrive, 0, kShareReadWrite, kOpenExisting, 0);
  if (volume == kInvalidHandle) return kNoDrive;
  std::array<std::uint8_t, 12> answer{};  // type, number, partition number
  std::uint32_t returned = 0;
  const bool answered = Sys.devices->DeviceIoControl(volume, kIoctlStorageGetDeviceNumber, nullptr,
                                                     0, answer.data(), answer.size(), returned);
  std::ignore = Sys.devices->CloseHandle(volume);
  const bool isDisk = answered && Number32(answer.data()) == kFileDeviceDisk;
  return isDisk ? static_cast<std::int32_t>(Number32(answer.data() + 4)) : kNoDrive;
}

bool IsUsbDrive(std::int32_t drv) {
  const Handle disk = Sys.devices->CreateFile("\\\\.\\PhysicalDrive" + Decimal(drv).substr(0, 2), 0,
                                              kShareNone, kOpenExisting, 0);
  if (disk == kInvalidHandle) return false;
  std::array<std::uint8_t, 512> descriptor{};
  const std::array<std::uint8_t, 12> query{};  // StorageDeviceProperty, PropertyStandardQuery
  std::uint32_t returned = 0;
  std::ignore =
      Sys.devices->DeviceIoControl(disk, kIoctlStorageQueryProperty, query.data(), query.size(),
                                   descriptor.data(), descriptor.size(), returned);
  std::ignore = Sys.devices->CloseHandle(disk);
  return descriptor[kBusTypeOffset] == kBusTypeUsb;
}

bool ReadOrReport(const std::string& volume, std::int64_t sector) {
  if (ReadandParseSector(volume, sector)) return true;
  MsgBox({.title = "SECTOR READ FAILED",
          .text = "READ SECTOR " + Decimal(sector) + " from DRIVE " + Decimal(Physical_Drive_no) +
                  " FAILED!",
          .icon = Icon::Stop});
  return false;
}

bool WriteOrReport(std::int64_t sector) {
  if (WriteSector(Physical_Drive_no, sector)) return true;
  MsgBox({.title = "SECTOR WRITE FAILED",
          .text = "WRITE SECTOR " + Decimal(sector) + " to DRIVE " + Decimal(Physical_Drive_no) +
                  " FAILED!",
          .icon = Icon::Stop});
  return false;
}
