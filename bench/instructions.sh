#!/bin/sh
# Instructions of "document to rows" over those of a bare parse of the same text, counted by
# callgrind. Exit status 1 when the ratio is above the limit.
# usage: bench/instructions.sh [PROBE [BYTES [LIMIT]]]
set -eu
probe=${1:-$(dirname "$0")/../build/bench/bench/instructions_probe}
bytes=${2:-1000000}
limit=${3:-1.12}

count() {
  valgrind --tool=callgrind --callgrind-out-file=/dev/null "$probe" "$1" "$bytes" "$2" 2>&1 |
    sed -n 's/.*Collected : *\([0-9]*\).*/\1/p'
}
# Twice less once leaves out what the program does around the work.
rows=$(($(count rows 2) - $(count rows 1)))
parse=$(($(count parse 2) - $(count parse 1)))
awk -v rows="$rows" -v parse="$parse" -v limit="$limit" -v bytes="$bytes" 'BEGIN {
  if (rows <= 0 || parse <= 0) { print "no counts: is valgrind installed?"; exit 1 }
  ratio = rows / parse
  printf "RATIO %.2f (wanted at most %.2f%s)  instructions, document of %d bytes  %d / %d\n",
         ratio, limit, (ratio > limit ? ", MISSED" : ""), bytes, rows, parse
  exit (ratio > limit)
}'
