#include "disk/sector_buffer.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "report/log.h"

std::vector<std::uint8_t> SectorBuffer;
SectorVerdicts SectorFlags;
std::string MYDRIVE;
std::int32_t Physical_Drive_no = 0;
Handle hDrive = kNoHandle;
Handle lngHandle = kNoHandle;
std::string vol1, vol2, vol3, vol4;
bool ShowAllDrives = false;

namespace {

constexpr std::size_t kLastMarkOffset = 446;  // the last offset at which a mark may begin

bool TextAt(std::size_t offset, std::string_view text) {
  return std::memcmp(SectorBuffer.data() + offset, text.data(), text.size()) == 0;
}

bool FoundInBootCode(std::string_view mark) {
  for (std::size_t i = 0; i <= kLastMarkOffset; ++i) {
    if (TextAt(i, mark)) return true;
  }
  return false;
}

bool EntryOK(std::size_t entry) {
  return (SectorBuffer[entry] & 0x7F) == 0 && SectorBuffer[entry + kEntryType] >= 1;
}

bool EntryStartsNear(std::size_t entry) {
  return SectorBuffer[entry + kEntryType] >= 1 && SectorBuffer[entry + kEntryStart + 2] == 0 &&
         SectorBuffer[entry + kEntryStart + 3] == 0;
}

}  // namespace

void ParseSectorBuffer() {
  WriteLog("------- ParseSectorBuffer Started ----------------");
  SectorVerdicts& f = SectorFlags;
  f.SigOK = SectorBuffer[kSignature] == 0x55 && SectorBuffer[kSignature + 1] == 0xAA;
  f.Ptn1OK = EntryOK(kEntry1);
  f.Ptn2OK = EntryOK(kEntry2);
  f.Ptn3OK = EntryOK(kEntry3);
  f.Ptn4OK = EntryOK(kEntry4);
  f.AnyPtnOK = f.Ptn1OK || f.Ptn2OK || f.Ptn3OK || f.Ptn4OK;
  f.Ptn2Is21 = SectorBuffer[kEntry2 + kEntryType] == kTypeSmallPartition;
  f.HasGrub4dos = FoundInBootCode("Missing MBR-hel") ||
                  (TextAt(345, "FLBT") && TextAt(355, "Boot")) || FoundInBootCode("Missing hel");
  f.IsUniform = std::all_of(SectorBuffer.begin(), SectorBuffer.begin() + kSectorSize,
                            [](std::uint8_t byte) { return byte == SectorBuffer[0]; });
  f.PtnNearStart = EntryStartsNear(kEntry1) || EntryStartsNear(kEntry2) ||
                   EntryStartsNear(kEntry3) || EntryStartsNear(kEntry4);
}

bool IsSoundSavedTable() {
  return !SectorFlags.IsUniform && SectorFlags.SigOK && SectorFlags.AnyPtnOK &&
         SectorFlags.HasGrub4dos;
}

bool EntriesMayBeSwapped() {
  return !SectorFlags.IsUniform && SectorFlags.SigOK && SectorFlags.Ptn1OK && SectorFlags.Ptn2OK &&
         SectorBuffer[kEntry1 + kEntryType] != kTypeSmallPartition &&
         SectorBuffer[kEntry2 + kEntryType] != kTypeSmallPartition;
}

std::uint32_t Number32(const std::uint8_t* bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | bytes[i];
  return number;
}

void PutNumber32(std::uint8_t* bytes, std::uint32_t number) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
}
