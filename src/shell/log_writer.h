// The log: a text file in the temp folder, off until the user turns it on.
#pragma once

#include <cstdint>
#include <string>

// True while log lines are written. Only Label1_DblClick changes it.
extern bool LoggingEnabled;

// Lines written since the program started or since the last rotation.
extern std::int32_t LogLineCount;

// The temp folder in its long form, ending in a backslash. Set by start-up.
extern std::string TempFolder;

// Appends a line "yyyy-mm-dd HH:nn:ss.mmm" TAB message CR LF to TempFolder + "Rotate_TSD.log".
// Does nothing while LoggingEnabled is False. A line that can't be written is lost. Behind 60001
// lines the log is copied to a name with the date and begun anew.
void WriteLog(const std::string& message);

// Turns logging on or off.
void Label1_DblClick();
