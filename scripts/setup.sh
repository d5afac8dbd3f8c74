#!/bin/sh
# Installs the Debian packages that a task needs: setup.sh GROUP...
# Groups: compiler, native, x64, windows, dist, wine, stories, debootstrap, boot, format, tidy. As
# root it installs what is missing; otherwise it lists what is missing and fails.
set -eu

packages() {
  case $1 in
    compiler) echo g++ ;;
    native) echo cmake ninja-build g++ libgtest-dev libbenchmark-dev python3 ;;
    x64) echo cmake ninja-build g++-mingw-w64-x86-64 python3 ;;
    windows) echo cmake ninja-build g++-mingw-w64-x86-64 g++-mingw-w64-i686 python3 ;;
    dist) echo cmark-gfm git python3 ;;
    stories) echo wine wine64 xvfb xauth imagemagick ntfs-3g exfat-fuse exfatprogs fusefat mtools \
      dosfstools e2fsprogs fdisk mount nasm python3 ;;
    wine) echo "$(packages stories)" g++-mingw-w64-x86-64 ;;
    debootstrap) echo debootstrap debian-archive-keyring ;;
    boot) echo qemu-system-x86 ovmf nasm fdisk python3 ;;
    format) echo clang-format git ;;
    tidy) echo clang clang-tidy clang-format git ;;
    *) echo "setup.sh: no group $1" >&2; exit 2 ;;
  esac
}

missing=
for group in "$@"; do
  names=$(packages "$group")
  for name in $names; do
    case " $missing " in *" $name "*) continue ;; esac
    if ! dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q ' installed$'; then
      missing="$missing $name"
    fi
  done
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" -ne 0 ] || ! command -v apt-get >/dev/null; then
  echo "Missing packages:$missing" >&2
  echo "Run this as root on Debian 12 or 13, or install them yourself." >&2
  exit 1
fi

echo "Installing:$missing"
export DEBIAN_FRONTEND=noninteractive
for try in 1 2 3; do
  # shellcheck disable=SC2086
  if apt-get -qq update && apt-get -qq install --no-install-recommends $missing >/dev/null; then
    exit 0
  fi
  echo "setup.sh: attempt $try failed" >&2
  sleep $((try * 5))
done
exit 1
