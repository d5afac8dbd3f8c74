// Moves one file to a place after another on the disk. A file can't be placed; it can be copied and
// the old one deleted, which lets the file system choose a new place (moving_file.h says how,
// safely).
#pragma once

#include <array>
#include <string>

#include "text/exact_integer.h"

// Start sector of the file that is moved, by round from 1; 0 where unused.
using RoundPositions = std::array<ExactInteger, 501>;

// The start sector of File2 at the last ComparePos.
extern ExactInteger LastStart;

// Copies LastFile, then FirstFile once, then LastFile again, until LastFile starts after FirstFile,
// its places repeat or the rounds run out; reports the outcome in its own boxes. On return Measured
// describes the file measured last. Moves nothing if a temporary name is that of ImageFile or of
// its companion or fourth file.
void MoveFiles(const std::string& FirstFile, const std::string& LastFile,
               const std::string& ImageFile);

// True if File2 starts after File1; false also if one of them is fragmented.
bool ComparePos(const std::string& File1, const std::string& File2);

// True if the place of round 1 returns in round 3 or later.
bool RepeatPos(const RoundPositions& Positions);

// True for a file that is neither hidden nor a system file.
bool FileExists(const std::string& FileName);
