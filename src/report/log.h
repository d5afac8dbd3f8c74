// Lines for the log. The log itself, a text file in the temp folder, is shell/log_writer.h.
#pragma once

#include <string>

// True while log lines are written.
extern bool LoggingEnabled;

// Appends a line to the log. Does nothing while LoggingEnabled is False; a line that can't be
// written is lost.
void WriteLog(const std::string& message);
