#include "switch/switch_run.h"

#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "shell/log_writer.h"
#include "shell/message_box.h"
#include "switch/commit.h"
#include "switch/image_selection.h"
#include "switch/partition_table.h"
#include "text/text.h"

namespace {

// All four checks run, so that one bad MBR shows everything that is wrong with it.
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
}

// Reads a backup sector and judges it. False: it couldn't be read.
bool JudgeBackup(SwitchRun& run, std::int64_t sector, bool& usable) {
  if (!ReadOrTell(MYDRIVE, sector)) return false;
  usable = SectorFlags.HasGrub4dos || SectorFlags.IsUniform;
  run.SavedTableFound = run.SavedTableFound || IsSoundSavedTable();
  return true;
}

// A switch leaves the start of entry 1 in the disk signature, and a swap may have made that entry
// the second since. The type says nothing: it may have been answered with 0.
bool TableIsSwitched() {
  const std::uint32_t signature = SectorNumberAt(kDiskSignature);
  return signature != 0 && (SectorNumberAt(kEntry1 + kEntryStart) == signature ||
                            SectorNumberAt(kEntry2 + kEntryStart) == signature);
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
  if (!ReadOrTell(MYDRIVE, 0)) return false;
  Mark(run, 200);
  if (!run.Lba30Usable && !run.Lba60Usable) {
    MsgBox({.title = "No backup sector available for MBR!",
            .text = "ERROR: LBA 30 and LBA 60 both in use - reformat USB drive",
            .icon = Icon::Exclamation});
    return false;
  }
  if (TableIsSwitched()) return KeepSavedTable(run);
  if (run.Lba60Usable && !WriteOrTell(kBackupSector2)) return false;
  return !run.Lba30Usable || WriteOrTell(kBackupSector1);
}

}  // namespace

void Mark(SwitchRun& run, int mark) {
  run.on.Erl = mark;
  WriteLog("List1_DblClick " + Decimal(mark));
}

void List1_DblClick() {
  SwitchRun run;
  WriteLog("---------------- List1_DblClick Started ----------------");
  if (!ReadOrTell(MYDRIVE, 0)) return;
  CheckTable(run);
  if (run.MbrRejected) return;
  if (!SaveTable(run)) return;
  if (!SelectFiles(run)) return;
  if (!ComposeTable(run)) return;
  CommitTable(run);
}
