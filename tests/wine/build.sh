#!/bin/sh
# Builds the Windows side of the rig into the folder given: the library, the launcher, the robot and
# the stand-in for the extents tool.
set -eu
out=$1
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
mkdir -p "$out"
newer() { # newer TARGET SOURCE...: true when TARGET is there and no SOURCE is younger
  target=$1
  shift
  [ -e "$target" ] && [ -z "$(find "$@" "$here/build.sh" -newer "$target")" ]
}
compile() { # compile TARGET "SOURCES" FLAGS...
  target=$out/$1
  sources=$2
  shift 2
  # shellcheck disable=SC2086
  newer "$target" $sources "$here/supervisor_line.h" || x86_64-w64-mingw32-g++ -std=c++20 -Os -s -static -Wall -Wextra -Werror \
    -Wno-cast-function-type -I"$root/src" $sources -o "$target" "$@"
}
compile virtual_usb.dll "$here/virtual_usb.cpp" -shared -lws2_32
compile launcher.exe "$here/launcher.cpp"
compile robot.exe "$here/robot.cpp" -lgdi32
compile getFileExtents.exe "$here/extents_stand_in.cpp $root/src/imagefiles/extents_text.cpp" \
  -lws2_32 -lshell32
