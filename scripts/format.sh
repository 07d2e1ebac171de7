#!/bin/sh
# Formats the sources in place; with --check only tells which lines are not as they should be.
set -eu
cd "$(dirname "$0")/.."

mode=-i
[ "${1:-}" != --check ] || mode="--dry-run -Werror"
git ls-files -z -- '*.h' '*.cpp' | xargs -0 clang-format $mode
