#include "switch/place_proof.h"

#include <algorithm>

#include "disk/picked_drive.h"
#include "disk/raw_sector_io.h"
#include "report/message_box.h"
#include "switch/hidden_sectors.h"
#include "text/text.h"

namespace {

constexpr std::int64_t kFirstFreeSector = kBackupSector2 + 1;

std::optional<Sector> Refuse(const std::string& what) {
  MsgBox({.title = "Bad place of file!",
          .text = "ERROR: " + what + "\r\nThe partition table was not changed.",
          .icon = Icon::Exclamation});
  return std::nullopt;
}

bool IsZero(const FirstBytes& first) {
  return std::all_of(first.data.begin(), first.data.end(),
                     [](std::uint8_t byte) { return byte == 0; });
}

bool BeginsWith(Sector sector, const FirstBytes& first) {
  std::copy_n(first.data.begin() + kHiddenSectors, kHiddenSectorsSize,
              sector.begin() + kHiddenSectors);
  return std::equal(first.data.begin(),
                    first.data.begin() + static_cast<std::ptrdiff_t>(first.count), sector.begin());
}

}  // namespace

std::optional<Sector> ProvePlace(const std::string& file, const SectorRun& run,
                                 const FirstBytes& first) {
  const std::int64_t number = run.first;
  const std::uint64_t end = std::uint64_t{run.first} + run.count;
  if (number < kFirstFreeSector) {
    return Refuse("File " + file + " starts at sector " + Decimal(number) +
                  ". Sectors 0 to 60 are for the boot code and the saved tables.");
  }
  const std::uint64_t sectors = SectorsOfDisk(Picked_Drive_no);
  const std::string drive = DriveText(Picked_Drive_no);
  if (sectors != 0 && end > sectors) {
    return Refuse("File " + file + " starts at sector " + Decimal(number) + " and ends beyond " +
                  drive + ", which has " + std::to_string(sectors) + " sectors.");
  }
  if (first.count == 0) return Refuse("File " + file + " can't be read.");
  const std::optional<Sector> sector = ReadSectorApart(Picked_Drive_no, number);
  if (!sector) return Refuse("Sector " + Decimal(number) + " of " + drive + " can't be read.");
  if (!IsZero(first) && !BeginsWith(*sector, first)) {
    return Refuse("Sector " + Decimal(number) + " of " + drive +
                  " does not hold the beginning of file " + file + ".");
  }
  return sector;
}
