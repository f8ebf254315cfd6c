#!/usr/bin/env bash
# Every format the program reads and writes, with other programs as the second opinion: what they
# make of a page must be the page, pixel by pixel.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

page=$root/docs/page/page.tif
tifftopnm "$page" >page.pbm 2>/dev/null

same() { # FILE.pbm WHAT
  cmp -s page.pbm "$1" || fail "$2: the pixels changed"
}

# Out: the page in every format, decoded by the format's own tools.
"$RLE" convert "$page" out.png && pngtopnm out.png >png.pbm && same png.pbm PNG
"$RLE" convert "$page" out.bmp && bmptopnm out.bmp >bmp.pbm 2>/dev/null && same bmp.pbm BMP
"$RLE" convert "$page" out.pbm && same out.pbm PNM
"$RLE" convert "$page" out.pdf && pdfimages -png out.pdf pdf && pngtopnm pdf-000.png >pdf.pbm
same pdf.pbm PDF
"$RLE" convert "$page" out.jpg && jpegtopnm out.jpg 2>/dev/null | pamthreshold -simple | pamtopnm >jpg.pbm
same jpg.pbm JPEG
"$RLE" convert "$page" out.g4 && fax2tiff -4 -X 2479 -M out.g4 -o g4.tif 2>/dev/null
tifftopnm g4.tif 2>/dev/null | pamcut -height 3508 >g4.pbm # fax2tiff takes EOFB for a row
same g4.pbm "Group 4 data"
for compression in none group3 group4 packbits lzw deflate; do
  "$RLE" convert "$page" out.tif --compression $compression
  tifftopnm out.tif 2>/dev/null | cmp -s - page.pbm || fail "TIFF, $compression: the pixels changed"
done
[[ $(pdfinfo out.pdf | grep "Page size") == *"594.96 x 841.92 pts"* ]] || fail "$(pdfinfo out.pdf)"

# In: what those programs write, in every kind of TIFF file that libtiff makes.
comes_in() { # FILE
  "$RLE" convert "$1" back.pbm || fail "$1 is not read"
  same back.pbm "$1"
  [[ -z ${2-} ]] || grep -qF "$2" <<<"$("$RLE" info "$1")" || fail "$("$RLE" info "$1")"
}
pnmtopng page.pbm >in.png 2>/dev/null && comes_in in.png "PNG, Deflate"
ppmtobmp page.pbm >in.bmp 2>/dev/null && comes_in in.bmp "BMP, not compressed"
pnmtoplainpnm page.pbm >in.pbm && comes_in in.pbm "PNM, not compressed"
cp out.jpg in.jpg && comes_in in.jpg "JPEG, JPEG"
"$RLE" convert out.g4 back.pbm --g4-size 2479,3508,300 && same back.pbm "Group 4 data"
for compression in none g3 g3:2d g4 packbits lzw zip; do
  tiffcp -c $compression -r 16 "$page" strips.tif && comes_in strips.tif
done
tiffcp -t -c g4 "$page" tiles.tif && comes_in tiles.tif
tiffcp -8 -c g4 "$page" big.tif && comes_in big.tif
tiffcp -B -f lsb2msb -c g4 "$page" orders.tif && comes_in orders.tif
pbmtopgm 1 1 page.pbm 2>/dev/null | pamdepth 255 | pnmtotiff >grey.tif 2>/dev/null
comes_in grey.tif
tiffcp -c g4 "$page" "$page" pages.tif
"$RLE" convert pages.tif back.pbm 2>stderr && same back.pbm "the first page"
[[ $(cat stderr) == "rle: pages.tif: has 2 pages, of which the first is converted" ]] ||
  fail "$(cat stderr)"
grep -qx "  pages       2" <<<"$("$RLE" info pages.tif)" || fail "$("$RLE" info pages.tif)"

# Colours stay where a page is only turned and scaled, and become black and white where it is edited
# or the format has no others.
ppmmake red 30 20 >red.ppm
"$RLE" convert red.ppm turned.png --turn 1 --scale 0.5,min
pngtopnm turned.png | cmp -s - <(ppmmake red 10 15) || fail "red was to stay"
"$RLE" convert red.ppm larger.ppm --turn 1 --scale 2
cmp -s larger.ppm <(ppmmake red 40 60) || fail "proportions were to stay"
"$RLE" convert red.ppm edited.png --frame 1
[[ $(pngtopnm edited.png | pamfile) == *"PBM raw, 30 by 20"* ]] || fail "black and white was to be"
"$RLE" convert red.ppm red.pdf
[[ $(pdfimages -list red.pdf) == *"ccitt"* ]] || fail "no Group 4"
grep -qx "  size        30 x 20 pixels, RGB" <<<"$("$RLE" info red.ppm)" || fail "$("$RLE" info red.ppm)"

# Resolution is kept where the format can hold it.
for format in png bmp jpg tif; do
  "$RLE" convert "$page" dots.$format && "$RLE" info dots.$format >text
  grep -qx "  resolution  300 dpi" text || fail "$(cat text)"
done
