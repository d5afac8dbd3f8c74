#include "report/routine.h"

#include "platform/platform.h"
#include "report/log.h"
#include "report/message_box.h"
#include "text/text.h"

void Routine::Failed(const Fault& fault) {
  if (running_ == nullptr || !running_->reporting_) return;
  running_->handler_ != nullptr ? running_->handler_(fault) : running_->Show(fault);
}

void Routine::Show(const Fault& fault) const {
  std::string text =
      "Err.Number=" + Decimal(fault.number) + " Err.Description=" + fault.description;
  switch (layout_) {
    case ReportLayout::MainWindow:
      text += " Me.Name=Form1.";
      break;
    case ReportLayout::Module:
    case ReportLayout::ModuleSilent:
      text += " ";
      break;
    case ReportLayout::ModuleNoBlank:
      break;
  }
  text += std::string(label_) + " Erl=" + Decimal(Erl);
  WriteLog(text);
  if (layout_ != ReportLayout::ModuleSilent) MsgBox({.text = text});
}

std::string APIErrorDescription(std::uint32_t code) {
  const Routine me(ReportLayout::Module, "APIErrorDescription");
  WriteLog("------- APIErrorDescription Started ----------------");
  constexpr std::uint32_t kBuffer = 255;
  std::string text = Sys.facts->FormatMessage(kFormatMessageFromSystem, code, 0, kBuffer);
  // StripNull logs its whole argument: a buffer of blanks that begins with the text and a NUL.
  if (!text.empty()) text += '\0';
  if (text.size() < kBuffer) text.resize(kBuffer, ' ');
  return StripNull(text);
}

std::string StripNull(const std::string& text) {
  WriteLog("------- StripNull (" + text + ") Started ----------------");
  const std::string trimmed = Trim(text);
  const std::size_t nul = text.find('\0');
  if (nul == std::string::npos) return trimmed;
  return trimmed.substr(0, nul);
}

std::string StripNulls(std::string OriginalStr) {
  OriginalStr = Trim(OriginalStr);
  return OriginalStr.substr(0, OriginalStr.find('\0'));
}
