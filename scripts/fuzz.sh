#!/bin/sh
# Runs each fuzz harness for a while from the seeds in the repository, then every step of the fault
# loops, then worlds made at random.
# usage: scripts/fuzz.sh [seconds per harness] [worlds]
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
worlds=${2:-1000000}
mkdir -p build/fuzz-found
cmake --preset fuzz >build/fuzz-configure.log
cmake --build --preset fuzz >build/fuzz-build.log || { tail -40 build/fuzz-build.log; exit 1; }
for name in sector extents name answer parse; do
  mkdir -p "build/fuzz-corpus/$name"
  echo "== $name"
  build/fuzz/tests/fuzz/fuzz_"$name" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix=build/fuzz-found/ "build/fuzz-corpus/$name" "tests/fuzz/corpus/$name" \
    >"build/fuzz-$name.log" 2>&1 || { tail -40 "build/fuzz-$name.log"; exit 1; }
  grep -E 'number_of_executed_units|DONE' "build/fuzz-$name.log"
done
cmake --preset native >build/native-configure.log
cmake --build --preset native --target rotate_tests >build/native-build.log
echo "== every step of the loops"
ROTATE_THOROUGH=1 build/native/tests/rotate_tests --gtest_filter='Acts/*' --gtest_brief=1
echo "== worlds"
ROTATE_WORLDS=$worlds build/native/tests/rotate_tests --gtest_filter='RandomWorlds.*' --gtest_brief=1
