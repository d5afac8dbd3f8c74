#include "platform/virtual/wildcard.h"

#include "text/text.h"

namespace {

// Matches one pattern character other than a star and moves name past it. False: no match.
bool Takes(const char* pattern, const char*& name) {
  if (*pattern == '?') {
    if (*name != '\0' && *name != '.') ++name;
    return true;
  }
  if (*pattern == '.' && *name == '\0') return pattern[1] == '*' || pattern[1] == '?';
  if (*pattern == '\0' || *pattern != *name) return false;
  ++name;
  return true;
}

// Only the last star is ever tried with a longer run: it can take whatever an earlier one could. So
// many stars cost no more than one.
bool Matches(const char* pattern, const char* name) {
  const char* afterStar = nullptr;
  const char* afterRun = nullptr;
  while (*pattern != '\0' || *name != '\0') {
    if (*pattern == '*') {
      afterStar = ++pattern;
      afterRun = name;
    } else if (Takes(pattern, name)) {
      ++pattern;
    } else {
      if (afterStar == nullptr || *afterRun == '\0') return false;
      pattern = afterStar;
      name = ++afterRun;
    }
  }
  return true;
}

}  // namespace

bool WildcardMatches(const std::string& pattern, const std::string& name) {
  if (pattern == "*.*") return true;
  return Matches(UpperCase(pattern).c_str(), UpperCase(name).c_str());
}
