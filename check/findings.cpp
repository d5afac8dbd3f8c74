#include "check/findings.h"

#include <tuple>

#include "platform/win32/standard_output.h"

namespace {

constexpr std::uint32_t kCreateAlways = 2;  // winbase.h, CREATE_ALWAYS
constexpr std::size_t kVerdictWidth = 19;
constexpr const char* kVerdicts[] = {"passed", "FAILED", "not possible here"};

}  // namespace

bool Findings::WriteTo(const std::string& path) {
  file_ = Sys.devices->CreateFile(path, kGenericReadWrite, kShareRead, kCreateAlways, 0);
  return file_ != kInvalidHandle;
}

void Findings::Say(const std::string& line) {
  const std::string text = line + "\r\n";
  Print(text);
  if (file_ == kInvalidHandle) return;
  std::uint32_t written = 0;
  std::ignore = Sys.devices->WriteFile(file_, reinterpret_cast<const std::uint8_t*>(text.data()),
                                       static_cast<std::uint32_t>(text.size()), written);
}

bool Findings::PrintTable() {
  int counts[std::size(kVerdicts)] = {};
  Say("");
  for (const Row& row : rows_) {
    const auto verdict = static_cast<std::size_t>(row.verdict);
    ++counts[verdict];
    std::string line = kVerdicts[verdict];
    line.resize(kVerdictWidth, ' ');
    Say(line + row.name + (row.note.empty() ? "" : ": " + row.note));
  }
  std::string total;
  for (std::size_t i = 0; i < std::size(kVerdicts); ++i) {
    total += (i == 0 ? "" : ", ") + std::to_string(counts[i]) + " " + kVerdicts[i];
  }
  Say("\r\n" + total);
  return counts[static_cast<std::size_t>(Verdict::Failed)] == 0;
}
