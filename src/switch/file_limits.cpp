#include "switch/file_limits.h"

#include "imagefiles/measured_file.h"
#include "report/message_box.h"

bool StartIsAtLeast(std::int64_t smallest) {
  if (!(Measured.FStartSectors < smallest)) return true;
  MsgBox({.title = "Bad FStart", .text = "ERROR: Bad Start sector!", .icon = Icon::Stop});
  return false;
}

bool LengthIsAtLeast(std::int64_t smallest) {
  if (!(Measured.FLengthSectors < smallest)) return true;
  MsgBox({.title = "Bad FLength", .text = "ERROR: Bad File length!", .icon = Icon::Stop});
  return false;
}

bool IsShorterThan2TB(const std::string& file) {
  if (Measured.FLength.size() <= kHexDigitsOf32Bits) return true;
  MsgBox({.title = "File too large",
          .text = "ERROR: File " + file + " is larger than 2TB!",
          .icon = Icon::Exclamation});
  return false;
}

bool LiesWithin2TB(const std::string& file, const std::string& start) {
  if (start.size() <= kHexDigitsOf32Bits) return true;
  MsgBox({.title = "File beyond 2TB",
          .text = "ERROR: File " + file + " is beyond 2TB on disk!",
          .icon = Icon::Exclamation});
  return false;
}
