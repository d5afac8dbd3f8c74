#include "disk/volume_lock.h"

#include <array>

#include "disk/drive_discovery.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "disk/window_sweep.h"
#include "platform/platform.h"
#include "report/events.h"
#include "report/log.h"
#include "report/routine.h"
#include "text/text.h"

namespace {

// Held from "LOCK" to "UNLOCK", one for each of a drive's four volumes at most. Above 0: an open
// handle whose volume has been through the lock call; 0: unused; -1: a failed open.
std::array<Handle, 31> VolumeHandles{};

bool SendControl(Handle handle, std::uint32_t code) {
  std::uint32_t returned = 0;
  return Sys.devices->DeviceIoControl(handle, code, nullptr, 0, nullptr, 0, returned);
}

Handle OpenVolume(const std::string& volume, std::uint32_t flags) {
  return Sys.devices->CreateFile("\\\\.\\" + volume, kGenericReadWrite, kShareReadWrite,
                                 kOpenExisting, flags);
}

void LockVolumes(std::int32_t drive) {
  VolumeHandles.fill(kNoHandle);
  std::array<std::string, 4> volumes;
  Get_Drive_Volumes(drive, volumes[0], volumes[1], volumes[2], volumes[3]);
  for (std::size_t i = 0; i < volumes.size(); ++i) {
    if (volumes[i].empty()) continue;
    VolumeHandles[i] = OpenVolume(volumes[i], 0);
    if (VolumeHandles[i] == kInvalidHandle) continue;
    SendControl(VolumeHandles[i], kFsctlLockVolume);
    MyDismount_Volume(VolumeHandles[i]);  // even if the lock was refused
  }
}

void UnlockVolumes() {
  for (Handle& held : VolumeHandles) {
    if (held <= kNoHandle) continue;
    MyUnlock_Volume(held);
    MyCloseHandle(held);
  }
}

}  // namespace

bool MyLock_Volume(Handle handle) {
  const Routine me(ReportLayout::Module, "MyLock_Volume");
  WriteLog("------- MyLock_Volume Started ----------------");
  return SendControl(handle, kFsctlLockVolume);
}

bool MyUnlock_Volume(Handle handle) {
  const Routine me(ReportLayout::Module, "MyUnlock_Volume");
  if (handle < 1) return false;
  return SendControl(handle, kFsctlUnlockVolume);
}

bool MyDismount_Volume(Handle handle) {
  const Routine me(ReportLayout::Module, "MyDismount_Volume");
  WriteLog("------- MyDismount_Volume Started ----------------");
  if (handle < 1) return false;
  return SendControl(handle, kFsctlDismountVolume);
}

void Open_Volume_get_lngHandle(const std::string& vol) {
  const Routine me(ReportLayout::Module, "Open_Volume_get_lngHandle");
  WriteLog("------- Open_Volume_get_lngHandle Started ----------------");
  DoEvents();
  lngHandle = OpenVolume(vol, kFlagNoBuffering);
}

void Open_Lock_Dismount_Volume(const std::string& vol) {
  WriteLog("------- Open_Lock_Dismount_Volume " + vol + " Started ----------------");
  Open_Volume_get_lngHandle(vol.substr(0, 2));
  if (lngHandle > kNoHandle) MyLock_Volume(lngHandle);
  if (lngHandle > kNoHandle) MyDismount_Volume(lngHandle);
}

void DisMount_All_VolumesX(std::int32_t drive) {
  const Routine me(ReportLayout::Module, "DisMount_All_VolumesX");
  WriteLog("------- DisMount_All_VolumesX Started ----------------");
  std::array<std::string, 4> volumes;
  Get_Drive_Volumes(drive, volumes[0], volumes[1], volumes[2], volumes[3]);
  for (const std::string& volume : volumes) {
    if (volume.empty()) continue;
    Close_Volume_Windows(volume);
    Open_Lock_Dismount_Volume(volume);
    MyCloseHandle(lngHandle);
  }
}

void Lock_Unlock_All_Volumes(std::int32_t drive, const std::string& mode) {
  const Routine me(ReportLayout::Module, "Lock_Unlock_All_Volumes");
  WriteLog("------- Lock_Unlock_All_Volumes " + mode + " Started ----------------");
  if (mode == "LOCK") {
    LockVolumes(drive);
  } else {
    UnlockVolumes();
  }
}

bool ReMount_Drive(std::int32_t diskno) {
  const Routine me(ReportLayout::Module, "ReMount_Drive(diskno)");
  WriteLog("------- ReMount_Drive(" + Decimal(diskno) + ") Started ----------------");
  Handle disk = Sys.devices->CreateFile("\\\\.\\PhysicalDrive" + Decimal(diskno), kGenericReadWrite,
                                        kShareReadWrite, kOpenExisting, 0);
  if (disk == kInvalidHandle) return false;
  const bool renewed = SendControl(disk, kIoctlDiskUpdateProperties);
  if (!renewed) APIErrorDescription(Sys.devices->GetLastError());
  MyCloseHandle(disk);
  return renewed;
}

void ForgetHeldVolumes() {
  VolumeHandles.fill(kNoHandle);
}
