#include "shell/drive_inventory.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "disk/drive_discovery.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "shell/log_writer.h"
#include "text/text.h"
#include "text/wide_text.h"

double DriveBytes = 0;

namespace {

void ClearFacts() {
  ScsiProductText.clear();
  ScsiRevisionText.clear();
  ScsiVendorField.clear();
  MediaKind.clear();
  DriveBytes = 0;
}

}  // namespace

void GetUSBDiskDriveInfo(std::int32_t DiskIndex) {
  WriteLog("GetUSBDiskDriveInfo " + Decimal(DiskIndex));
  ClearFacts();
  if (ShowAllDrives || IsUsbDrive(DiskIndex)) GetUSBDiskDriveInfo1(DiskIndex);
}

void GetUSBDiskDriveInfo1(std::int32_t DiskIndex) {
  WriteLog("GetUSBDiskDriveInfo1");
  ClearFacts();
  const auto size = static_cast<double>(GetSCSICapacity(DiskIndex));
  if (size > 0) DriveBytes = size;
  DriveBytes = kCylinderBytes * std::floor(DriveBytes / kCylinderBytes);
  Open_Physical_Disk_hDrive(Physical_Drive_no);  // a failed open shows as a failed read
  const auto lastSector = static_cast<std::int64_t>(DriveBytes / 512) - 1;
  const bool lastSectorReads = DirectReadDrive(lastSector, 1);
  if (!lastSectorReads && DriveBytes > 0) DriveBytes -= kCylinderBytes;
  MyCloseHandle(hDrive);
}

std::string Print_Drive_Details() {
  WriteLog("Print_Drive_Details");
  if (DriveBytes == 0) return "";
  const std::string model = PadText(ScsiProductText, " ", 31, true);
  double size = DriveBytes / 1024;
  const char* unit = "KiB";
  for (const char* next : {"MiB", "GiB"}) {
    if (size <= 1000) break;
    size /= 1024;
    unit = next;
  }
  std::string details =
      PadText(FormatCommas(size, "###############0"), " ", 7, false) + unit + " " + model;
  if (LoggingEnabled) {
    details += " " + FormatCommas(DriveBytes, "###,###,###,###,###0") + " Bytes ";
  }
  return details;
}

std::string PadText(const std::string& text, const std::string& fill, std::int16_t width,
                    bool left) {
  const std::size_t count = width > 0 ? static_cast<std::size_t>(width) : 0;
  const std::wstring wide = WideText(text), filler(count, fill.empty() ? L' ' : WideText(fill)[0]);
  if (left) return NarrowText((wide + filler).substr(0, count));
  return NarrowText((filler + wide).substr(wide.size()));
}

std::string FormatCommas(double value, const std::string& /*mask*/) {
  char digits[400];
  std::snprintf(digits, sizeof digits, "%.0f", std::trunc(value));
  std::string text = digits;
  const std::size_t first = text.starts_with('-') ? 1 : 0;
  for (std::size_t i = text.size(); i > first + 3;) {
    i -= 3;
    text.insert(i, 1, ',');
  }
  return text;
}

std::string FormatCommas(const std::string& value, const std::string& mask) {
  return FormatCommas(std::strtod(value.c_str(), nullptr), mask);
}
