#!/usr/bin/env bash
# Makes docs/before-after.png, the picture in the README: the shipped page and what the demo makes
# of it. Needs imagemagick.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/demo.sh >/dev/null
montage docs/page/page.tif demo/edited.tif -resize 440x -bordercolor gray60 -border 1 \
  -geometry +12+12 -background white -colorspace gray -depth 4 -strip docs/before-after.png
ls -l docs/before-after.png
