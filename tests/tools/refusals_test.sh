#!/usr/bin/env bash
# What cannot be read, treated or written ends with one line that names the file, with status 1,
# and leaves an existing output as it was and nothing beside it.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

page=$root/docs/page/page.tif
group4_tiff small.tif "..##" "####"
mkdir in out
echo "precious" >out/out.tif

# refuses STATUS REASON ARGUMENTS...: the reason is what the line must contain.
refuses() {
  local wanted=$1 reason=$2 status=0
  shift 2
  "$RLE" "$@" >stdout 2>stderr || status=$?
  ((status == wanted)) || fail "$*: status $status: $(cat stderr)"
  [[ ! -s stdout ]] || fail "$*: wrote to standard output"
  [[ $(wc -l <stderr) == 1 && $(cat stderr) == "rle: "*"$reason"* ]] ||
    fail "$*: $(cat stderr)"
  [[ $(cat out/out.tif) == precious && $(ls -A out) == out.tif ]] || fail "$*: output touched"
}

refuses_file() { # REASON FILE
  refuses 1 "$2: $1" convert "$2" out/out.tif
  refuses 1 "$2: $1" info "$2"
}

: >in/empty.tif
echo "not a picture at all, just text" >in/text.tif
cp small.tif in/bits.tif && tiffset -s 258 8 in/bits.tif
refuses_file "No such file or directory" in/missing.tif
refuses_file "is a directory" in
refuses_file "is not a regular file" /dev/null
refuses_file "the file is empty" in/empty.tif
refuses_file "not a raster file of a known format" in/text.tif
refuses 1 "in/bits.tif: " convert in/bits.tif out/out.tif
# Sizes that the file does not have.
cp small.tif in/high.tif && tiffset -s 257 65536 in/high.tif
cp small.tif in/wide.tif && tiffset -s 256 4000000000 in/wide.tif
refuses_file "the page is larger than 65535 pixels" in/high.tif
refuses_file "strips or tiles of 2 rows in 4000000000 columns are too large" in/wide.tif
# Cut anywhere, the page is refused: in the header, the directory, the strip. The directory stands
# before the strip.
for size in 3 7 9 100 255 313 314 500 60000; do
  head -c "$size" "$page" >in/cut.tif
  refuses_file "" in/cut.tif
done
# 64 bytes of Group 4 data overwritten by zeros.
cp "$page" in/damaged.tif
dd if=/dev/zero of=in/damaged.tif bs=1 seek=50000 count=64 conv=notrunc status=none
refuses_file "" in/damaged.tif

refuses_operation() { # STATUS REASON OPTION VALUE
  refuses "$1" "$3 $4: $2" convert "$page" out/out.tif "$3" "$4"
}
refuses_operation 1 "the rectangle misses the page of 2479 x 3508 pixels" --crop 2479,0,2500,10
refuses_operation 1 "the rectangle misses" --blank 0,-9,10,-1
refuses_operation 1 "the picture of 4 x 2 pixels misses" --merge small.tif,-4,0,set
refuses_operation 1 "the mask has 4 x 2 pixels, the page 2479 x 3508" --mask small.tif
refuses_operation 2 "a page is at most 65535 pixels" --crop -2147483648,0,2147483647,10
refuses_operation 2 "X1,Y1 must not lie right of" --fill 5,0,4,0
refuses_operation 2 "4 values between commas" --fill 5,0,4
refuses_operation 2 "'' is not a whole number" --fill 1,,9,9
refuses_operation 2 "'9x' is not a whole number" --crop 0,0,9x,9
refuses_operation 2 "99999999999 is out of range" --blank 0,0,99999999999,1
refuses_operation 2 "0 is out of range" --frame 0
refuses_operation 2 "65536 is out of range" --set-dpi 65536
refuses_operation 2 "'xor' is not a mode" --merge small.tif,0,0,xor
refuses_operation 2 "the file name is missing" --pattern ,0,0,1,1,set
refuses_operation 2 "a polygon has three vertices or more" --polygon "1,1 2,2"
refuses_operation 2 "2 is out of range" --polygon "1,1 2,2 3,1;colour=2"
refuses_operation 1 "the polygon misses" --polygon "-9,1 -5,2 -1,1"
refuses_operation 2 "a line has one vertex or more" --line ""
refuses_operation 2 "'flat' is not a cap, butt, round and square are" --line "1,1 9,9;cap=flat"
refuses_operation 2 "0 is out of range, 1 to 255 is allowed" --line "1,1 9,9;dash=6,0"
refuses_operation 2 "offset=... is one into dash=..." --line "1,1 9,9;offset=3"
refuses_operation 2 "'thick=3' is none of width=..., cap=..." --line "1,1 9,9;thick=3"
refuses_operation 1 "the line misses" --line "-50,1 -9,1"
refuses_operation 2 "'z' is not a mirror axis, x and y are" --mirror z
refuses_operation 2 "inf is out of range" --rotate inf
refuses_operation 2 "the factor must be above 0" --scale 0
refuses_operation 2 "'half' is not a number" --scale half
# 2479 * 26.5 columns are 65693; 2479 / 2500 is less than one column.
refuses_operation 1 "the result would be 65693 x 92962 pixels, more than 65535" --scale 26.5
refuses_operation 1 "the result would be empty: 0 x 1 pixels" --scale 0.0004
refuses_operation 1 "the result would be " --scale 1e300
refuses_operation 1 "the result would be empty" --scale 1e-300,min
refuses_operation 1 "the pixel 0,0 is white" --component 0,0
refuses_operation 1 "the pixel 9,3508 lies outside the page" --component 9,3508
refuses 1 "cannot be turned by an odd number" convert small.tif out/out.tif --crop 0,0,3,0 --turn 3
refuses 1 "would be 3144 x 65560 pixels" convert small.tif out/out.tif --crop 0,0,1999,65534 --rotate 1
refuses 1 "small.tif: the pixel 0,0 is white" component small.tif 0,0 out/out.tif
refuses 1 "small.tif: no black pixel within 1 of 0,0" nearest small.tif 0,0 --radius 1
refuses 2 "65535 is out of range" nearest small.tif 65535,0
refuses 2 "3 is out of range" view small.tif --width 3
refuses 1 "nowhere.tif: No such file" convert "$page" out/out.tif --merge nowhere.tif,0,0,set
refuses 1 "out.gif: no format is named .gif" convert "$page" out/out.gif
refuses 2 "'gif' is not a format" convert "$page" out/out.tif --format gif
refuses 2 "'zip' is not a compression" convert "$page" out/out.tif --compression zip
refuses 2 "only TIFF files have a choice" convert "$page" out/out.png --compression lzw
refuses 2 "one IN and one OUT" convert "$page" out/out.tif "$page"
refuses 2 "would both become" convert "$page" "$PWD/${page##*/}" --out-dir elsewhere
refuses 1 "out: is a directory" convert "$page" out
refuses 1 "/dev/full: is not a regular file" convert "$page" /dev/full
refuses 1 "nowhere/a.tif: cannot be created: No such file" convert "$page" nowhere/a.tif
refuses 2 "" convert "$page"
refuses 2 "" convert "$page" out/out.tif --sharpen 1
refuses 2 "" shrink "$page"
refuses 2 "" info
(
  ulimit -f 40 # no file may grow beyond 40 KiB: the disk is full
  trap '' XFSZ
  refuses 1 "out/out.tif: cannot be written" convert "$page" out/out.tif
)
