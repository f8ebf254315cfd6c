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

# Writes numbers of 8, 16 or 32 bits, little-endian.
le8() { for n; do printf '%b' "\\x$(printf %02x "$n")"; done; }
le16() { for n; do le8 $((n & 255)) $((n >> 8)); done; }
le32() { for n; do le16 $((n & 65535)) $((n >> 16)); done; }

# A one-strip uncompressed TIFF at 200 dpi from the lines of a picture: header, directory of ten
# entries, resolution, rows. Nothing of ours takes part in it.
plain_tiff() {
  local out=$1 width=${#2} row byte bits=()
  shift
  for row; do
    for ((byte = 0; byte < width; byte += 8)); do
      local pixels=${row:byte:8}
      while ((${#pixels} < 8)); do pixels+=.; done
      pixels=${pixels//#/1}
      bits+=($((2#${pixels//./0})))
    done
  done
  local entry
  {
    printf 'II*\0' && le32 8 && le16 10
    # tag type value; every count is 1. Photometric 0: white is zero.
    for entry in "256 4 $width" "257 4 $#" "258 3 1" "259 3 1" "262 3 0" "273 4 142" "277 3 1" \
      "278 4 $#" "279 4 ${#bits[@]}" "282 5 134"; do
      # shellcheck disable=SC2086
      set_entry $entry
    done
    le32 0 200 1
    le8 "${bits[@]}"
  } >"$out"
}
set_entry() { le16 "$1" "$2" && le32 1 "$3"; }

# The same picture as a one-strip Group 4 file, coded by libtiff.
group4_tiff() {
  local out=$1
  shift
  plain_tiff "$out.plain" "$@"
  tiffcp -c g4 -r $# "$out.plain" "$out"
  rm "$out.plain"
}

# Whether libtiff sees exactly this picture in the file.
expect_picture() {
  local file=$1
  shift
  plain_tiff expected.tif "$@"
  tiffcmp -t expected.tif "$file" >differences 2>&1 || fail "$file: $(cat differences)"
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
