#!/usr/bin/env bash
# Many files in one call: all that can be converted are, each failure is told in a line of its own,
# and the threads give what one file at a time gives.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

inputs=()
for i in {1..24}; do
  group4_tiff "in$i.tif" "..##$(printf '#%.0s' $(seq "$i"))" "####$(printf '.%.0s' $(seq "$i"))"
  inputs+=("in$i.tif")
done
echo "no picture" >broken.tif
status=0
"$RLE" convert "${inputs[@]}" missing.tif broken.tif --out-dir out/deep --format png -j 3 \
  --mirror y >stdout 2>stderr || status=$?
[[ $status == 1 && ! -s stdout && $(wc -l <stderr) == 2 ]] || fail "status $status: $(cat stderr)"
grep -qx "rle: missing.tif: No such file or directory" stderr || fail "$(cat stderr)"
grep -qx "rle: broken.tif: not a raster file of a known format" stderr || fail "$(cat stderr)"
[[ $(find out/deep -type f | wc -l) == 24 ]] || fail "files are missing or left over"
for i in {1..24}; do
  "$RLE" convert "in$i.tif" one.png --mirror y
  cmp "out/deep/in$i.png" one.png
done

# TIFF unless another format is named; files that are there are replaced.
"$RLE" convert out/deep/in1.png --out-dir out -j 1
"$RLE" convert out/deep/in1.png --out-dir out
expect_picture out/in1.tif "###.." ".####"

# A bar on a terminal, gone at the end.
if command -v script >/dev/null; then
  script -qec "$(printf '%q ' "$RLE" convert "${inputs[@]}" --out-dir out)" /dev/null >screen
  grep -q '24/24' screen || fail "no bar was drawn"
fi
