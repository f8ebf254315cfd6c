# Sourced by the tests here. Gives each a folder of its own to work in, and pages as pictures:
# `#` is black, `.` is white, all lines equally long.
# shellcheck shell=bash
set -euo pipefail
: "${RLE:?path of the program}"
# shellcheck disable=SC2034  # for the tests
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# A picture as a one-strip Group 4 file of 200 dpi, written by Netpbm.
group4_tiff() { # FILE PICTURE...
  local out=$1
  shift
  {
    echo "P1 ${#1} $#"
    printf '%s\n' "$@" | tr '#.' 10
  } | pamtotiff -g4 -miniswhite -xresolution 200 -yresolution 200 -rowsperstrip $# >"$out"
}

# Whether libtiff and Netpbm see exactly this picture in the file.
expect_picture() { # FILE PICTURE...
  tifftopnm "$1" 2>/dev/null | pnmtoplainpnm | tail -n +3 | tr 10 '#.' >seen
  printf '%s\n' "${@:2}" | diff - seen || fail "$1: < wanted, > seen"
}

# Whether page.tif becomes this picture: converts OPTIONS... -- PICTURE...
converts() {
  local options=()
  while [[ $1 != -- ]]; do
    options+=("$1")
    shift
  done
  shift
  "$RLE" convert page.tif out.tif "${options[@]}" || fail "${options[*]}"
  expect_picture out.tif "$@"
}
