// Facts of the virtual system. Those of a volume are kept with it.
//
// Does not model: short paths (every path is its own long form unless set otherwise).
#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/system_facts.h"
#include "platform/virtual/machine.h"

class VirtualFacts : public SystemFacts {
 public:
  explicit VirtualFacts(Machine& machine) : machine_(machine) {}

  std::string GetTempPath(std::uint32_t size) noexcept override;
  std::string GetLongPathName(const std::string& shortPath, std::uint32_t size) noexcept override;
  bool GetVersionEx(VersionInfo& version) noexcept override;
  bool GetVolumeInformation(const std::string& root, std::string& label, std::uint32_t labelSize,
                            std::uint32_t& serial, std::string& fileSystem,
                            std::uint32_t fileSystemSize) noexcept override;
  std::string FormatMessage(std::uint32_t flags, std::uint32_t code, std::uint32_t language,
                            std::uint32_t size) noexcept override;
  std::string TextOfCodePage(const std::string& bytes) noexcept override;
  std::optional<std::string> Environment(const std::string& name) noexcept override;
  std::optional<std::string> InterpreterSetting(SettingsOf whose,
                                                const std::string& name) noexcept override;
  std::string SystemFolder() noexcept override { return systemFolder; }
  std::string ProgramFolder() noexcept override { return programFolder; }
  std::string ProgramName() noexcept override { return programName; }
  int LogicalDriveCount() noexcept override;

  std::string tempPath = "C:\\Temp\\";           // empty: the call fails
  std::map<std::string, std::string> longPaths;  // short to long
  VersionInfo version{2, 6, 2};
  std::map<std::string, std::string> environment;  // by upper-case name
  std::map<std::pair<SettingsOf, std::string>, std::string> interpreterSettings;
  std::string systemFolder = "C:\\Windows\\system32";
  std::string programFolder = "C:\\Rotate";
  std::string programName = "Rotate_TSD";
  int furtherDrives = 0;  // letters in addition to those of the present volumes

 private:
  std::string Give(const Step& step, const std::string& text, std::uint32_t size);

  Machine& machine_;
};
