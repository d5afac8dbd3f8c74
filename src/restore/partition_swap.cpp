#include "restore/partition_swap.h"

#include <algorithm>

#include "disk/drive_discovery.h"
#include "disk/partition_entries.h"
#include "disk/picked_drive.h"
#include "disk/sector_buffer.h"
#include "report/log.h"
#include "report/message_box.h"
#include "restore/mbr_writer.h"
#include "text/text.h"

namespace {

std::string TypeOf(std::size_t entry) {
  return "(type=" + HexPadded(SectorBuffer[entry + kEntryType], 2) + " hex)";
}

}  // namespace

void cmdSwitchPtns_Click() {
  WriteLog("cmdSwitchPtns_Click started");
  if (MediaKind != kRemovableMedia) return;
  if (!ReadPickedDrive(0)) return;
  if (!EntriesMayBeSwapped()) return;
  const Sector before = CopyOfSectorBuffer();
  if (RefuseGpt(before)) return;
  const auto entry1 = SectorBuffer.begin() + kEntry1;
  std::swap_ranges(entry1, entry1 + kEntrySize, SectorBuffer.begin() + kEntry2);
  const Answer answer =
      MsgBox({.title = "Make 2nd partition accessible on Removable drive?",
              .text = "OK to swap Partition 1 " + TypeOf(kEntry1) + " with Partition 2 " +
                      TypeOf(kEntry2) + " on Drive " + Decimal(Physical_Drive_no) + "?",
              .buttons = Buttons::OkCancel});
  if (answer == Answer::Ok && TableIsStill(before)) SWITCH();
}
