#!/usr/bin/env bash
# Makes the pictures in the documents from the shipped page: docs/before-after.png, which shows it and
# what the demo makes of it, and docs/pictures/: a piece of it before and after each transform, and
# lines in every style. Needs imagemagick.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/demo.sh >/dev/null
montage docs/page/page.tif demo/edited.tif -resize 440x -bordercolor gray60 -border 1 \
  -geometry +12+12 -background white -colorspace gray -depth 4 -strip docs/before-after.png

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rle=build/demo/bin/rle
mkdir -p docs/pictures
# picture NAME OPTION...: what the operations make of the piece, with a line around it
picture() {
  "$rle" convert "$work/piece.tif" "$work/$1.tif" "${@:2}"
  convert "$work/$1.tif" -bordercolor black -border 1 -monochrome -depth 1 -strip \
    "docs/pictures/$1.png"
}
"$rle" convert docs/page/page.tif "$work/piece.tif" --crop 225,3020,644,3289
picture before
picture mirror-x --mirror x
picture mirror-y --mirror y
picture turn --turn 1
picture rotate --rotate 10
picture scale-point --scale 0.37
picture scale-nearest --scale 0.37,nearest
picture scale-min --scale 0.37,min
picture dpi --dpi 150
picture polygon --polygon "210,10 290,260 80,105 340,105 130,260"
picture polygon-nonzero --polygon "210,10 290,260 80,105 340,105 130,260;rule=nonzero;colour=0"
picture component --component 20,8
# Lines: a column for each cap and join, with the line through the vertices in white; then dashes.
area=0,0,599,391
lines=(--crop "$area" --blank "$area")
caps=(butt round square)
joins=(mitre round bevel)
for i in 0 1 2; do
  x=$((200 * i))
  cap="$((x + 50)),40 $((x + 150)),40"
  join="$((x + 40)),180 $((x + 100)),105 $((x + 160)),180"
  closed="$((x + 45)),225 $((x + 155)),225 $((x + 100)),275 $((x + 45)),225"
  lines+=(--line "$cap;width=40;cap=${caps[i]}" --line "$cap;colour=0"
    --line "$join;width=30;join=${joins[i]}" --line "$join;colour=0"
    --line "$closed;width=16;join=${joins[i]}" --line "$closed;colour=0")
done
lines+=(--line "30,310 570,310;width=8;dash=24,12" --line "30,335 570,335;width=8;dash=24,12;offset=12"
  --line "30,360 570,360;width=8;dash=40,10,6,10" --line "30,380 570,380;width=2;dash=3,3")
picture lines "${lines[@]}"
ls -l docs/before-after.png docs/pictures
