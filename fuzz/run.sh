#!/bin/sh
# Builds the fuzz targets and runs them side by side. Exit status 1 when one finds something: a
# crash, a sanitizer's report, an input of more than 10 s, or more than 1 GB of memory. The input is
# then left in the folder that is named at the end.
# usage: fuzz/run.sh [SECONDS [BUILD-FOLDER]]
set -eu
seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${2:-$root/build/fuzz}

cmake -S "$root" --preset fuzz -B "$build" >"$build.log" 2>&1 || { cat "$build.log"; exit 1; }
targets='document_rows error_body method_list base64_picture passkey_options passkey_store hostile_key'
cmake --build "$build" --target $(printf 'fuzz_%s ' $targets)

# What was freed is watched for a while, pictures of 256 MiB not for long.
export ASAN_OPTIONS="quarantine_size_mb=32:${ASAN_OPTIONS:-}"
work=$(mktemp -d)
# The seeds that are made of the sandbox's flows are of no use to all.
fuzz() {
  mkdir -p "$work/$1" "$build/fuzz/seeds/$1"
  "$build/fuzz/fuzz_$1" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 -max_len=65536 \
    -dict="$root/fuzz/flow.dict" -print_final_stats=1 -artifact_prefix="$work/$1-" \
    "$work/$1" "$root/fuzz/seeds/$1" "$build/fuzz/seeds/$1" >"$work/$1.log" 2>&1 ||
    : >"$work/$1.failed"
}
for name in $targets; do fuzz "$name" & done
wait
failed=0
for name in $targets; do
  [ ! -e "$work/$name.failed" ] || failed=1
  echo "== $name"
  grep -E 'stat::|ERROR|SUMMARY|runtime error' "$work/$name.log" || tail -n 20 "$work/$name.log"
done
if [ $failed = 0 ]; then
  rm -rf "$work"
else
  tail -n 60 "$work"/*.log
  echo "A finding: the inputs and logs are in $work"
fi
exit $failed
