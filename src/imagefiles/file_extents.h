// Where a file begins on the physical disk, how long it is, and whether it lies in one piece. The
// answer comes from the external tool getFileExtents.exe.
#pragma once

#include <string>

#include "platform/devices.h"
#include "text/exact_integer.h"

// Full path of the temp copy of getFileExtents.exe; begins with a drive letter and a colon. Set by
// start-up.
extern std::string GFE_Path;

// The temp copy held open while the program runs, so that nobody can change, delete or rename what
// is run with this program's rights.
extern Handle ToolCopyHandle;

// Holds the copy at GFE_Path. True: it is held and is byte for byte the tool at original.
bool HoldToolCopy(const std::string& original);

// Lets the copy go and deletes it if it is there.
void DeleteToolCopy();

// Measures the file. The results are the fields FStart to GFE_File of Measured; FStartSectors is 0
// when there is no usable one, MoreThanOneExtent tells of a file in pieces. Shows its own boxes.
void GetFileStart(const std::string& fFILE);

// Value of a hexadecimal text, blanks around it allowed; no check of the digits. An empty text and
// one of more than 24 digits return 0.
ExactInteger HexToDec(std::string sHex);
