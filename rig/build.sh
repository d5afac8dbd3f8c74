#!/bin/sh
# Builds the Windows side of the rig into the folder given: the library, the launcher and the
# robot.
set -eu
out=$1
here=$(cd "$(dirname "$0")" && pwd)
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
  newer "$target" $sources "$here"/*.h || x86_64-w64-mingw32-g++ -std=c++20 -Os -s -static -Wall \
    -Wextra -Werror -Wno-cast-function-type $sources -o "$target" "$@"
}
compile virtual_usb.dll "$here/virtual_usb.cpp" -shared -lws2_32
compile launcher.exe "$here/launcher.cpp"
compile robot.exe "$here/robot.cpp" -lgdi32
compile told_extents.exe "$here/told_extents.cpp"
