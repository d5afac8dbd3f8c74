#include "imagefiles/interpreter_rules.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/platform.h"
#include "text/text.h"

namespace {

// Variables that the interpreter computes, or sets if its environment lacks them.
constexpr std::string_view kOwnVariables[] = {
    "CD",   "CMDCMDLINE", "CMDEXTVERSION", "COMSPEC", "DATE", "ERRORLEVEL", "HIGHESTNUMANODENUMBER",
    "PATH", "PATHEXT",    "PROMPT",        "RANDOM",  "TIME"};

bool HasControlOrQuote(const std::string& path) {
  return std::any_of(path.begin(), path.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"'; });
}

// The user's setting, or the machine's if the user has none.
std::string Setting(const std::string& name) {
  const auto own = Sys.facts->InterpreterSetting(SettingsOf::User, name);
  return own ? *own : Sys.facts->InterpreterSetting(SettingsOf::Machine, name).value_or("");
}

bool IsOn(const std::string& setting) {
  return !setting.empty() && setting != "0";
}

// AutoRun commands run before every other one and may set any variable.
bool RunsCommandsFirst() {
  constexpr const char* kName = "AutoRun";
  return !Sys.facts->InterpreterSetting(SettingsOf::User, kName).value_or("").empty() ||
         !Sys.facts->InterpreterSetting(SettingsOf::Machine, kName).value_or("").empty();
}

bool IsVariable(const std::string& name) {
  if (name.empty()) return false;
  if (name.front() == '=') return true;  // current folders of drives, exit codes
  return std::find(std::begin(kOwnVariables), std::end(kOwnVariables), UpperCase(name)) !=
             std::end(kOwnVariables) ||
         Sys.facts->Environment(name).has_value();
}

// The text between two % is a name, or a name, a colon and a substitution.
bool NamesVariable(const std::string& text) {
  for (std::size_t colon = text.find(':'); colon != std::string::npos;
       colon = text.find(':', colon + 1)) {
    if (IsVariable(text.substr(0, colon))) return true;
  }
  return IsVariable(text);
}

// If a pair of % names nothing, its second % may begin another name.
bool HoldsVariable(const std::string& text) {
  std::size_t first = text.find('%');
  if (first == std::string::npos || text.find('%', first + 1) == std::string::npos) return false;
  if (RunsCommandsFirst()) return true;
  for (std::size_t second; (second = text.find('%', first + 1)) != std::string::npos;
       first = second) {
    if (NamesVariable(text.substr(first + 1, second - first - 1))) return true;
  }
  return false;
}

}  // namespace

bool InterpreterChangesQuoted(const std::string& path) {
  return HasControlOrQuote(path) || HoldsVariable(path) ||
         (Contains(path, "!") && IsOn(Setting("DelayedExpansion")));
}

bool InterpreterChangesBare(const std::string& path) {
  // The + joins files, * and ? match others, and , ; = split arguments as a blank does. The line
  // holds the path twice.
  return path.find_first_of("&|<>^()+*?,;=") != std::string::npos ||
         InterpreterChangesQuoted(path + " " + path);
}
