// The facts of one physical disk for the drive list.
#pragma once

#include <cstdint>
#include <string>

// Usable size in bytes of the disk examined last: a multiple of kCylinderBytes, or 0 if it wasn't
// examined or reported no size. ScsiProductText and MediaKind belong to the same disk.
extern double DriveBytes;

// One cylinder of 255 heads and 63 sectors of 512 bytes.
constexpr double kCylinderBytes = 16065.0 * 512;

// Clears the facts; gathers them for a USB disk, or any disk while all drives are shown.
void GetUSBDiskDriveInfo(std::int32_t DiskIndex);

// The same without the bus check. Physical_Drive_no must equal DiskIndex. Overwrites SectorBuffer.
void GetUSBDiskDriveInfo1(std::int32_t DiskIndex);

// Size and model for a row of the list; empty when DriveBytes is 0.
std::string Print_Drive_Details();

// Returns exactly width characters: with left the text filled at its right end, else at its left.
std::string PadText(const std::string& text, const std::string& fill, std::int16_t width,
                    bool left);

// The whole part of the number with a comma before every third digit. The mask is ignored.
std::string FormatCommas(double value, const std::string& mask);
std::string FormatCommas(const std::string& value, const std::string& mask);
