// Do two files hold the same bytes on the device?
#pragma once

#include <string>

// True if both files could be read whole and hold the same bytes. Reads past the system's cache, so
// that what the device lost is noticed. False also for a folder, for a file that is open for
// writing elsewhere, and after a failed or short read. The title bar names the file of path2
// meanwhile; no events run.
bool HoldSameBytes(const std::string& path1, const std::string& path2);
