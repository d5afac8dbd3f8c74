#include "shell/drive_panel.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "disk/drive_discovery.h"
#include "disk/picked_drive.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "imagefiles/image_search.h"
#include "platform/platform.h"
#include "report/message_box.h"
#include "shell/drive_inventory.h"
#include "shell/log_writer.h"
#include "shell/window_design.h"
#include "text/text.h"

std::string VolumeLabel;
std::string VolumeSerial;

namespace {

constexpr std::uint32_t kLabelSize = 14, kFileSystemSize = 32;

// Reads the disk's first sector into SectorBuffer. False: the disk isn't offered.
bool DiskQualifies() {
  GetUSBDiskDriveInfo(Physical_Drive_no);
  if (!(DriveBytes > 0)) return false;
  if (!ShowAllDrives && !IsUsbDrive(Physical_Drive_no)) return false;
  const std::string volume = GetDriveLetter(Physical_Drive_no);
  if (volume.empty()) return false;
  return ReadOrReport(volume, 0) && SectorFlags.HasGrub4dos;
}

void AddRows() {
  for (const std::string& volume : {vol1, vol2, vol3, vol4}) {
    rgbGetVolume(volume, VolumeLabel, VolumeSerial);
    if (volume.empty()) continue;
    Sys.toolkit->AddItem(Control::Combo1, volume + " DRIVE " + Decimal(Physical_Drive_no) + "  " +
                                              VolumeLabel + " " + Print_Drive_Details());
  }
}

// Lets List1 scroll as far as its longest row needs.
void SizeImageList(float listWidth) {
  Toolkit& window = *Sys.toolkit;
  SetHorizontalExtent(Control::List1, 0);
  std::int16_t widest = 0;
  const int rows = window.ItemCount(Control::List1);
  for (int row = 0; row < rows; ++row) {
    const float width = window.TextWidth(window.ItemText(Control::List1, row));
    if (static_cast<float>(widest) < width) {
      widest = static_cast<std::int16_t>(std::min(std::nearbyint(width), 32767.0F));
    }
  }
  if (static_cast<float>(widest) > listWidth) SetHorizontalExtent(Control::List1, widest);
}

std::string HexWord(std::uint32_t value) {
  return HexPadded(value & 0xFFFF, 4);
}

}  // namespace

void Drive1_Change() {
  const int letters = Sys.facts->LogicalDriveCount();
  Sys.toolkit->ClearItems(Control::Combo1);
  Sys.toolkit->ClearItems(Control::List1);
  WriteLog("Drive1_Change");
  for (int n = 0; n < letters; ++n) {
    Physical_Drive_no = n;
    if (DiskQualifies()) AddRows();
  }
  if (Sys.toolkit->ItemCount(Control::Combo1) > 0) SelectDriveRow(0);
}

void SelectDriveRow(int row) {
  Sys.toolkit->SetListIndex(Control::Combo1, row);
  Combo1_Click();
}

void Combo1_Click() {
  Toolkit& window = *Sys.toolkit;
  WriteLog("---------------- Combo1_Click Started ----------------");
  const std::string row = window.ItemText(Control::Combo1, window.ListIndex(Control::Combo1));
  MYDRIVE = UpperCase(row.substr(0, 1)) + ":";
  Physical_Drive_no = GetPhysDriveNo(MYDRIVE);
  GetUSBDiskDriveInfo(Physical_Drive_no);
  const bool read = ReadOrReport(MYDRIVE, 0);
  Picked_Drive_no = Physical_Drive_no;
  if (!read) return;
  GetDriveLetter(Picked_Drive_no);  // sets vol1 to vol4 to this drive's
  const bool swappable = MediaKind == kRemovableMedia && EntriesMayBeSwapped();
  if (SectorFlags.HasGrub4dos) {
    ListFiles();
  } else {
    window.ClearItems(Control::List1);
  }
  window.SetEnabled(Control::cmdSwitchPtns, swappable);
  window.SetEnabled(Control::cmdRestoreTSD, window.ItemCount(Control::List1) == 0);
  SizeImageList(static_cast<float>(DesignOf(Control::List1).width));
}

void Chk_ISO_Click() {
  Combo1_Click();
}

void cmdRefreshDrive_Click() {
  Drive1_Change();
}

void chkShowAll_Click() {
  WriteLog("chkShowAll_Click");
  const bool ticked = Sys.toolkit->IsTicked(Control::chkShowAll);
  Answer answer = Answer::Ok;
  if (ticked) {
    answer = MsgBox({.text = "WARNING: Lists all drives containing grub4dos MBR!",
                     .buttons = Buttons::OkCancel});
  }
  if (answer == Answer::Ok) {
    ShowAllDrives = ticked;
    Drive1_Change();
    return;
  }
  Sys.toolkit->SetTicked(Control::chkShowAll, false);
  chkShowAll_Click();
}

void rgbGetVolume(const std::string& Drive, std::string& label, std::string& serial) {
  WriteLog("rgbGetVolume " + Drive + " " + label + " " + serial);
  std::string text, fileSystem;
  std::uint32_t number = 0;
  const bool known = Sys.facts->GetVolumeInformation(Drive + "\\", text, kLabelSize, number,
                                                     fileSystem, kFileSystemSize);
  label.clear();
  serial.clear();
  if (!known) return;
  label = text.substr(0, text.find('\0'));
  if (Trim(label).empty()) label = "(no label)";
  serial = HexWord(number >> 16) + "-" + HexWord(number);
}

void SetHorizontalExtent(Control list, std::int16_t width) {
  const float pixels = static_cast<float>(width) / Sys.toolkit->TwipsPerPixelX() + 6;
  Sys.toolkit->SendMessage(list, kLbSetHorizontalExtent,
                           static_cast<std::intptr_t>(std::nearbyint(pixels)));
}
