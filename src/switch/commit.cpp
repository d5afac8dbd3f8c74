#include "switch/commit.h"

#include <algorithm>

#include "disk/picked_drive.h"
#include "disk/raw_sector_io.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/measured_file.h"
#include "report/log.h"
#include "report/message_box.h"
#include "restore/mbr_writer.h"
#include "switch/file_limits.h"
#include "switch/hidden_sectors.h"
#include "switch/partition_table.h"
#include "text/text.h"

namespace {

// The three entries word the formats differently, down to the blanks.
struct FormatTexts {
  const char* fat32;
  const char* ntfs;
};
constexpr FormatTexts kFormats1{" (FAT32) ", " (NTFS)  "};
constexpr FormatTexts kFormats3{" (FAT32 )", " (NTFS)  "};
constexpr FormatTexts kFormats4{" (FAT32)", " (NTFS) "};

std::string BuiltEntry(const char* name, std::uint64_t type, const FormatTexts& formats,
                       const SectorRun& run, const std::string& file) {
  std::string format;
  if (type == kTypeFat32) format = formats.fat32;
  if (type == kTypeNtfs) format = formats.ntfs;
  return std::string(name) + ": Type=" + HexPadded(static_cast<double>(type), 2) + format +
         " Start=" + Decimal(run.first) + " (0x" + HexDigits(run.first) + ") \r\n" + file +
         kLineEnd;
}

std::string OtherEntry(const char* name, const std::string& text) {
  return std::string(name) + ": " + text + kLineEnd;
}

// Between the proof of the image's place and the user's answer another file may have been written
// there. PatchBootRecord reports a sector that can't be read any more.
bool BootRecordIsStill(const SwitchRun& run) {
  const std::int64_t number = run.Run1.first;
  const std::optional<Sector> now = ReadSectorApart(Picked_Drive_no, number);
  if (!now || *now == run.BootRecord) return true;
  return RefuseChangedDrive("Sector " + Decimal(number) + " of " + DriveText(Picked_Drive_no) +
                            " no longer holds what it held before.");
}

// The boot record is patched in SectorBuffer too, so the composed sector is set aside.
void PatchBootRecord(SwitchRun& run) {
  Sector SavedSector;
  std::copy_n(SectorBuffer.begin(), kSectorSize, SavedSector.begin());
  Measured.FStart = HexDigits(run.Run1.first);
  Adjust_Hidden(run.ImageFile, run.PTYPE1);
  std::copy(SavedSector.begin(), SavedSector.end(), SectorBuffer.begin());
}

}  // namespace

std::string TableReport(const SwitchRun& run) {
  std::string report = BuiltEntry("PTN1", run.PTYPE1, kFormats1, run.Run1, run.ImageFile);
  report += kLineEnd + OtherEntry("PTN2", run.Ptn2Text) + kLineEnd;
  report += run.CompanionName.empty()
                ? OtherEntry("PTN3", run.Ptn3Text)
                : BuiltEntry("PTN3", run.PTYPE3, kFormats3, run.Run3, run.CompanionFile);
  report += kLineEnd;
  report += run.FourthFile.empty()
                ? OtherEntry("PTN4", run.Ptn4Text)
                : BuiltEntry("PTN4", run.PTYPE4, kFormats4, run.Run4, run.FourthFile);
  return report;
}

void CommitTable(SwitchRun& run) {
  const std::string Report = TableReport(run);
  Mark(run, 750);
  if (!StartIsAtLeast(kSmallest) || !LengthIsAtLeast(kSmallest)) return;
  Mark(run, 800);
  const Answer answer = MsgBox(
      {.title = "Change partition table",
       .text = Report + "\r\nOK to write new MBR to Drive " + Decimal(Physical_Drive_no) + "?",
       .buttons = Buttons::OkCancel});
  if (answer == Answer::Ok) {
    if (!TableIsStill(run.Table) || !BootRecordIsStill(run)) return;
    PatchBootRecord(run);
    if (!SWITCH()) return;
  }
  WriteLog("List1_DblClick END");
}
