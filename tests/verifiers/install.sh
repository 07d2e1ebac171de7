#!/bin/sh
# Installs the verifiers that the tests of passkeys compare with, from npm, as the lock file has it.
#
#   tests/verifiers/install.sh <folder>
set -eu
here="$(dirname "$0")"
mkdir -p "$1"
if cmp -s "$here/package-lock.json" "$1/package-lock.json" && [ -e "$1/installed" ]; then
  exit 0
fi
rm -f "$1/installed"
cp "$here/package.json" "$here/package-lock.json" "$1"
for program in node npm; do
  if ! command -v "$program" > /dev/null; then
    echo "$0: there is no $program; scripts/install-packages.sh test installs it" >&2
    exit 1
  fi
done
if ! npm ci --prefix "$1" --prefer-offline --no-audit --no-fund --ignore-scripts; then
  echo "$0: npm cannot install the packages of $here/package-lock.json" >&2
  exit 1
fi
touch "$1/installed"
