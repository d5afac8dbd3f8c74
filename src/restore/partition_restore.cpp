#include "restore/partition_restore.h"

#include <optional>

#include "disk/drive_discovery.h"
#include "disk/file_probe.h"
#include "disk/partition_entries.h"
#include "disk/picked_drive.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "platform/platform.h"
#include "report/log.h"
#include "report/message_box.h"
#include "report/routine.h"
#include "report/statements.h"
#include "restore/mbr_writer.h"
#include "text/text.h"

namespace {

constexpr std::int32_t kHighestRestoreDrive = 60;

// True: the volume shows the normal Tesseldyn files, so there is nothing to restore.
bool VolumeIsNormal() {
  if (!FileIsThere(MYDRIVE + "\\_ISO\\tsd\\grub\\tsd.cfg")) return false;
  MsgBox(
      {.title = "Drive is not in CSM mode!",
       .text = "Volume " + MYDRIVE + " already contains Tesseldyn files.\r\nPartition not updated.",
       .icon = Icon::Information});
  return true;
}

void WarnUnlessCsmVolume() {
  for (const char* file : {"\\menu.lst", "\\boot6", "\\grldr", "\\tsd\\unifont.hex.gz"}) {
    if (FileIsThere(MYDRIVE + file)) continue;
    MsgBox({.title = "Check for \\menu.lst,\\boot6,\\grldr,\\tsd\\unifont.hex.gz",
            .text = "WARNING: Volume " + MYDRIVE +
                    " does not appear to contain valid Tesseldyn CSM files",
            .icon = Icon::Information});
    return;
  }
}

// Reads a backup sector. Empty, after a box: it can't be read. Otherwise: whether it is sound.
std::optional<bool> ReadBackup(std::int64_t sector) {
  if (!ReadPickedDrive(sector)) return std::nullopt;
  return IsSoundSavedTable();
}

// Sector 0 before the question; empty if it can't be read, which a restore may repair.
using TableBefore = std::optional<Sector>;

// Without a sector 0 to compare, the saved table identifies the stick.
bool SavedTableIsStill(std::int64_t sector) {
  if (ReadSectorApart(Picked_Drive_no, sector) == CopyOfSectorBuffer()) return true;
  return RefuseChangedDrive("Sector " + Decimal(sector) + " of " + DriveText(Picked_Drive_no) +
                            " is not the one that was read before.");
}

// SectorBuffer holds the sound sector, as it was read from that sector of the disk.
void RestoreFromSector(const TableBefore& before, std::int64_t sector) {
  const Answer answer =
      MsgBox({.title = "Restore TSD partition table",
              .text = "Restore Tesseldyn partitions on Drive " + Decimal(Physical_Drive_no) + "?",
              .buttons = Buttons::OkCancel});
  if (answer != Answer::Ok || !TableIsStill(before)) return;
  if (before || SavedTableIsStill(sector)) SWITCH();
}

bool RestoreFromFile(const TableBefore& before) {
  const Routine quietly;
  WriteLog("---------------- Restore_from_MBR_bin_file Started ----------------");
  const std::string path = MYDRIVE + "\\tsd\\MBR.BIN";
  if (UpperCase(ProbeFile(path)) != "MBR.BIN") return false;
  // A file shorter than a sector must not be completed from the sector read before it.
  SectorBuffer.assign(kSectorSize, 0);
  std::size_t count = 0;
  ReadBinaryFile(path, SectorBuffer.data(), SectorBuffer.size(), count);
  ParseSectorBuffer();
  if (!IsSoundSavedTable()) return false;
  const Answer answer =
      MsgBox({.title = "Use MBR.BIN backup?",
              .text = "OK to use " + path + " to restore original TSD partitions?",
              .buttons = Buttons::OkCancel});
  if (answer != Answer::Ok || !TableIsStill(before)) return false;
  return SWITCH();
}

void ReportOnSector1() {
  if (!ReadandParseSector(MYDRIVE, 1)) {
    MsgBox({.title = "No valid backup sectors!",
            .text = "ERROR: Cannot find a valid backup sector to restore TSD partitions!",
            .icon = Icon::Exclamation});
    return;
  }
  if (SectorFlags.IsUniform || !SectorFlags.SigOK || !SectorFlags.AnyPtnOK) return;
  MsgBox({.title = "INFO: An old MBR is present at LBA1.",
          .text = "INFORMATION: Only the old grub4dos LBA1 backup MBR is present on this "
                  "drive!\r\nHowever, it may not have valid partitions.",
          .icon = Icon::Information});
}

}  // namespace

void cmdRestoreTSD_Click() {
  const Routine me(ReportLayout::MainWindow, "cmdRestoreTSD_Click");
  WriteLog("---------------- cmdRestoreTSD_Click Started ----------------");
  if (Sys.toolkit->ItemCount(Control::List1) > 0) return;
  if (MYDRIVE.size() < 2) return;
  Physical_Drive_no = GetPhysDriveNo(MYDRIVE);
  if (Physical_Drive_no < 1 && !ShowAllDrives) return;
  if (Physical_Drive_no > kHighestRestoreDrive) return;
  MYDRIVE = GetDriveLetter(Physical_Drive_no);
  if (VolumeIsNormal()) return;
  WarnUnlessCsmVolume();
  const TableBefore before = ReadSectorApart(Picked_Drive_no, 0);
  if (before && RefuseGpt(*before)) return;
  for (const std::int64_t sector : {kBackupSector1, kBackupSector2}) {
    const std::optional<bool> sound = ReadBackup(sector);
    if (!sound) return;
    if (!*sound) continue;
    RestoreFromSector(before, sector);
    return;
  }
  MsgBox({.title = "Invalid backup sectors at LBA30 and LBA60",
          .text = "ERROR: Cannot find a valid backup sector!",
          .icon = Icon::Exclamation});
  if (!RestoreFromFile(before)) ReportOnSector1();
}

bool Restore_from_MBR_bin_file() {
  return RestoreFromFile(ReadSectorApart(Picked_Drive_no, 0));
}
