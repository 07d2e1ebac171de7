#!/bin/sh
# Runs a program with the photographs that it draws with.
#
#   tests/vision/with_photographs.sh <program> [argument...]
set -eu
VELTRANE_PHOTOGRAPHS=$("$(dirname "$0")/../../scripts/fetch-photographs.sh")
export VELTRANE_PHOTOGRAPHS
exec "$@"
