#include "tests/oracle.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

namespace {

std::string_view Text(const VirtualSector& sector) {
  return {reinterpret_cast<const char*>(sector.data()), sector.size()};
}

void Build(VirtualSector& table, std::size_t at, bool active, const Role& role) {
  const std::uint8_t typeBefore = table[at + 4];
  const std::uint8_t chs[] = {0xFE, 0xFF, 0xFF};
  table[at] = active ? 0x80 : 0;
  std::copy_n(chs, 3, &table[at + 1]);
  table[at + 4] = role.type > 0xFF ? typeBefore : static_cast<std::uint8_t>(role.type);
  std::copy_n(chs, 3, &table[at + 5]);
  for (std::size_t i = 0; i < 4; ++i) {
    table[at + 8 + i] = static_cast<std::uint8_t>(role.start >> (8 * i));
    table[at + 12 + i] = static_cast<std::uint8_t>(role.sectors >> (8 * i));
  }
}

}  // namespace

bool CarriesGrub4dos(const VirtualSector& sector) {
  const std::string_view text = Text(sector);
  return text.substr(0, 446 + 15).find("Missing MBR-hel") != std::string_view::npos ||
         text.substr(0, 446 + 11).find("Missing hel") != std::string_view::npos ||
         (text.substr(345, 4) == "FLBT" && text.substr(355, 4) == "Boot");
}

bool IsSwitched(const VirtualSector& table, const VirtualSector& saved) {
  for (const std::size_t at : {446U, 462U}) {
    const std::uint32_t start = Word32(table, at + 8);
    if (start != 0 && start == Word32(table, 440)) return true;
    for (std::size_t entry = 446; entry < 510; entry += 16) {
      const std::uint32_t first = Word32(saved, entry + 8);
      if (start > first && start - first < Word32(saved, entry + 12)) return true;
    }
  }
  return false;
}

VirtualSector NewTable(const VirtualSector& old, const std::string& extension, const Role& image,
                       const std::optional<Role>& companion, const std::optional<Role>& fourth) {
  std::string upper = extension;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  const bool keepsBoth = extension.find("23") != std::string::npos;
  const bool small =
      (upper == ".VOLPAK" || upper == ".VOLPAKAUTO") && !companion && !fourth && old[466] == 0x21;
  const bool marked = !fourth && extension.find('2') != std::string::npos;
  VirtualSector table = old;
  const auto clear = [&](std::size_t at) { std::fill_n(&table[at], 16, std::uint8_t{0}); };
  clear(446);
  clear(494);
  if (!keepsBoth) clear(478);
  if (!keepsBoth && !small && !marked) clear(462);
  Build(table, 446, true, image);
  if (companion) Build(table, 478, false, *companion);
  if (fourth) Build(table, 494, false, *fourth);
  std::copy_n(&table[454], 4, &table[440]);
  return table;
}

unsigned FormatOf(const VirtualSector& first) {
  if (Text(first).substr(82, 5) == "FAT32") return 12;
  return Text(first).substr(3, 4) == "NTFS" ? 7 : 0;
}

bool IsSound(const VirtualSector& sector) {
  bool any = false;
  for (std::size_t at = 446; at < 510; at += 16) {
    any = any || ((sector[at] == 0 || sector[at] == 0x80) && sector[at + 4] != 0);
  }
  return any && sector[510] == 0x55 && sector[511] == 0xAA && CarriesGrub4dos(sector);
}

std::uint32_t Word32(const VirtualSector& sector, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = value << 8 | sector[at + i];
  return value;
}
