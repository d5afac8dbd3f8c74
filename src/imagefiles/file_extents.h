// Where a file begins on the physical disk, how long it is, and whether it is contiguous. The
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

// Opens the copy at GFE_Path and holds it. True: it is held and identical to the tool at original.
bool HoldToolCopy(const std::string& original);

// Releases the copy and deletes it if it exists.
void DeleteToolCopy();

// The command line that has the tool, at a path with a drive letter, print to the file output where
// file lies.
std::string ToolCommand(const std::string& tool, const std::string& file,
                        const std::string& output);

// Measures the file. The results are the fields FStart to GFE_File of Measured; FStartSectors is 0
// if there is no usable result, and MoreThanOneExtent is set for a fragmented file. Shows its own
// boxes.
void GetFileStart(const std::string& fFILE);

// Value of a hexadecimal text, with or without blanks around it; the digits aren't checked. Returns
// 0 for an empty text and for more than 24 digits.
ExactInteger HexToDec(std::string sHex);
