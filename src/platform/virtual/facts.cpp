#include "platform/virtual/facts.h"

#include <algorithm>

#include "platform/virtual/code_page.h"
#include "text/text.h"
#include "text/wide_text.h"

std::string VirtualFacts::Give(const Step& step, const std::string& text, std::uint32_t size) {
  const bool fits = !text.empty() && WideText(text).size() < size;
  return machine_.End(step, fits && !step.Refused(), kErrorInsufficientBuffer) ? text : "";
}

std::string VirtualFacts::GetTempPath(std::uint32_t size) noexcept {
  return Give(machine_.Begin(Op::Fact, "temp-path"), tempPath, size);
}

std::string VirtualFacts::GetLongPathName(const std::string& shortPath,
                                          std::uint32_t size) noexcept {
  const auto found = longPaths.find(shortPath);
  return Give(machine_.Begin(Op::Fact, "long-path"),
              found == longPaths.end() ? shortPath : found->second, size);
}

bool VirtualFacts::GetVersionEx(VersionInfo& info) noexcept {
  const Step step = machine_.Begin(Op::Fact, "version");
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  info = version;
  return machine_.End(step, true);
}

bool VirtualFacts::GetVolumeInformation(const std::string& root, std::string& label,
                                        std::uint32_t labelSize, std::uint32_t& serial,
                                        std::string& fileSystem,
                                        std::uint32_t fileSystemSize) noexcept {
  const Step step = machine_.Begin(Op::Fact, "volume-information", root);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  VirtualVolume* volume =
      root.size() == 3 && root.ends_with(":\\") ? machine_.VolumeAt(UpperCase(root)[0]) : nullptr;
  if (volume == nullptr) return machine_.Fail(step, kErrorPathNotFound);
  if (!machine_.Mount(*volume)) return machine_.Fail(step, kErrorAccessDenied);
  if (volume->fileSystem.empty()) return machine_.Fail(step, 1005);  // ERROR_UNRECOGNIZED_VOLUME
  if (WideText(volume->label).size() >= labelSize || volume->fileSystem.size() >= fileSystemSize) {
    return machine_.Fail(step, 234);  // ERROR_MORE_DATA
  }
  label = volume->label;
  fileSystem = volume->fileSystem;
  serial = volume->serial;
  return machine_.End(step, true);
}

std::string VirtualFacts::FormatMessage(std::uint32_t, std::uint32_t code, std::uint32_t,
                                        std::uint32_t size) noexcept {
  const Step step = machine_.Begin(Op::Fact, "message", std::to_string(code));
  std::string text;
  switch (code) {
    case kErrorInvalidFunction:
      text = "Incorrect function.\r\n";
      break;
    case kErrorAccessDenied:
      text = "Access is denied.\r\n";
      break;
    case kErrorIoDevice:
      text = "The request could not be performed because of an I/O device error.\r\n";
      break;
    default:
      text = "Error " + std::to_string(code) + ".\r\n";
  }
  return Give(step, text, size);
}

std::string VirtualFacts::TextOfCodePage(const std::string& bytes) noexcept {
  return FromCodePage(bytes);
}

std::optional<std::string> VirtualFacts::Environment(const std::string& name) noexcept {
  const auto found = environment.find(UpperCase(name));
  if (found == environment.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> VirtualFacts::InterpreterSetting(SettingsOf whose,
                                                            const std::string& name) noexcept {
  const auto found = interpreterSettings.find({whose, name});
  if (found == interpreterSettings.end()) return std::nullopt;
  return found->second;
}

int VirtualFacts::LogicalDriveCount() noexcept {
  const Step step = machine_.Begin(Op::Fact, "drive-count");
  if (!machine_.End(step, !step.Refused(), machine_.plan.error)) return 0;
  const auto there = std::count_if(
      machine_.volumes.begin(), machine_.volumes.end(),
      [&](const auto& volume) { return machine_.VolumeAt(volume->letter) == volume.get(); });
  return static_cast<int>(there) + furtherDrives;
}
