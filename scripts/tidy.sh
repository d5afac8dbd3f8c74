#!/bin/sh
# Checks the order of the modules, and all our code with clang-format and clang-tidy; fails at the first
# finding.
set -eu
cd "$(dirname "$0")/.."
sources=$(git ls-files '*.cpp' '*.h' '*.c')
echo "$sources" | xargs clang-format --dry-run --Werror
# Includes go one way: no module includes from a module that stands after it in this list.
# shellcheck disable=SC2046
awk -F '[/"]' '
  BEGIN { n = split("text platform report disk imagefiles restore switch shell rehearsal app", modules, " ")
          for (i = 1; i <= n; ++i) floor[modules[i]] = i }
  /^#include "/ { split(FILENAME, path, "/")
                  if (floor[$2] > floor[path[2]]) { print FILENAME ": " $0; upward = 1 } }
  END { exit upward }' $(git ls-files 'src/*.cpp' 'src/*.h')
# No header that makes the executables large, or that GCC 14 compiles for a Windows after XP only.
if git grep -nE '#include <(iostream|locale|regex|filesystem|memory|mutex|thread|condition_variable)>' -- \
  src helper check ':!src/platform/virtual' ':!src/rehearsal' ':!src/app/rehearse.cpp'; then exit 1; fi
mkdir -p build
cmake --preset native >build/native-configure.log
checked=$(echo "$sources" | grep -E '^(src/.*|helper/runs|check/(extents|facts)_check)\.cpp$' |
  grep -vE '^src/(platform/win32|app/main)')
lint() { # lint CHECKS: adds to those of .clang-tidy, or takes away
  xargs -P "$(nproc)" -n 4 clang-tidy -p build/native --quiet --checks="$1" \
    --extra-arg=-Wno-unknown-warning-option --extra-arg=-I. 2>/dev/null
}
# The analyzer takes longer than all else, so it looks at what ships only.
double='^src/(platform/virtual|rehearsal|app)/'
echo "$checked" | grep -vE "$double" | lint ''
echo "$checked" | grep -E "$double" | lint '-clang-analyzer-*'
