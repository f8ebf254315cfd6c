#!/usr/bin/env bash
# Transforms, components, the nearest pixel and the view, on pictures worked out by hand.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

group4_tiff page.tif \
  "##...." \
  "..#..." \
  "......" \
  "....##"

converts --mirror x -- "....##" "......" "..#..." "##...."
converts --mirror y -- "....##" "...#.." "......" "##...."
converts --turn 1 -- "...#" "...#" "...." ".#.." "#..." "#..."
converts --turn -1 -- "...#" "...#" "..#." "...." "#..." "#..."
converts --turn -2147483647 -- "...#" "...#" "...." ".#.." "#..." "#..."
converts --turn 2 -- "##...." "......" "...#.." "....##"
converts --scale 2 -- "####........" "####........" "....##......" "....##......" "............" \
  "............" "........####" "........####"
# Point sampling takes every other row and drops the pixels that shrink to nothing.
converts --scale 0.5 -- "#.." "..."
converts --scale 0.5,min -- "##." "..#"
# A third is rounded up to a number of 32768ths, so two columns are left.
converts --scale 0.33333333 -- ".."
# 200 dpi becomes 100 as a scale of 0.5.
converts --dpi 100 -- "#.." "..."
grep -q "Resolution: 100, 100 pixels/inch" <<<"$(tiffinfo out.tif)" || fail "resolution"
converts --polygon "1,0 5,0 5,4 1,4" -- "#####." ".####." ".####." ".#####"
converts --polygon "0,0 6,0 6,4 0,4 0,0 6,0 6,4 0,4" -- "##...." "..#..." "......" "....##"
converts --polygon "0,0 6,0 6,4 0,4 0,0 6,0 6,4 0,4;rule=nonzero;colour=0" -- \
  "......" "......" "......" "......"
converts --component 2,1 -- "##." "..#"

# 2479 x 3508 pixels at 300 dpi: halves round down, to the nearest in width alone, or up.
page=$root/docs/page/page.tif
resized() { # WANTED OPTION...
  "$RLE" convert "$page" out.rle "${@:2}"
  "$RLE" info out.rle | grep -q "  size  *$1 pixels" || fail "${*:2}: $("$RLE" info out.rle)"
}
resized "1240 x 1754" --scale 0.5,nearest
resized "1240 x 1754" --scale 0.5,min
resized "1652 x 2338" --dpi 200
# Its diagonals: (2479 + 3508) / sqrt 2 is 4233.4.
resized "4234 x 4234" --rotate 45
resized "4234 x 4234" --rotate -315

[[ $("$RLE" component page.tif 4,3 piece.tif) == "left 4, top 3, width 2, height 1" ]] ||
  fail "place of a component"
expect_picture piece.tif "##"
nearest() { # POINT RADIUS ANSWER
  local answer
  answer=$("$RLE" nearest page.tif "$1" --radius "$2")
  [[ $answer == "$3" ]] || fail "nearest $1: $answer"
}
nearest 2,1 2 "2,1 distance 0.00"
nearest 5,1 9 "5,3 distance 2.00"
# The row Y + radius is not searched.
nearest 5,1 2 "2,1 distance 3.00"
[[ $("$RLE" nearest page.tif 600,403) == "5,3 distance 716.96" ]] || fail "far away"

# Each dot by itself, and the end of a line of characters trimmed: dots 1 2 3 7 4 5 6 8.
group4_tiff dots.tif "#........#......" "..#........#...." "....#........#.." "......#........#" \
  "................" "#..............."
printf '%b' '\xe2\xa0\x81\xe2\xa0\x82\xe2\xa0\x84\xe2\xa1\x80' \
  '\xe2\xa0\x88\xe2\xa0\x90\xe2\xa0\xa0\xe2\xa2\x80\n' '\xe2\xa0\x82\n' >wanted
"$RLE" view dots.tif >drawn
cmp drawn wanted
# At half the size every pixel is still there: 2 x 2 pixels a dot, which leaves 8 x 3 dots.
printf '%b' '\xe2\xa0\x8d\xe2\xa0\x92\xe2\xa0\x89\xe2\xa0\x92\n' >wanted
"$RLE" view dots.tif --width 4 >drawn
cmp drawn wanted
"$RLE" view "$page" | awk 'length($0) > 80 * 3 { exit 1 }' || fail "a line is too wide"
