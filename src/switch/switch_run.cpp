#include "switch/switch_run.h"

#include <algorithm>

#include "disk/partition_entries.h"
#include "disk/picked_drive.h"
#include "disk/raw_sector_io.h"
#include "imagefiles/image_search.h"
#include "report/log.h"
#include "report/message_box.h"
#include "switch/commit.h"
#include "switch/image_selection.h"
#include "switch/partition_table.h"
#include "text/text.h"

namespace {

// After a failed pick the list still shows the images of the volume picked before.
bool RowIsOfPickedVolume() {
  const std::string image = SelectedImage();
  if (image.substr(0, 2) == MYDRIVE) return true;
  return RefuseOtherDrive(image, GetPhysDriveNo(image.substr(0, 2)));
}

// All checks run, so that one bad MBR shows everything that is wrong with it.
void CheckTable(SwitchRun& run) {
  const std::string drive = "ERROR: MBR on drive " + Decimal(Physical_Drive_no);
  const auto check = [&](bool passed, const char* title, const std::string& text) {
    if (passed) return;
    MsgBox({.title = title, .text = drive + text, .icon = Icon::Exclamation});
    run.MbrRejected = true;
  };
  check(SectorFlags.AnyPtnOK, "No partition table entries", " has no partitions");
  check(SectorFlags.HasGrub4dos, "Need to install grub4dos to MBR!",
        " does not have grub4dos installed.");
  check(SectorFlags.SigOK, "Need to install grub4dos to MBR!",
        " does not have valid 55 AA ending bytes.");
  check(SectorFlags.PtnNearStart, "MBR is not an TSD MBR?",
        " does not contain a partition near the start of the drive.\r\n"
        "Use 'Safely Remove Drive' System Tray icon and re-insert USB drive.");
  if (RefuseGpt(run.Table)) run.MbrRejected = true;
}

// A partition of the saved table holds the start of this entry, but doesn't begin there.
bool StartsInside(const PartitionEntry& entry, const Sector& saved) {
  const auto partitions = EntriesOf(saved);
  return entry.type != 0 &&
         std::any_of(partitions.begin(), partitions.end(), [&](const PartitionEntry& partition) {
           return partition.Covers(entry.start) && partition.start != entry.start;
         });
}

// Entry 1 points into the main volume only after a switch. An entry that a switch built, and so
// flagged active, becomes the second one only by a swap.
bool IsSwitchedFrom(const Sector& saved, const Sector& table) {
  const auto entries = EntriesOf(table);
  return StartsInside(entries[0], saved) || (entries[1].active && StartsInside(entries[1], saved));
}

// Reads a backup sector and judges it. False: it couldn't be read.
bool JudgeBackup(SwitchRun& run, std::int64_t sector, bool& usable) {
  if (!ReadPickedDrive(sector)) return false;
  usable = (SectorFlags.HasGrub4dos || SectorFlags.IsUniform) &&
           !IsInPartition(run.Table, static_cast<std::uint64_t>(sector));
  if (!IsSoundSavedTable()) return true;
  run.SavedTableFound = true;
  if (IsSwitchedFrom(CopyOfSectorBuffer(), run.Table)) run.StartsInSavedPartition = true;
  return true;
}

// A switch leaves the start of entry 1 in the disk signature, and a swap may since have made that
// entry the second. The type proves nothing: the user may have answered 0. Windows may have written
// a new signature since; then the saved table decides.
bool TableIsSwitched(const SwitchRun& run) {
  const std::uint32_t signature = Number32(&run.Table[kDiskSignature]);
  const auto entries = EntriesOf(run.Table);
  return run.StartsInSavedPartition ||
         (signature != 0 && (entries[0].start == signature || entries[1].start == signature));
}

// Keeps the saved table in place of the switched one. False: there is none to go back to.
bool KeepSavedTable(const SwitchRun& run) {
  if (run.SavedTableFound) return true;
  MsgBox({.title = "Partition table is already switched!",
          .text = "ERROR: MBR on drive " + Decimal(Physical_Drive_no) +
                  " is already switched and neither LBA 30 nor LBA 60 holds the table from "
                  "before.",
          .icon = Icon::Exclamation});
  return false;
}

bool SaveTable(SwitchRun& run) {
  Mark(run, 100);
  if (!JudgeBackup(run, kBackupSector1, run.Lba30Usable)) return false;
  if (!JudgeBackup(run, kBackupSector2, run.Lba60Usable)) return false;
  if (!ReadPickedTable(run)) return false;
  Mark(run, 200);
  if (!run.Lba30Usable && !run.Lba60Usable) {
    MsgBox({.title = "No backup sector available for MBR!",
            .text = "ERROR: LBA 30 and LBA 60 both in use - reformat USB drive",
            .icon = Icon::Exclamation});
    return false;
  }
  if (TableIsSwitched(run)) return KeepSavedTable(run);
  if (run.Lba60Usable && !WriteOrReport(kBackupSector2)) return false;
  return !run.Lba30Usable || WriteOrReport(kBackupSector1);
}

}  // namespace

bool ReadPickedTable(const SwitchRun& run) {
  if (!ReadPickedDrive(0)) return false;
  if (CopyOfSectorBuffer() == run.Table) return true;
  return RefuseChangedDrive("Sector 0 of " + DriveText(Physical_Drive_no) +
                            " is not the one that was read before.");
}

void Mark(SwitchRun& run, int mark) {
  run.me.Erl = mark;
  WriteLog("List1_DblClick " + Decimal(mark));
}

void List1_DblClick() {
  SwitchRun run;
  WriteLog("---------------- List1_DblClick Started ----------------");
  if (!RowIsOfPickedVolume()) return;
  if (!ReadPickedDrive(0)) return;
  run.Table = CopyOfSectorBuffer();
  CheckTable(run);
  if (run.MbrRejected) return;
  if (!SaveTable(run)) return;
  if (!SelectFiles(run)) return;
  if (!ComposeTable(run)) return;
  CommitTable(run);
}
