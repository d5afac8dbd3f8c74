#include "text/extents_text.h"

namespace {

std::string Hex(std::uint64_t value) {
  std::string digits;
  do {
    digits.insert(digits.begin(), "0123456789ABCDEF"[value % 16]);
    value /= 16;
  } while (value != 0);
  return digits;
}

}  // namespace

std::vector<Extent> MergeExtents(const std::vector<Extent>& extents) {
  std::vector<Extent> merged;
  for (const Extent& next : extents) {
    if (!merged.empty()) {
      Extent& last = merged.back();
      if (last.lba + last.sectors == next.lba &&
          last.fileOffset + last.sectors * 512 == next.fileOffset) {
        last.sectors += next.sectors;
        continue;
      }
    }
    merged.push_back(next);
  }
  return merged;
}

std::string ExtentsText(const std::vector<Extent>& extents) {
  std::string text;
  for (const Extent& extent : MergeExtents(extents)) {
    text += "File offset " + Hex(extent.fileOffset) + " LBA: " + Hex(extent.lba) +
            " Sectors: " + Hex(extent.sectors) + "\r\n";
  }
  return text;
}
