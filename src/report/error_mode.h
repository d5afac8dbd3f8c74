// The two error modes in which every routine runs. A routine makes one ErrorMode and runs each
// statement that can fail as a step of it; a step that faults never ends the routine.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "platform/fault.h"

// How a report is worded, and whether it is shown.
enum class ReportLayout {
  MainWindow,     // "... Me.Name=Form1." label
  Module,         // "... " label
  ModuleSilent,   // as Module, logged but not shown
  ModuleNoBlank,  // as Module, no blank in front of the label
};

class ErrorMode {
 public:
  // Ignore mode: a step that faults is passed over.
  ErrorMode() = default;

  // Reporting mode: a step that faults is logged and shown under the routine's RoutineLabel.
  ErrorMode(ReportLayout layout, const char* RoutineLabel)
      : layout_(layout), label_(RoutineLabel), reporting_(true) {}

  // Reporting mode with a handler of the routine's own.
  explicit ErrorMode(void (*handler)(const Fault&)) : handler_(handler), reporting_(true) {}

  // For a routine that changes between the modes from stretch to stretch.
  void Ignore() { reporting_ = false; }
  void Report() { reporting_ = label_ != nullptr || handler_ != nullptr; }

  // Runs one step.
  template <class Step>
  void operator()(Step&& step) {
    try {
      std::forward<Step>(step)();
    } catch (const Fault& fault) {
      if (reporting_) handler_ != nullptr ? handler_(fault) : ReportFault(fault);
    }
  }

  // Runs one step that gives a value; fallback where it faults.
  template <class Value, class Step>
  [[nodiscard]] Value operator()(Value fallback, Step&& step) {
    (*this)([&] { fallback = std::forward<Step>(step)(); });
    return fallback;
  }

  int Erl = 0;  // the mark passed last, for the report; 0 in routines without marks

 private:
  void ReportFault(const Fault& fault) const;

  ReportLayout layout_ = ReportLayout::Module;
  const char* label_ = nullptr;
  void (*handler_)(const Fault&) = nullptr;
  bool reporting_ = false;
};

// Text of a platform error number.
std::string APIErrorDescription(std::uint32_t code);

// The text up to its first NUL, trimmed of blanks. StripNull looks for the NUL before it trims and
// writes a line to the log; StripNulls trims first and is silent.
std::string StripNull(const std::string& text);
std::string StripNulls(std::string OriginalStr);
