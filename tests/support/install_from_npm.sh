#!/bin/sh
# Installs what tests need from npm, as the lock file beside them has it. Fails when node, npm or one
# of the programs is not there.
#
#   tests/support/install_from_npm.sh <folder of the lock file> <folder to install into> [program...]
set -eu
here="$1"
folder="$2"
shift 2
mkdir -p "$folder"
if cmp -s "$here/package-lock.json" "$folder/package-lock.json" && [ -e "$folder/installed" ]; then
  exit 0
fi
rm -f "$folder/installed"
cp "$here/package.json" "$here/package-lock.json" "$folder"
for program in node npm "$@"; do
  if ! command -v "$program" > /dev/null; then
    echo "$0: there is no $program; scripts/install-packages.sh test installs it" >&2
    exit 1
  fi
done
if ! npm ci --prefix "$folder" --prefer-offline --no-audit --no-fund --ignore-scripts; then
  echo "$0: npm cannot install the packages of $here/package-lock.json" >&2
  exit 1
fi
touch "$folder/installed"
