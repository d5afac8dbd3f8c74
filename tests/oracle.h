// The rules for tables, written anew, for what the program makes to be held against.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/virtual/disk.h"

// One file that becomes a partition.
struct Role {
  std::uint32_t start = 0, sectors = 0;
  unsigned type = 0;  // above 0xFF: the type byte of the entry stays
};

// What a switch makes of a table. extension is that of the image, from its last dot on.
VirtualSector NewTable(const VirtualSector& old, const std::string& extension, const Role& image,
                       const std::optional<Role>& companion, const std::optional<Role>& fourth);

// 7, 12 or 0 by a file's first sector.
unsigned FormatOf(const VirtualSector& first);

bool CarriesGrub4dos(const VirtualSector& sector);

// A table that a switch made: the signature says so, or entry 1 or 2 begins inside a partition of
// the saved table.
bool IsSwitched(const VirtualSector& table, const VirtualSector& saved);

// A sound saved table.
bool IsSound(const VirtualSector& sector);

// 32 bits, lowest byte first.
std::uint32_t Word32(const VirtualSector& sector, std::size_t at);
