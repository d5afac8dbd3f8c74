// The fields of the one window object that rooms below the shell fill and read. It stands apart
// from main_window.h so that they need nothing else of the shell.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "text/exact_integer.h"

struct MainForm {
  // The file measured last (GetFileStart). FStart and FLength are hexadecimal texts in sectors of
  // 512 bytes; FStartSectors is 0 while there is no usable result.
  std::string FStart;
  ExactInteger FStartSectors;
  std::string FLength;
  ExactInteger FLengthSectors;
  bool MoreThanOneExtent = false;
  std::string GFE_Command;  // the tool's whole command line
  std::string GFE_Text;     // everything that the tool printed, or empty
  std::string GFE_File;     // the file that the tool's output is sent to; set by start-up

  // FStart and FLength as bytes for a table entry, lowest first: one or two hexadecimal digits
  // each (Get_start_length_bytes).
  std::array<std::string, 4> StartBytes;
  std::array<std::string, 4> LengthBytes;

  ExactInteger LastStart;  // start sector of File2 at the last ComparePos

  std::int16_t SettleDelay = 0;  // milliseconds; the waits around a write take half of it
  bool WRITES_OK = false;        // the user has agreed once to write to drive 0
  float FormHeight = 0;          // the window's outer size at load, in twips
  float FormWidth = 0;
};

extern MainForm Form1;
