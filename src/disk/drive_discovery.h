// The volumes of a physical drive, and what the drive reports about itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/devices.h"

// The last inquiry's texts, written by GetSCSICapacity; a caller empties them first.
extern std::string ScsiProductText;   // vendor and product
extern std::string ScsiRevisionText;  // bytes 32 to 35
extern std::string ScsiVendorField;   // bytes 36 to 43
extern std::string MediaKind;         // "REMOVABLE MEDIA", "FIXED MEDIA" or empty

constexpr const char* kRemovableMedia = "REMOVABLE MEDIA";
constexpr const char* kFixedMedia = "FIXED MEDIA";

// The first four volumes of the drive in the order of their letters, C: to Z:; empty if there are
// fewer. True: there is at least one.
bool Get_Drive_Volumes(std::int32_t driveNo, std::string& volume1, std::string& volume2,
                       std::string& volume3, std::string& volume4);

// Returns the drive's volume with the Tesseldyn files, else its first volume, else the empty text.
// Sets vol1 to vol4 to the drive's volumes.
std::string GetDriveLetter(std::int32_t Dno);

// Length of an open disk in bytes; 0 for a handle of -1 or when the request fails.
std::uint64_t GetDiskLength(Handle handle);

// Returns the drive's capacity in bytes, 0 on failure: the larger of the READ CAPACITY answer and
// GetDiskLength. Fills the texts above from the drive's inquiry data.
std::uint64_t GetSCSICapacity(std::int32_t drv);

// Returns the bytes from start to end (both inclusive) as text, trimmed of blanks; with stopAtNul
// only those before the first zero byte. An end of -1 or beyond the array is set to the last index.
std::string GetSTRbyBuff(const std::vector<std::uint8_t>& bytes, std::int32_t start,
                         std::int32_t& end, bool stopAtNul);
