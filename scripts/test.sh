#!/bin/sh
# Everything that can be tested here, one stage after the other; the last line is the total.
# A stage that cannot run here is skipped with a reason, but never when CI is "true".
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root" || exit 1
mkdir -p build/log
passed=0
failed=0

count() { # count PASSED FAILED
  passed=$((passed + $1))
  failed=$((failed + $2))
}

# quiet NAME COMMAND...: one check; its output is shown only when it fails.
quiet() {
  name=$1
  shift
  begun=$(date +%s)
  if "$@" >"build/log/$name.log" 2>&1; then
    echo "PASS $name ($(($(date +%s) - begun)) s)"
    count 1 0
  else
    tail -n 60 "build/log/$name.log"
    echo "FAIL $name"
    count 0 1
    return 1
  fi
}

# counted NAME COMMAND...: a stage that ends with its own "N passed, N failed"; collect NAME adds up its
# counts, so that stages can run side by side.
counted() {
  name=$1
  shift
  "$@" 2>&1 | tee "build/log/$name.log"
}
collect() {
  total=$(tail -n 1 "build/log/$1.log" |
    sed -n 's/^\([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p')
  [ -n "$total" ] || echo "FAIL $1 stopped before its end"
  # shellcheck disable=SC2086
  count ${total:-0 1}
}

# unit PRESET [OPTION...]: builds the unit tests and runs them, with options for ctest.
unit() {
  preset=$1
  shift
  quiet "$preset-configure" cmake --preset "$preset" || return 1
  quiet "$preset-build" cmake --build --preset "$preset" || return 1
  ctest --preset "$preset" -j "$(nproc)" "$@" >"build/log/$preset-ctest.log" 2>&1
  # shellcheck disable=SC2046
  set -- $(sed -n 's/.* tests passed, \([0-9]*\) tests* failed out of \([0-9]*\)$/\1 \2/p' \
    "build/log/$preset-ctest.log")
  if [ $# -ne 2 ] || [ "$1" -ne 0 ]; then
    grep -v ' Passed ' "build/log/$preset-ctest.log"
  fi
  [ $# -eq 2 ] || set -- 1 1
  echo "$preset unit tests: $(($2 - $1)) of $2 passed"
  count $(($2 - $1)) "$1"
}

# The same sources make the same bytes of what ships, whichever folder they are built in.
same_bytes() {
  for preset in win64 win32; do
    again="build/again-$preset"
    rm -rf "$again"
    cmake --preset "$preset" -B "$again" &&
      cmake --build "$again" --target Rotate_TSD getFileExtents || return 1
    for program in Rotate_TSD getFileExtents; do
      cmp "build/$preset/$program.exe" "$again/$program.exe" || return 1
    done
  done
}

# Two packages of the same executables have the same sums, each can be unpacked, and its pages need
# no network.
same_package() {
  scripts/dist.py >build/log/dist-1 && sleep 2 && scripts/dist.py >build/log/dist-2 &&
    cmp build/log/dist-1 build/log/dist-2 && (cd dist && sha256sum -c SHA256SUMS) &&
    for zip in $(sed 's/.* /dist\//' dist/SHA256SUMS); do
      python3 -m zipfile -t "$zip" | grep -q 'Done testing' && scripts/check-package "$zip" || return 1
    done
}

# Everything without a window; the totals go to build/log/checks-count.
checks() (
  passed=0
  failed=0
  quiet tidy scripts/tidy.sh
  quiet check-executables scripts/check-executables
  quiet bench-programs cmake --build --preset win64 --target search_bench bare_window
  quiet reproducible same_bytes
  quiet package same_package
  unit native -LE loops  # the loops over all operations run once, sanitized
  unit asan
  echo "$passed $failed" >build/log/checks-count
)

# Both executables in a window, and the boots of their sticks.
stories() {
  if ! wait "$wine10"; then
    cat build/log/wine10.log
    skip "Wine 10 is not there, see above" "stories of the x86 executable, boot tests"
    counted stories-x64 scripts/stories.sh x64
    collect stories-x64
    return
  fi
  counted stories-x64 scripts/stories.sh x64 &
  x64=$!
  counted stories-x86 scripts/stories.sh x86
  wait "$x64"
  collect stories-x64
  collect stories-x86
  counted boot python3 -B tests/boot/boot_tests.py
  collect boot
}

# skip REASON STAGE: fails in a CI run, where every stage must run.
skip() {
  if [ "${CI:-}" = true ]; then
    echo "FAIL $2: $1"
    count 0 1
  else
    echo "SKIP $2: $1"
  fi
}

scripts/setup.sh native windows dist tidy || exit 1
stories=
if [ "$(id -u)" -ne 0 ] || [ ! -e /dev/fuse ] || [ ! -e /dev/loop-control ]; then
  skip "the stick's file systems are mounted: needs root, /dev/fuse and loop devices" \
    "stories under Wine, boot tests"
elif ! scripts/setup.sh wine boot debootstrap; then
  skip "Wine, QEMU or their companions are missing" "stories under Wine, boot tests"
else
  # Takes minutes the first time, most of it waiting for the network.
  stories=yes
  scripts/wine10.sh setup >build/log/wine10.log 2>&1 &
  wine10=$!
fi

for preset in win64 win32; do
  quiet "$preset-configure" cmake --preset "$preset" &&
    quiet "$preset-build" cmake --build --preset "$preset"
done

# The stories mostly wait, so everything else runs at the same time.
rm -f build/log/checks-count
checks &
beside=$!

[ -z "$stories" ] || stories

wait "$beside"
# shellcheck disable=SC2046
count $(cat build/log/checks-count || echo 0 1)

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
