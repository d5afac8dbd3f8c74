// File name matching as in a directory search.
#pragma once

#include <string>

// "*" any run, "?" one character or, at the end of a name or before its dot, none; "*.*"
// everything; a dot before a wildcard may also match the end. Ignores the case of ASCII letters.
bool WildcardMatches(const std::string& pattern, const std::string& name);
