// Locks and dismounts the volumes of a disk before a write, and has the system read the disk's
// table again afterwards. All of it is best effort: a volume that won't open, lock or dismount
// stops nothing.
#pragma once

#include <cstdint>
#include <string>

#include "platform/devices.h"

// One control code to an open volume handle. True: the request succeeded. MyUnlock_Volume and
// MyDismount_Volume leave a handle below 1 alone and return False.
bool MyLock_Volume(Handle handle);
bool MyUnlock_Volume(Handle handle);
bool MyDismount_Volume(Handle handle);

// Opens the volume (a letter and a colon) as a raw device into lngHandle, -1 on failure.
void Open_Volume_get_lngHandle(const std::string& vol);

// Opens, locks and dismounts the volume; lngHandle stays open.
void Open_Lock_Dismount_Volume(const std::string& vol);

// For each volume of the drive in turn: closes its folder windows, locks, dismounts and closes it.
// Leaves no handle and no lock.
void DisMount_All_VolumesX(std::int32_t drive);

// "LOCK": opens, locks and dismounts the drive's volumes and holds them. Any other mode: unlocks
// and closes those held.
void Lock_Unlock_All_Volumes(std::int32_t drive, const std::string& mode);

// Has the system read the disk's table again. False: the disk can't be opened or refuses.
bool ReMount_Drive(std::int32_t diskno);

// Forgets the held handles without closing them. For the program's fresh state.
void ForgetHeldVolumes();
