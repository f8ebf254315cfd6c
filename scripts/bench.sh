#!/usr/bin/env bash
# Prints the table of ratios that stands in the README: this library beside what one would use
# instead, measured in one run; and the pages a second that the program converts.
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
  cmake --build --preset release --target rle_bench rle_program
} >&2
build/release/bin/rle_bench "${pages[@]}"

# The text page 200 times over, turned upside down and written as Group 4 TIFF by two threads; beside
# it libtiff's tool, two processes at a time, which only reads and writes.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/in" "$work/out"
for ((i = 0; i < 200; ++i)); do cp docs/page/page.tif "$work/in/$i.tif"; done
pages_a_second() { # COMMAND...
  local start end
  start=$(date +%s%N)
  "$@"
  end=$(date +%s%N)
  echo $((200 * 1000000000 / (end - start)))
}
each_with_tiffcp() {
  find "$work/in" -name '*.tif' -printf '%f\n' |
    xargs -P 2 -I '{}' tiffcp -c g4 "$work/in/{}" "$work/out/{}"
}
echo
echo "Pages a second: rle convert --turn 2 -j 2 $(pages_a_second build/release/bin/rle convert \
  "$work"/in/*.tif --out-dir "$work/out" -j 2 --turn 2), tiffcp -c g4 $(pages_a_second each_with_tiffcp)"
