// Do two files hold the same bytes on the device?
#pragma once

#include <string>

// True if both files could be read whole and hold the same bytes. Reads past the system's cache,
// so that what the device never kept is noticed. False also where a file is open for writing
// elsewhere, where a read fails or moves fewer bytes than there are, and for a folder. Lets no
// events run.
bool HoldSameBytes(const std::string& path1, const std::string& path2);
