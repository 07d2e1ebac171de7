#!/bin/sh
# Runs every benchmark of a build, one after another, on nothing but this machine's own time.
#
#   scripts/bench.sh <build folder>
set -eu
cd "$(dirname "$0")/.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$scratch}"
VELTRANE_PHOTOGRAPHS=$(scripts/fetch-photographs.sh)
export VELTRANE_PHOTOGRAPHS
find "$1/bench" -name '*_bench' -type f -perm -u+x | sort > "$scratch/programs"
while read -r program; do
  echo "== $(basename "$program")"
  "$program"
done < "$scratch/programs"
echo "== instructions"
bench/instructions.sh "$1/bench/instructions_probe"
if [ -x "$1/bench/no_face_sweep" ]; then
  echo "== frames without a face"
  "$1/bench/no_face_sweep"
fi
