// Proves that a file lies where its table entry is going to point.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "disk/sector_buffer.h"

// The beginning of a file: up to 512 bytes, the rest of data is 0.
struct FirstBytes {
  Sector data{};
  std::size_t count = 0;  // 0: the file is empty or can't be read
};

// Checks the place of the file measured last (FStart and FLengthSectors of Measured): it covers no
// sector below 61, ends on the disk where the disk's length is known, and begins with first, but
// for the hidden-sectors field, which an earlier switch may have changed under a cached file. A
// file that begins with zeros proves nothing: a container that was never written looks so, whatever
// its sectors hold. Returns the sector of the picked drive at FStart; empty after a box that says
// what is wrong.
std::optional<Sector> ProvePlace(const std::string& file, const FirstBytes& first);
