// The log: a text file in the temp folder, off until the user turns it on. WriteLog appends a line
// "yyyy-mm-dd HH:nn:ss.mmm" TAB message CR LF to TempFolder + "Rotate_TSD.log". After 60001 lines
// the log is copied to a name with the date and restarted.
#pragma once

#include <cstdint>
#include <string>

#include "report/log.h"

// Lines written since the program started or since the last rotation.
extern std::int32_t LogLineCount;

// The temp folder in its long form, ending in a backslash. Set by start-up.
extern std::string TempFolder;

// Turns logging on or off; nothing else changes LoggingEnabled.
void Label1_DblClick();
