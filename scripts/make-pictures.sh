#!/usr/bin/env bash
# Makes the pictures in the documents from the shipped page: docs/before-after.png, which shows it and
# what the demo makes of it, and docs/pictures/, a piece of it before and after each transform. Needs
# imagemagick.
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
ls -l docs/before-after.png docs/pictures
