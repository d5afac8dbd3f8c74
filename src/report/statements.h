// The platform's statements as the routines use them: a failure goes to the running routine
// (report/routine.h). True: all of the work was done.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

bool FileCopy(const std::string& from, const std::string& to);
bool FileDelete(const std::string& path);
bool FileRename(const std::string& from, const std::string& to);
bool MakeFolder(const std::string& path);

// Reads the whole file as text. Leaves text unchanged if the file can't be read.
bool ReadTextFile(const std::string& path, std::string& text);

// Reads up to bytes from the start of the file into data; count is how many there were.
bool ReadBinaryFile(const std::string& path, std::uint8_t* data, std::size_t bytes,
                    std::size_t& count);

// Appends line and CR LF.
bool AppendLine(const std::string& path, const std::string& line);

// Starts a command line. Returns the child's process identifier, 0 if it didn't start.
std::uint32_t Shell(const std::string& program, const std::string& commandLine, int windowStyle);
