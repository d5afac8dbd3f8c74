#!/bin/sh
# Builds the Windows side of the rig: build.sh FOLDER TRIPLE. That is the library, the launcher, the
# robot, a program to plant and a substitute extents tool.
set -eu
out=$1
triple=$2
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$out"
newer() { # newer TARGET SOURCE...: true if TARGET exists and no SOURCE is newer
  target=$1
  shift
  [ -e "$target" ] && [ -z "$(find "$@" "$here/build.sh" -newer "$target")" ]
}
compile() { # compile TARGET "SOURCES" FLAGS...
  target=$out/$1
  sources=$2
  shift 2
  # shellcheck disable=SC2086
  newer "$target" $sources "$here"/*.h || "$triple-g++" -std=c++20 -Os -s -static -Wall \
    -Wextra -Werror -Wno-cast-function-type $sources -o "$target" "$@"
}
compile virtual_usb.dll "$here/virtual_usb.cpp" -shared -lws2_32
compile launcher.exe "$here/launcher.cpp"
compile planted.exe "$here/planted.cpp"
compile robot.exe "$here/robot.cpp $here/window_robot.cpp $here/../src/text/wide_text.cpp" -I "$here/../src"
compile scripted_extents.exe "$here/scripted_extents.cpp"
