#include "disk/picked_drive.h"

#include <algorithm>

#include "disk/partition_entries.h"
#include "disk/raw_sector_io.h"
#include "report/message_box.h"
#include "text/text.h"

std::int32_t Picked_Drive_no = kNoDrive;

std::string DriveText(std::int32_t drive) {
  return drive > kHighestDrive ? "no drive" : "Drive " + Decimal(drive);
}

bool RefuseChangedDrive(const std::string& what) {
  MsgBox({.title = "Drive has changed!",
          .text = "ERROR: " + what +
                  "\r\nThe partition table was not changed. Click 'Refresh' and try again.",
          .icon = Icon::Exclamation});
  return false;
}

bool RefuseOtherDrive(const std::string& file, std::int32_t drive) {
  MsgBox({.title = "File is on another drive!",
          .text = "ERROR: File " + file + " is on " + file.substr(0, 2) + " (" + DriveText(drive) +
                  "), but the selected drive is " + MYDRIVE + " (" + DriveText(Picked_Drive_no) +
                  ").\r\nThe partition table was not changed. Click 'Refresh' and select the "
                  "drive again.",
          .icon = Icon::Exclamation});
  return false;
}

bool IsOnPickedDrive(const std::string& file) {
  const std::int32_t drive = GetPhysDriveNo(file.substr(0, 2));
  return drive == Picked_Drive_no || RefuseOtherDrive(file, drive);
}

bool IsPickedDrive() {
  if (Physical_Drive_no == Picked_Drive_no) return true;
  return RefuseChangedDrive("Volume " + MYDRIVE + " was on " + DriveText(Picked_Drive_no) +
                            " when it was selected, and is on " + DriveText(Physical_Drive_no) +
                            " now.");
}

bool ReadPickedDrive(std::int64_t sector) {
  return ReadOrReport(MYDRIVE, sector) && IsPickedDrive();
}

bool TableIsStill(const std::optional<Sector>& table) {
  Physical_Drive_no = GetPhysDriveNo(MYDRIVE);
  if (!IsPickedDrive()) return false;
  const std::optional<Sector> now = ReadSectorApart(Picked_Drive_no, 0);
  if (now == table) return true;
  return RefuseChangedDrive(
      "Sector 0 of " + DriveText(Picked_Drive_no) +
      (now ? " is not the one that was read before." : " can't be read any more."));
}

bool RefuseGpt(const Sector& table) {
  if (!HasGptEntry(table)) return false;
  MsgBox({.title = "Drive has a GPT!",
          .text = "ERROR: " + DriveText(Physical_Drive_no) +
                  " has a GUID partition table, which uses the sectors where this program saves "
                  "the old table.\r\nThe drive was not changed.",
          .icon = Icon::Exclamation});
  return true;
}
