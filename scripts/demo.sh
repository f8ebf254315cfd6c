#!/usr/bin/env bash
# Installs what is missing, builds the program and edits the page that ships with the project:
# blanks an area, cuts out and merges back a part of it, frames the page, and writes Group 4 TIFF
# to demo/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-deps.sh demo

# A build of its own, so that the tests' and benchmarks' libraries are not needed here.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! {
  cmake --preset release -B build/demo -DRLE_BUILD_TESTS=OFF -DRLE_BUILD_BENCH=OFF
  cmake --build build/demo
} >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi

mkdir -p demo
rle=build/demo/bin/rle
page=docs/page/page.tif
"$rle" convert "$page" demo/heading.tif --crop 0,0,2478,270
"$rle" convert "$page" demo/edited.tif \
  --blank 1250,500,2400,900 \
  --merge demo/heading.tif,0,3230,replace \
  --crop 0,60,2478,3500 \
  --frame 12

echo "From $page, which Ghostscript encoded, the program made:"
echo "  demo/heading.tif  $(stat -c %s demo/heading.tif) bytes: the heading, cropped from the page"
echo "  demo/edited.tif   $(stat -c %s demo/edited.tif) bytes: an area blanked, the heading merged"
echo "                    in at the foot, the margins cropped, a frame drawn"
"$rle" info "$page" demo/edited.tif
