// The two error modes in which every routine runs. A routine with its own mode says so in its first
// line. A statement (report/statements.h) that fails is reported or ignored, as the running
// routine's mode says, and never ends that routine.
#pragma once

#include <cstdint>
#include <string>

#include "platform/fault.h"

// How a report is worded, and whether it is shown.
enum class ReportLayout {
  MainWindow,     // "... Me.Name=Form1." label
  Module,         // "... " label
  ModuleSilent,   // as Module, logged but not shown
  ModuleNoBlank,  // as Module, no blank before the label
};

// Lives as long as the routine. One made later, in a called routine, takes precedence.
class Routine {
 public:
  // Ignore mode: a failed statement is ignored.
  Routine() = default;

  // Reporting mode: a failure is logged and shown under RoutineLabel.
  Routine(ReportLayout layout, const char* RoutineLabel)
      : layout_(layout), label_(RoutineLabel), reporting_(true) {}

  // Reporting mode with the routine's own handler.
  explicit Routine(void (*handler)(const Fault&)) : handler_(handler), reporting_(true) {}

  ~Routine() { running_ = caller_; }
  Routine(const Routine&) = delete;
  Routine& operator=(const Routine&) = delete;

  // For a routine that switches between the modes.
  void Ignore() { reporting_ = false; }
  void Report() { reporting_ = label_ != nullptr || handler_ != nullptr; }

  // Passes the failure to the running routine. Without one it is ignored.
  static void Failed(const Fault& fault);

  int Erl = 0;  // the last mark passed, for the report; 0 in routines without marks

 private:
  void Show(const Fault& fault) const;

  static inline const Routine* running_ = nullptr;

  const Routine* caller_ = running_;
  ReportLayout layout_ = ReportLayout::Module;
  const char* label_ = nullptr;
  void (*handler_)(const Fault&) = nullptr;
  bool reporting_ = false;
  bool entered_ = (running_ = this) != nullptr;
};

// Text of a platform error number.
std::string APIErrorDescription(std::uint32_t code);

// The text up to its first NUL, trimmed of blanks. StripNull looks for the NUL before it trims and
// writes a line to the log; StripNulls trims first and is silent.
std::string StripNull(const std::string& text);
std::string StripNulls(std::string OriginalStr);  // nothing calls it; its rule is kept
