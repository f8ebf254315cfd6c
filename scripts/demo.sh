#!/usr/bin/env bash
# Installs what is missing, builds the program and edits the page that ships with the project:
# crops, blanks, merges and frames, and writes the results as Group 4 TIFF to demo/.
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
"$rle" convert "$page" demo/title.tif --crop 900,110,1580,206
"$rle" convert "$page" demo/edited.tif \
  --blank 1290,430,2310,1260 \
  --merge demo/title.tif,1460,790,set \
  --crop 100,50,2378,3457 \
  --frame 12

echo "Read $page, which another program encoded, and made from it, as Group 4 TIFF:"
echo "  demo/title.tif   $(stat -c %s demo/title.tif) bytes: the title, cropped out"
echo "  demo/edited.tif  $(stat -c %s demo/edited.tif) bytes: a part blanked, the title merged in there,"
echo "                   the margins cropped, a frame drawn"
"$rle" info "$page" demo/edited.tif
