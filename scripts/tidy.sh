#!/bin/sh
# clang-format and clang-tidy over everything of ours; fails on the first thing that either says.
set -eu
cd "$(dirname "$0")/.."
sources=$(git ls-files '*.cpp' '*.h' '*.c')
echo "$sources" | xargs clang-format --dry-run --Werror
mkdir -p build
cmake --preset native >build/native-configure.log
echo "$sources" | grep -E '^(src/.*|helper/runs)\.cpp$' | grep -vE '^src/(platform/win32|app/main)' |
  xargs -P "$(nproc)" -n 4 clang-tidy -p build/native --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
