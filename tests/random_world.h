// The rules as an oracle, written anew, and sticks made at random for it to judge.
#pragma once

#include <cstdint>
#include <memory>
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

// grub4dos boot code; a sound saved table.
bool CarriesGrub4dos(const VirtualSector& sector);
bool IsSound(const VirtualSector& sector);
bool IsOneValue(const VirtualSector& sector);

// A stick with two volumes, files, names, marks, a table, backup sectors and a user, all made from
// the seed. Play performs some switches, swaps and restores, each judged by the oracle.
class RandomWorld {
 public:
  explicit RandomWorld(std::uint64_t seed);
  ~RandomWorld();
  RandomWorld(const RandomWorld&) = delete;
  RandomWorld& operator=(const RandomWorld&) = delete;

  // Empty: all went as the rules say. Else what did not.
  std::string Play();

  // What the worlds of this process came to, so that a test can tell that they are not all alike.
  struct Tally {
    int switches = 0, repaired = 0, refused = 0, swaps = 0, restores = 0, alreadySwitched = 0;
  };
  static Tally tally;

 private:
  struct Inside;
  std::unique_ptr<Inside> inside_;
};
