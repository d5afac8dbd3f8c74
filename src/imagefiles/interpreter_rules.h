// What the command interpreter makes of a path in a command line.
#pragma once

#include <string>

// True where the command interpreter would act on a character of the path even between quotes, or
// where the path can't stand between quotes. Asks the system which variables there are.
bool InterpreterChangesQuoted(const std::string& path);

// True where the command interpreter would act on a character of the path without quotes, other
// than splitting it at blanks.
bool InterpreterChangesBare(const std::string& path);
