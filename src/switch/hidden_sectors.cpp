#include "switch/hidden_sectors.h"

#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "disk/volume_lock.h"
#include "imagefiles/measured_file.h"
#include "platform/platform.h"
#include "report/events.h"
#include "report/log.h"
#include "report/message_box.h"
#include "restore/mbr_writer.h"
#include "switch/partition_table.h"
#include "text/text.h"

namespace {

void ShowFailure(const std::string& text) {
  MsgBox({.title = "Error in Adjusting Hidden Sectors in PBR", .text = text, .icon = Icon::Stop});
}

// Writes the patched boot record with the volumes held, and lets the system settle.
bool WriteBootRecord(std::int64_t sector) {
  DisMount_All_VolumesX(Physical_Drive_no);
  Lock_Unlock_All_Volumes(Physical_Drive_no, "LOCK");
  DoEvents();
  const bool written = WriteSector(Physical_Drive_no, sector);
  Lock_Unlock_All_Volumes(Physical_Drive_no, "UNLOCK");
  MyCloseHandle(hDrive);
  Sys.toolkit->MousePointer(Pointer::Hourglass);
  DoEvents();
  Settle();
  Sys.toolkit->MousePointer(Pointer::Default);
  DoEvents();
  return written;
}

}  // namespace

void Adjust_Hidden(const std::string& MyFile, std::uint64_t PTYPE) {
  const std::string type = std::to_string(PTYPE);
  WriteLog("Adjust_Hidden: FTSTART=" + Measured.FStart + " " + MyFile + " PTYPE=" + type);
  const std::uint32_t first = Get_start_length_bytes().first;
  const std::int64_t SecNo = first;
  if (!Open_Physical_Disk_hDrive(Physical_Drive_no)) {
    ShowFailure("DISK " + Decimal(Physical_Drive_no) + " OPEN ERROR");
    return;
  }
  if (!DirectReadDrive(SecNo, 1)) {
    ShowFailure("DISK READ ERROR");
    return;
  }
  if (PTYPE != kTypeFat32Chs && PTYPE != kTypeFat32 && PTYPE != kTypeNtfs) {
    ShowFailure("UNKNOWN PARTITION TYPE " + type);
    return;
  }
  PutNumber32(&SectorBuffer[kHiddenSectors], first);
  if (!WriteBootRecord(SecNo)) {
    MsgBox({.title = "Error Adjusting Hidden Sectors in PBR",
            .text = "WRITE ERROR TO SECTOR " + Decimal(SecNo),
            .icon = Icon::Stop});
  }
}
