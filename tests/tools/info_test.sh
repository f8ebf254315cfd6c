#!/usr/bin/env bash
# What `rle info` says, checked against figures counted by hand or by libtiff's tools.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

group4_tiff small.tif "..####......" "..#..#...##." "..##........" "#..........#"
size=$(stat -c %s small.tif)

# 7 runs in 4 rows, 12 of 48 pixels black; 4 rows of 2 bytes as bits. At 200 dpi 12 pixels are
# 1.524 mm.
"$RLE" info small.tif >text
for line in "small.tif" "  size        12 x 4 pixels, 1.5 x 0.5 mm, black and white" "  resolution  200 dpi" \
  "  runs        7, 1.8 a row" "  black       25.00 %" \
  "  file        TIFF, Group 4, $size bytes" "  pages       1"; do
  grep -qxF -- "$line" text || fail "no line '$line' in: $(cat text)"
done
grep -q " bytes as runs, 8 bytes as bits$" text || fail "$(cat text)"

# A file that fails does not hide the others.
status=0
"$RLE" info --json small.tif nowhere.tif "$root/docs/page/page.tif" >json 2>stderr || status=$?
[[ $status == 1 && $(cat stderr) == "rle: nowhere.tif: No such file or directory" ]] ||
  fail "status $status, $(cat stderr)"
for line in '"width": 2479,' '"height": 3508,' '"resolution": 300,' '"runs": 7,' '"pages": 1,' \
  '"blackShare": 0.25,' "\"fileBytes\": $size," '"bytesAsBits": 1087480'; do
  grep -qF -- "$line" json || fail "no $line in: $(cat json)"
done
(($(grep -c '"file":' json) == 2)) || fail "two files were to be listed"

grep -qE '^rle [0-9]+\.[0-9]+\.[0-9]+$' <<<"$("$RLE" --version)" || fail "version"
grep -q -- "--blank X1,Y1,X2,Y2" <<<"$("$RLE" convert --help)" || fail "help"
status=0
"$RLE" info small.tif >/dev/full 2>stderr || status=$?
((status == 1)) || fail "a full standard output must be told"
