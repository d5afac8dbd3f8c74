// The statements of the platform, as the routines use them: one that fails is dealt with by the
// routine that runs (report/routine.h). True: it did all of its work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

bool FileCopy(const std::string& from, const std::string& to);
bool FileDelete(const std::string& path);
bool FileRename(const std::string& from, const std::string& to);
bool MakeFolder(const std::string& path);

// The whole file as text; text stays as it is where the file can't be read.
bool ReadTextFile(const std::string& path, std::string& text);

// Up to bytes from the start of the file into data; count is how many there were.
bool ReadBinaryFile(const std::string& path, std::uint8_t* data, std::size_t bytes,
                    std::size_t& count);

// Appends line and CR LF.
bool AppendLine(const std::string& path, const std::string& line);

// Starts a command line. Returns the child's process identifier, 0 where it didn't start.
std::uint32_t Shell(const std::string& program, const std::string& commandLine, int windowStyle);
