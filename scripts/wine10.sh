#!/bin/sh
# Wine 10, which runs x86 programs on a 64-bit Debian: the host's own, or one in a Debian 13 root.
#   wine10.sh setup            fetches whatever is missing to build/wine10
#   wine10.sh run COMMAND...   runs the command where Wine 10 is, in this folder, as root
# No foreign architecture is added to the host: of the i386 package, only the modules for Windows
# programs are unpacked, and WINEDLLPATH names them. Mounts for a command in the root exist for that
# command alone, so that build/ can always be deleted.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd -P)
store=$root/build/wine10
debian=$store/debian13
modules=$store/modules

version_here() {
  dpkg-query -W -f '${Version}' libwine 2>/dev/null
}

own_wine() {
  dpkg --compare-versions "$(version_here || echo 0)" ge 10
}

fail() {
  echo "wine10.sh: $*" >&2
  exit 1
}

# retry WHAT COMMAND...: for two and a half minutes, since a mirror may be in the middle of an update.
retry() {
  what=$1
  shift
  for try in 1 2 3 4 5 6; do
    if "$@"; then return 0; fi
    echo "wine10.sh: attempt $try: $what failed" >&2
    [ "$try" -eq 6 ] || sleep $((try * 10))
  done
  fail "$what failed; see the messages above. Wine 10 for the x86 executable is fetched once from a" \
    "Debian mirror: is the network there, and is the mirror whole? Try again later."
}

# The propagation by which unshare keeps mounts in their own namespace.
propagation() {
  if unshare --mount --propagation private true 2>/dev/null; then
    echo private
    return
  fi
  # A chroot has no mount point at "/", so its propagation can't be set. Does it reach the outside?
  mkdir -p "$store/probe"
  # shellcheck disable=SC2016
  unshare --mount --propagation unchanged sh -c 'mount -t tmpfs tmpfs "$1" && : >"$1/seen"' sh \
    "$store/probe" || fail "nothing can be mounted here"
  if [ -e "$store/probe/seen" ]; then
    umount "$store/probe"
    fail "mounts of this chroot reach the system outside; enter the chroot through 'unshare --mount'"
  fi
  echo unchanged
}

# inside ROOT COMMAND...: runs it in a Debian root, with this folder mounted at its own path.
inside() {
  where=$1
  shift
  unshare --mount --propagation "$(propagation)" --pid --fork --kill-child sh -euc '
    debian=$1 root=$2
    shift 2
    mount -t proc proc "$debian/proc"
    mount --rbind /dev "$debian/dev"
    mount --rbind /sys "$debian/sys"
    mount -t tmpfs -o mode=1777 tmpfs "$debian/tmp"
    mkdir -p "$debian$root"
    mount --bind "$root" "$debian$root"
    exec chroot "$debian" env -u DISPLAY -C "$root" HOME=/root LC_ALL=C.UTF-8 \
      PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"' sh "$where" "$root" "$@"
}

# The host's mirror, if a bare root can read from it; else debootstrap's default.
mirror() {
  # shellcheck disable=SC2016
  apt-get indextargets --format '$(REPO_URI)' 'Label: Debian' 2>/dev/null | grep -m 1 '^http://' || :
}

make_root() {
  rm -rf --one-file-system "$debian.new"
  # shellcheck disable=SC2046
  unshare --mount --propagation "$(propagation)" \
    debootstrap --variant=minbase trixie "$debian.new" $(mirror) >"$store/debootstrap.log" 2>&1 || {
    tail -n 5 "$store/debootstrap.log" >&2
    return 1
  }
}

setup_root() {
  "$root/scripts/setup.sh" debootstrap
  if [ ! -d "$debian" ]; then
    echo "Making a Debian 13 root for Wine 10 in ${debian#"$root/"}; this takes minutes, once"
    retry "making a Debian 13 root" make_root
    mv "$debian.new" "$debian"
  fi
  inside "$debian" scripts/setup.sh stories
  inside "$debian" apt-get clean
}

# Fetches the package of the version below from the mirror's pool, checked by its sum alone.
fetch_known() {
  [ "$(version_here)" = '10.0~repack-6' ] || return 1
  # shellcheck disable=SC2016
  uri=$(APT_CONFIG= apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' |
    head -n 1)
  /usr/lib/apt/apt-helper -qq download-file "${uri}pool/main/w/wine/libwine_10.0~repack-6_i386.deb" \
    libwine_i386.deb SHA256:fef4802a6553a17eaa40003333a86fc697440d1d21c5824f2dbd1c444f01527b
}

fetch_modules() {
  new=$modules.new
  rm -rf "$new"
  mkdir -p "$new/apt/lists/partial" "$new/apt/archives/partial"
  # shellcheck disable=SC2016
  apt-get indextargets --format 'deb [arch=i386] $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' >"$new/apt/sources.list"
  cat >"$new/apt/apt.conf" <<END
Dir::Etc::sourcelist "$new/apt/sources.list";
Dir::Etc::sourceparts "/dev/null";
Dir::State "$new/apt";
Dir::State::status "/dev/null";
Dir::Cache "$new/apt";
APT::Architecture "i386";
APT::Architectures:: "i386";
APT::Sandbox::User "root";
END
  # The index of the i386 packages may be older than the rest of a mirror: then the package is fetched
  # directly, if its sum is known.
  (cd "$new" && export APT_CONFIG="$new/apt/apt.conf" && { {
    apt-get -qq update && apt-get -qq download "libwine:i386=$(version_here)"
  } || fetch_known; } && dpkg-deb -x libwine_*.deb package) || return 1
  mv "$new/package/usr/lib/i386-linux-gnu/wine/i386-windows" "$new/i386-windows"
  # Wine looks for the host's part of a module beside it.
  ln -s "$(dpkg -L libwine:amd64 | grep -m 1 '/x86_64-unix$')" "$new/x86_64-unix"
  rm -rf "$new/package" "$new/apt" "$new"/*.deb
  version_here >"$new/version"
  rm -rf "$modules"
  mv "$new" "$modules"
}

# Where Wine 10 is: fetches its x86 side, of the same version.
setup_modules() {
  if [ "$(cat "$modules/version" 2>/dev/null)" != "$(version_here)" ]; then
    echo "Fetching Wine's modules for x86 programs"
    retry "fetching Wine's modules for x86 programs" fetch_modules
  fi
}

verb=${1:-}
[ $# -eq 0 ] || shift
[ "$(id -u)" -eq 0 ] || fail "needs root"
mkdir -p "$store"
case $verb in
  setup)
    exec 9>"$store/lock"
    flock 9
    if own_wine; then
      setup_modules
    else
      setup_root
      inside "$debian" scripts/wine10.sh modules
    fi
    ;;
  modules) setup_modules ;;
  run)
    if own_wine; then exec "$@"; fi
    inside "$debian" "$@"
    ;;
  *) fail "unknown task '$verb'" ;;
esac
