#!/bin/sh
# Photographs to try cameras and vision with, out of Debian packages that need not be installed. Prints
# the folder they are in; they are downloaded once and kept in the user's cache.
#
#   scripts/fetch-photographs.sh [name...]     without a name: all
set -eu

# Name, package, path in it, checksum. Two portraits in the public domain: Grace Hopper (US Navy) and
# Eileen Collins (NASA). The others show no face, camera.png one from the side; they may be used freely.
data=usr/lib/python3/dist-packages/skimage/data
all="
grace_hopper.jpg python-matplotlib-data usr/share/matplotlib/mpl-data/sample_data a8ca6d734765703b09728ab47fe59f473d93ae3967fc24c7c0288c3c7adb7130
astronaut.png python3-skimage $data 88431cd9653ccd539741b555fb0a46b61558b301d4110412b5bc28b5e3ea6cb5
camera.png python3-skimage $data b0793d2adda0fa6ae899c03989482bff9a42d3d5690fc7e3648f2795d730c23a
chelsea.png python3-skimage $data 596aa1e7cb875eb79f437e310381d26b338a81c2da23439704a73c4651e8c4bb
coffee.png python3-skimage $data cc02f8ca188b167c775a7101b5d767d1e71792cf762c33d6fa15a4599b5a8de7
coins.png python3-skimage $data f8d773fc9cfa6f4d8e5942dc34d0a0788fcaed2a4fefbbed0aef5398d7ef4cba
brick.png python3-skimage $data 7966caf324f6ba843118d98f7a07746d22f6a343430add0233eca5f6eaaa8fcf
grass.png python3-skimage $data b6b6022426b38936c43a4ac09635cd78af074e90f42ffa8227ac8b7452d39f89
gravel.png python3-skimage $data c48615b451bf1e606fbd72c0aa9f8cc0f068ab7111ef7d93bb9b0f2586440c12
moon.png python3-skimage $data 78739619d11f7eb9c165bb5d2efd4772cee557812ec847532dbb1d92ef71f577
motorcycle_left.png python3-skimage $data db18e9c4157617403c3537a6ba355dfeafe9a7eabb6b9b94cb33f6525dd49179
rocket.jpg python3-skimage $data c2dd0de7c538df8d111e479619b129464d0269d0ae5fd18ca91d33a7fdfea95c"
folder="${XDG_CACHE_HOME:-$HOME/.cache}/veltraneflow/photographs"
[ $# -gt 0 ] || set -- $(printf '%s\n' "$all" | cut -d ' ' -f 1)

fail() {
  echo "$0: $1" >&2
  exit 1
}

scratch=
trap '[ -z "$scratch" ] || rm -rf "$scratch"' EXIT

# Unpacks a package into "$scratch/<package>", once.
unpack() {
  [ -n "$scratch" ] || scratch=$(mktemp -d)
  [ ! -d "$scratch/$1" ] || return 0
  # Root's downloads are made by a user of their own, who has to get in.
  chmod 755 "$scratch"
  (cd "$scratch" && apt-get -q download "$1" > log 2>&1) ||
    fail "cannot download the package $1: $(tail -n 1 "$scratch/log")"
  dpkg -x "$scratch/$1"_*.deb "$scratch/$1" || fail "cannot unpack the package $1"
}

for name in "$@"; do
  entry=$(printf '%s\n' "$all" | awk -v name="$name" '$1 == name')
  [ -n "$entry" ] || fail "there is no photograph $name"
  set -- $entry
  if echo "$4  $folder/$name" | sha256sum --check --status 2> /dev/null; then continue; fi
  unpack "$2"
  echo "$4  $scratch/$2/$3/$name" | sha256sum --check --status ||
    fail "$name in the package $2 is not the photograph that it was"
  mkdir -p "$folder"
  # In one step: another one of us may be at it.
  cp "$scratch/$2/$3/$name" "$folder/.$name.$$"
  mv "$folder/.$name.$$" "$folder/$name"
done
echo "$folder"
