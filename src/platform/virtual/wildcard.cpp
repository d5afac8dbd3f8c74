#include "platform/virtual/wildcard.h"

#include "text/text.h"

namespace {

bool Matches(const char* pattern, const char* name) {
  for (;; ++pattern) {
    switch (*pattern) {
      case '\0':
        return *name == '\0';
      case '*':
        for (const char* rest = name;; ++rest) {
          if (Matches(pattern + 1, rest)) return true;
          if (*rest == '\0') return false;
        }
      case '?':
        if (*name != '\0' && *name != '.') ++name;
        break;
      case '.':
        if (*name == '\0' && (pattern[1] == '*' || pattern[1] == '?')) break;
        [[fallthrough]];
      default:
        if (*pattern != *name) return false;
        ++name;
    }
  }
}

}  // namespace

bool WildcardMatches(const std::string& pattern, const std::string& name) {
  if (pattern == "*.*") return true;
  return Matches(UpperCase(pattern).c_str(), UpperCase(name).c_str());
}
