#include "restore/mbr_writer.h"

#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "disk/volume_lock.h"
#include "platform/platform.h"
#include "report/events.h"
#include "report/log.h"

std::int16_t SettleDelay = 0;

namespace {

std::string SelectedVolume() {
  Toolkit& window = *Sys.toolkit;
  return window.ItemText(Control::Combo1, window.ListIndex(Control::Combo1)).substr(0, 2);
}

// The refresh selects the first row; this selects the drive worked on if it is still listed.
void SelectVolumeAgain(const std::string& volume) {
  if (volume == SelectedVolume()) return;
  for (int row = 0; row < Sys.toolkit->ItemCount(Control::Combo1); ++row) {
    if (Sys.toolkit->ItemText(Control::Combo1, row).substr(0, 2) == volume) SelectDriveRow(row);
  }
}

}  // namespace

void Settle() {
  Sys.clock->Sleep(static_cast<std::uint32_t>(SettleDelay / 2));
  DoEvents();
}

bool SWITCH() {
  const std::string volume = SelectedVolume();
  WriteLog("SWITCH started");
  DisMount_All_VolumesX(Physical_Drive_no);
  if (!WriteOrReport(0)) return false;
  DoEvents();
  ReMount_Drive(Physical_Drive_no);
  DoEvents();
  Lock_Unlock_All_Volumes(Physical_Drive_no, "LOCK");
  MyCloseHandle(hDrive);
  Lock_Unlock_All_Volumes(Physical_Drive_no, "UNLOCK");
  Sys.toolkit->MousePointer(Pointer::Hourglass);
  DoEvents();
  Settle();
  ReMount_Drive(Physical_Drive_no);
  Settle();
  ReMount_Drive(Physical_Drive_no);
  Sys.toolkit->MousePointer(Pointer::Default);
  DoEvents();
  cmdRefreshDrive_Click();
  SelectVolumeAgain(volume);
  DoEvents();
  return true;
}
