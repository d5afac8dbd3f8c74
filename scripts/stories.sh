#!/bin/sh
# Whole runs of an executable under Wine: stories.sh x64|x86 [STORY...]. The x64 executable runs under
# the host's Wine, the x86 one under Wine 10. 'make windows' builds them.
set -eu
cd "$(dirname "$0")/.."
export ROTATE_ARCHITECTURE="${1:?x64 or x86}"
shift
if [ "$ROTATE_ARCHITECTURE" = x86 ]; then
  scripts/wine10.sh setup
  python3 -B rig/prepare.py
  exec scripts/wine10.sh run python3 -B tests/wine/stories.py "$@"
fi
exec python3 -B tests/wine/stories.py "$@"
