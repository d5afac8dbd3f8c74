// Does a file of a given path exist?
#pragma once

#include <optional>
#include <string>

#include "platform/files.h"

// The directory entry of the file at path, hidden and system files included; none when there is no
// such file, when it is a folder, or when the look-up fails.
std::optional<FindData> FindFile(const std::string& path);

// Its bare name; empty where FindFile finds none.
std::string ProbeFile(const std::string& path);

// The same as a yes or no.
bool FileIsThere(const std::string& path);
