#!/bin/sh
# Starts the real window on the demo stick, under Wine. Without a display a robot user works it.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
mkdir -p build

cannot() {
  echo "The window cannot run here: $1. 'make rehearse' needs nothing but a compiler." >&2
  exit 1
}
[ "$(id -u)" -eq 0 ] || cannot "the stick's file systems are mounted, which takes root"
scripts/setup.sh x64 wine || cannot "Wine and its companions are not installed"
[ -e /dev/fuse ] && [ -e /dev/loop-control ] || cannot "no /dev/fuse or no loop devices"

# The x64 executable; scripts/stories.sh runs the x86 one too.
{ cmake --preset win64 && cmake --build --preset win64; } >build/win64.log 2>&1 || {
  cat build/win64.log
  exit 1
}
exec python3 -B -u rig/demo.py
