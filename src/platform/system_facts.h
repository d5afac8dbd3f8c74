// Facts of the system and of the running program.
#pragma once

#include <cstdint>
#include <string>

// The fields of OSVERSIONINFO that the program uses (winnt.h).
struct VersionInfo {
  std::uint32_t platformId = 0;
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
};

constexpr std::uint32_t kFormatMessageFromSystem = 0x1000;

class SystemFacts {
 public:
  virtual ~SystemFacts() = default;

  // Both give the count of characters put into buffer, without the NUL; 0 on failure.
  virtual std::uint32_t GetTempPath(std::uint32_t size, char* buffer) = 0;
  virtual std::uint32_t GetLongPathName(const std::string& shortPath, char* buffer,
                                        std::uint32_t size) = 0;

  virtual bool GetVersionEx(VersionInfo& version) = 0;

  // root is a volume text and a backslash. The sizes count characters with a closing NUL, however
  // many bytes each has. False when there is no such volume or a text doesn't fit its size.
  virtual bool GetVolumeInformation(const std::string& root, std::string& label,
                                    std::uint32_t labelSize, std::uint32_t& serial,
                                    std::string& fileSystem, std::uint32_t fileSystemSize) = 0;

  // The text of an error number into buffer, ending in a NUL; gives its length, 0 on failure.
  virtual std::uint32_t FormatMessage(std::uint32_t flags, std::uint32_t code,
                                      std::uint32_t language, char* buffer, std::uint32_t size) = 0;

  // The value of an environment variable, or the empty text.
  virtual std::string Environment(const std::string& name) = 0;

  // Windows' own folder for programs, without a closing backslash; the empty text on failure.
  virtual std::string SystemFolder() = 0;

  // The folder of the running program without a closing backslash, and its file name without the
  // extension.
  virtual std::string ProgramFolder() = 0;
  virtual std::string ProgramName() = 0;

  // How many drive letters the system has at this moment.
  virtual int LogicalDriveCount() = 0;
};
