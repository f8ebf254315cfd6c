#!/usr/bin/env bash
# Prints the table of ratios that stands in the README: this library beside what one would use
# instead, measured in one run.
#
#   scripts/bench.sh             the shipped text page, a generated halftone page and a wide sheet
#   scripts/bench.sh PAGE...     one-strip Group 4 TIFF files of your own
set -euo pipefail
pages=()
for page in "$@"; do pages+=("$(realpath -- "$page")"); done
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-deps.sh bench >&2
{
  cmake --preset release
  cmake --build --preset release --target rle_bench
} >&2
build/release/bin/rle_bench "${pages[@]}"
