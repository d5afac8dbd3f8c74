// Proves that a file lies where its table entry is going to point.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "disk/sector_buffer.h"
#include "imagefiles/measured_file.h"

// The beginning of a file: up to 512 bytes, the rest of data is 0.
struct FirstBytes {
  Sector data{};
  std::size_t count = 0;  // 0: the file is empty or can't be read
};

// Checks run, the place of the file: it covers no sector below 61, ends on the disk if the disk's
// length is known, and begins with first, except for the hidden-sectors field, which an earlier
// switch may have changed under a cached file. A file that begins with zeros proves nothing: a
// container that was never written looks the same, whatever its sectors hold. Returns the first
// sector of run on the picked drive; empty after a box that says what is wrong.
std::optional<Sector> ProvePlace(const std::string& file, const SectorRun& run,
                                 const FirstBytes& first);
