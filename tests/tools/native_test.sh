#!/usr/bin/env bash
# The native format in the program: bytes written by hand read as the picture they stand for and
# come back as they were, and damaged files are refused.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

# native HEX...: the bytes of a file, most significant first.
native() { printf '%b' "$(tr -d ' \n' <<<"$*" | sed 's/../\\x&/g')"; }
magic=524C4300
no_polygon="00000000 00000000"

# Version 1, 2 rows, 10 columns, 300 dpi.
header="$magic 00000001 0002 000A 0000012C"
rows="0002 0000 0003 0005 000A  0000"
native "$header $no_polygon $rows" >hand.rle
"$RLE" convert hand.rle out.tif
expect_picture out.tif "###..#####" ".........."
"$RLE" convert hand.rle out.RLE
cmp hand.rle out.RLE
"$RLE" info hand.rle >text
grep -qxF "  file        native, runs, 36 bytes" text || fail "$(cat text)"
# What the file holds counts, not its name. A polygon, here of one vertex, is passed over.
native "$header 00000001 00000007 FFFFFFFF 00000001 $rows" >region.tif
"$RLE" convert region.tif out.rle
cmp hand.rle out.rle
# A legacy header: height, width, 262 bytes, resolution (75 is none: 400), 252 bytes.
{
  native "51756962 0002 000A"
  head -c 262 /dev/zero
  native 004B
  head -c 252 /dev/zero
  native "$rows"
} >legacy.rle
"$RLE" convert legacy.rle out.tif
expect_picture out.tif "###..#####" ".........."
grep -qx "  resolution  400 dpi" <<<"$("$RLE" info legacy.rle)" || fail "$("$RLE" info legacy.rle)"
# A resolution that 16 bits do not hold is none.
native "$magic 00000001 0001 0001 00010000 $no_polygon 0000" >unknown.rle
grep -qx "  resolution  not known" <<<"$("$RLE" info unknown.rle)" || fail "$("$RLE" info unknown.rle)"

refuses() { # REASON BYTES
  local status=0
  native "$2" >damaged.rle
  "$RLE" convert damaged.rle never.rle 2>stderr || status=$?
  [[ $status == 1 && ! -e never.rle && $(cat stderr) == "rle: damaged.rle: $1" ]] ||
    fail "$2: status $status: $(cat stderr)"
}
all="${header// /}${no_polygon// /}${rows// /}"
for ((size = 4; size < 36; ++size)); do
  refuses "the file is cut short or damaged" "${all:0:2 * size}"
done
small="$magic 00000001 0001 000A 0000012C $no_polygon"
refuses "the file is cut short or damaged" "$small FFFF 0001 0002"
refuses "a run is empty or reversed" "$small 0001 0003 0003"
refuses "a run starts beyond the page" "$small 0001 000A 000B"
refuses "a run ends beyond the page" "$small 0001 0009 000B"
refuses "a run is repeated" "$small 0002 0001 0003 0001 0003"
refuses "runs overlap, touch or are out of order" "$small 0002 0001 0003 0003 0004"
refuses "the page is empty" "$magic 00000001 0000 000A 0000012C $no_polygon"
