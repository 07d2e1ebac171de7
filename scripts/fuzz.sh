#!/bin/bash
# Runs one fuzz target for a while, from the seeds in fuzz/seeds/<target>. What it finds is kept.
#
#   scripts/fuzz.sh <program> <seconds>
set -euo pipefail

name=$(basename "$1")
seeds="$(dirname "$0")/../fuzz/seeds/$name"
corpus=$(mktemp -d -t "veltrane-$name-XXXXXX")
trap 'rm -rf "$corpus"' EXIT
folders=("$corpus")
[ ! -d "$seeds" ] || folders+=("$seeds")
log="$1.log"
if "$1" "${folders[@]}" -max_total_time="$2" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
  -artifact_prefix="$1-" > "$log" 2>&1; then
  echo "$name: $(grep -o 'number_of_executed_units: *[0-9]*' "$log" | tail -1), nothing found"
else
  tail -60 "$log"
  echo "$name: FOUND A FAULT; its input is beside $1"
  exit 1
fi
