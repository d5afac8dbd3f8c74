// The file measured last: where it lies on the physical disk and how long it is.
#pragma once

#include <cstdint>
#include <string>

#include "text/exact_integer.h"

// Written by GetFileStart, and by CommitTable for the image itself. FStart and FLength are
// hexadecimal texts in sectors of 512 bytes; FStartSectors is 0 while there is no usable result.
struct MeasuredFile {
  std::string FStart;
  ExactInteger FStartSectors;
  std::string FLength;
  ExactInteger FLengthSectors;
  bool MoreThanOneExtent = false;
  std::string GFE_Command;  // the tool's whole command line
  std::string GFE_Text;     // everything that the tool printed, or empty
  std::string GFE_File;     // the file that the tool's output is sent to; set by start-up
};

extern MeasuredFile Measured;

// Contiguous sectors of the disk, as a table entry holds them.
struct SectorRun {
  std::uint32_t first = 0, count = 0;
};
