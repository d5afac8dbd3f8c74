#include "switch/partition_table.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "disk/picked_drive.h"
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/measured_file.h"
#include "platform/platform.h"
#include "report/log.h"
#include "report/message_box.h"
#include "report/routine.h"
#include "report/statements.h"
#include "switch/file_limits.h"
#include "text/text.h"

namespace {

void ClearEntry(std::size_t entry) {
  std::fill_n(SectorBuffer.begin() + static_cast<std::ptrdiff_t>(entry), kEntrySize,
              std::uint8_t{0});
}

// Which of entries 2 and 3 stay, and how the report calls them.
void KeepOrClearMiddleEntries(SwitchRun& run) {
  run.Ptn4Text = "-";
  run.Ptn2Text = "(keep)";
  run.Ptn3Text = "(keep)";
  if (run.Image.keeps23) return;
  run.Ptn3Text = "-";
  ClearEntry(kEntry3);
  if (run.FourthFile.empty() && run.CompanionName.empty() && SectorFlags.Ptn2Is21 &&
      run.Image.isPlain) {
    run.Ptn2Text = "keep (small ptn 0x21)";
  } else if (!run.FourthFile.empty() || !run.Image.keeps2) {
    ClearEntry(kEntry2);
    run.Ptn2Text = "-";
  }
}

struct NewEntry {
  SectorRun run;
  std::uint64_t type;  // as found or answered
  Sector firstSector;  // of the file, on the disk
};

// Measures the file again, since an order repair may have moved it, even beyond 2 TB, and builds
// its entry. Empty, after a box: it can't be measured any more (FStart may then hold another file's
// place), or it lies where no entry can point.
std::optional<NewEntry> BuildEntry(std::size_t entry, const std::string& file,
                                   const std::string& position) {
  if (!IsOnPickedDrive(file)) return std::nullopt;
  GetFileStart(file);
  if (!StartIsAtLeast(kSmallest) || !LengthIsAtLeast(1)) return std::nullopt;
  if (!LiesWithin2TB(file, Measured.FStart) || !IsShorterThan2TB(file)) return std::nullopt;
  const SectorRun run = Get_start_length_bytes();
  FirstBytes first;
  std::uint64_t type = Get_Format_Type(file, first);
  const std::optional<Sector> sector = ProvePlace(file, run, first);
  if (!sector) return std::nullopt;
  if (type == 0) type = Ask_User_What_Type(type, position);
  Patch_PTN_Table(entry, run, type);
  return NewEntry{run, type, *sector};
}

}  // namespace

bool ComposeTable(SwitchRun& run) {
  Mark(run, 600);
  if (!ReadPickedTable(run)) return false;
  ClearEntry(kEntry1);
  ClearEntry(kEntry4);
  Mark(run, 620);
  KeepOrClearMiddleEntries(run);
  Mark(run, 630);
  const std::optional<NewEntry> first = BuildEntry(kEntry1, run.ImageFile, "1st");
  if (!first) return false;
  run.Run1 = first->run;
  run.PTYPE1 = first->type;
  run.BootRecord = first->firstSector;
  if (!run.CompanionName.empty()) {
    const std::optional<NewEntry> third = BuildEntry(kEntry3, run.CompanionFile, "2nd");
    if (!third) return false;
    run.Run3 = third->run;
    run.PTYPE3 = third->type;
  }
  Mark(run, 640);
  if (!run.FourthFile.empty()) {
    const std::optional<NewEntry> fourth = BuildEntry(kEntry4, run.FourthFile, "4th");
    if (!fourth) return false;
    run.Run4 = fourth->run;
    run.PTYPE4 = fourth->type;
  }
  Mark(run, 650);
  std::copy_n(SectorBuffer.begin() + kEntry1 + kEntryStart, 4,
              SectorBuffer.begin() + kDiskSignature);
  if (LoggingEnabled) Show_Ptns();
  Mark(run, 700);
  return true;
}

std::uint8_t Get_Format_Type(const std::string& fname, FirstBytes& first) {
  const Routine me(ReportLayout::MainWindow, "Get_Format_Type(fname)");
  WriteLog("---------------- Get_Format_Type(" + fname + ") Started ----------------");
  first = {};
  std::uint8_t* bytes = first.data.data();
  ReadBinaryFile(fname, bytes, kSectorSize, first.count);
  std::uint8_t type = 0;
  if (std::memcmp(bytes + 3, "NTFS", 4) == 0) type = kTypeNtfs;
  if (std::memcmp(bytes + 82, "FAT32", 5) == 0) type = kTypeFat32;
  return type;
}

std::uint64_t Ask_User_What_Type(std::uint64_t typ, const std::string& pos) {
  WriteLog("Ask_User_What_Type(" + Decimal(static_cast<std::int64_t>(typ)) + "," + pos + ")");
  std::string answer = InputBox({.title = "Set partition type (hex)",
                                 .prompt = "Set partition type for the " + pos +
                                           " image file:\r\n\r\nExamples\r\n========\r\n\r\n"
                                           "0x83 = linux ext (*Default)\r\n"
                                           "0x82 = linux swap space\r\n"
                                           "0xAF = HFS for Mac OS X\r\n0x0C = FAT32\r\n"
                                           "0x07 = NTFS or exFAT\r\n0x00 = none (Cancel)",
                                 .initial = "0x83"});
  if (answer.empty()) answer = "0x00";
  answer = UpperCase(answer);
  if (answer.starts_with("0X")) answer.erase(0, 2);
  if (answer.starts_with("OX")) answer.erase(0, 2);
  const std::uint64_t type = HexPrefixValue(answer);
  WriteLog(std::to_string(type) + " chosen by user");
  return type;
}

SectorRun Get_start_length_bytes() {
  WriteLog("Get_start_length_bytes started");
  return {static_cast<std::uint32_t>(HexPrefixValue(Measured.FStart)),
          static_cast<std::uint32_t>(HexPrefixValue(Measured.FLength))};
}

void Patch_PTN_Table(std::size_t EntryOffset, const SectorRun& run, std::uint64_t PType) {
  WriteLog("Patch_PTN_Table");
  std::uint8_t* entry = SectorBuffer.data() + EntryOffset;
  entry[0] = EntryOffset == kEntry1 ? 0x80 : 0x00;
  // These three bytes mean that CHS can't express the place.
  for (const std::size_t chs : {1U, 5U}) {
    entry[chs] = 0xFE;
    entry[chs + 1] = 0xFF;
    entry[chs + 2] = 0xFF;
  }
  if (PType <= 0xFF) entry[kEntryType] = static_cast<std::uint8_t>(PType);
  PutNumber32(entry + kEntryStart, run.first);
  PutNumber32(entry + kEntryStart + 4, run.count);
}

void Show_Ptns() {
  WriteLog("Show_Ptns");
}
