// Does a file of a given path exist?
#pragma once

#include <string>

// The bare name of the file at path, hidden and system files included; empty when there is none,
// when it is a folder, or when the look-up fails.
std::string ProbeFile(const std::string& path);

// The same as a yes or no.
bool FileIsThere(const std::string& path);
