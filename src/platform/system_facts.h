// Facts of the system and of the running program. Sizes count UTF-16 units including the NUL.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The fields of OSVERSIONINFO that the program uses (winnt.h).
struct VersionInfo {
  std::uint32_t platformId = 0;
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
};

enum class SettingsOf : std::uint8_t { User, Machine };

constexpr std::uint32_t kFormatMessageFromSystem = 0x1000;

class SystemFacts {
 public:
  virtual ~SystemFacts() = default;

  // The empty text on failure, also if the path doesn't fit into size.
  [[nodiscard]] virtual std::string GetTempPath(std::uint32_t size) noexcept = 0;
  [[nodiscard]] virtual std::string GetLongPathName(const std::string& shortPath,
                                                    std::uint32_t size) noexcept = 0;

  [[nodiscard]] virtual bool GetVersionEx(VersionInfo& version) noexcept = 0;

  // root is a volume text and a backslash. False: there is no such volume, or a text doesn't fit
  // its size.
  [[nodiscard]] virtual bool GetVolumeInformation(const std::string& root, std::string& label,
                                                  std::uint32_t labelSize, std::uint32_t& serial,
                                                  std::string& fileSystem,
                                                  std::uint32_t fileSystemSize) noexcept = 0;

  // The text of an error number; empty if there is none.
  [[nodiscard]] virtual std::string FormatMessage(std::uint32_t flags, std::uint32_t code,
                                                  std::uint32_t language,
                                                  std::uint32_t size) noexcept = 0;

  // Decodes bytes that a device sent, by the system's ANSI code page.
  [[nodiscard]] virtual std::string TextOfCodePage(const std::string& bytes) noexcept = 0;

  // The value of an environment variable; none if it doesn't exist.
  [[nodiscard]] virtual std::optional<std::string> Environment(
      const std::string& name) noexcept = 0;

  // A value of the command interpreter's registry key, Software\Microsoft\Command Processor. A
  // number is returned as decimal digits.
  [[nodiscard]] virtual std::optional<std::string> InterpreterSetting(
      SettingsOf whose, const std::string& name) noexcept = 0;

  // Windows' system folder, without a closing backslash; the empty text on failure.
  [[nodiscard]] virtual std::string SystemFolder() noexcept = 0;

  // The folder of the running program without a closing backslash, and its file name without the
  // extension.
  [[nodiscard]] virtual std::string ProgramFolder() noexcept = 0;
  [[nodiscard]] virtual std::string ProgramName() noexcept = 0;

  // How many drive letters the system has now.
  [[nodiscard]] virtual int LogicalDriveCount() noexcept = 0;
};
