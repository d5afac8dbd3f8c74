#!/bin/sh
# Line and branch coverage of the logic by the native tests, one row per folder. Needs g++ and gcov.
# usage: scripts/coverage.sh [build folder]     (COVERAGE_FILES=1: also one row per file)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/coverage}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS="--coverage -O0" >"$build.log" 2>&1 || { cat "$build.log"; exit 1; }
nice cmake --build "$build" -j2 >"$build.log" 2>&1 || { tail -40 "$build.log"; exit 1; }
find "$build" -name '*.gcda' -delete  # of an earlier run
ctest --test-dir "$build" -j2 >"$build.log" 2>&1 || tail -20 "$build.log" >&2
tail -4 "$build.log" | grep 'tests passed' || true

# Branches that only an exception takes are left out: every call would count as one.
find "$build/src/CMakeFiles" -name '*.gcda' -exec gcov --json-format --stdout --branch-probabilities {} + |
  python3 -c '
import collections, json, os, sys
root, lines, branches = sys.argv[1], {}, {}
for text in sys.stdin:
    for file in json.loads(text)["files"]:
        name = os.path.relpath(os.path.realpath(file["file"]), root)
        if not name.startswith("src/"):
            continue
        for line in file["lines"]:
            place = (name, line["line_number"])
            lines[place] = max(lines.get(place, 0), line["count"])
            for i, branch in enumerate(b for b in line["branches"] if not b["throw"]):
                branches[place + (i,)] = max(branches.get(place + (i,), 0), branch["count"])
rows = collections.defaultdict(lambda: [0, 0, 0, 0])
for counts, at in ((lines, 0), (branches, 2)):
    for place, count in counts.items():
        groups = [place[0].split("/")[1], "~all"]
        if os.environ.get("COVERAGE_FILES"):
            groups.append(place[0].split("/", 1)[1])
        for group in groups:
            rows[group][at] += count > 0
            rows[group][at + 1] += 1
share = lambda hit, of: f"{100 * hit / of:5.1f} %" if of else "    - "
print(f"{chr(32):32} {chr(32):>14}lines {chr(32):>9}branches")
for group in sorted(rows):
    hit, of, taken, all = rows[group]
    print(f"{group.lstrip(chr(126)):32} {hit:5}/{of:5} {share(hit, of)} {taken:5}/{all:5} {share(taken, all)}")
' "$root"
