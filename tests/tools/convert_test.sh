#!/usr/bin/env bash
# Every operation on small pictures, their order, and what becomes of the files.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

page=(
  "..####......"
  "..#..#...##."
  "..####...##."
  "............"
  "#..........#")
group4_tiff page.tif "${page[@]}"
group4_tiff stamp.tif "#.#" ".#."
group4_tiff half.tif "######......" "######......" "######......" "######......" "######......"

converts -- "${page[@]}"
converts --blank 3,0,9,1 -- "..#........." "..#.......#." "${page[@]:2}"
converts --fill 10,3,99,99 -- "${page[@]:0:3}" "..........##" "#.........##"
converts --frame 1 -- "############" "#.#..#...###" "#.####...###" "#..........#" "############"
converts --frame 2 -- "############" "############" "######...###" "############" "############"
converts --frame 65535 -- "############" "############" "############" "############" "############"
converts --line "1,3 9,3" -- "${page[@]:0:3}" ".#########.." "#..........#"
converts --line "5,2;cap=square;width=3" -- "..####......" "..#.###..##." "..#####..##." "....###....." \
  "#..........#"
converts --line "0,3 11,3;offset=1;dash=3,2" -- "${page[@]:0:3}" "##..###..##." "#..........#"
converts --line "3,1 9,1 9,9;width=3;join=bevel" -- "..########.." "..#########." "..#########." \
  "........###." "#.......####"
converts --line "2,1 5,1;colour=0;cap=square;width=3" -- "............" ".........##." ".........##." \
  "${page[@]:3}"
converts --crop 2,1,6,3 -- "#..#." "####." "....."
converts --crop -1,-1,2,0 -- "...." "...#"
converts --merge stamp.tif,-1,0,replace -- ".#####......" "#.#..#...##." "${page[@]:2}"
converts --merge stamp.tif,8,2,set -- "${page[@]:0:2}" "..####..###." ".........#.." "#..........#"
converts --merge stamp.tif,3,0,clear -- "..#.#......." "..#..#...##." "${page[@]:2}"
converts --merge stamp.tif,4,1,2 -- "..####......" "..#..#...##." "..###....##." "${page[@]:3}"
converts --mask half.tif -- "..####......" "..#..#......" "..####......" "............" "#..........."
# The tile starts at column 0 of the page and at the first row of the rectangle.
converts --pattern stamp.tif,1,3,7,4,replace -- "${page[@]:0:3}" "..##.##....." "##..#..#...#"
converts --pattern stamp.tif,0,1,11,1,clear -- "..####......" "..........#." "${page[@]:2}"
converts --pattern stamp.tif,6,0,8,1,set -- "..#####.#..." "..#..#.#.##." "${page[@]:2}"

# Order counts, and an operation may come more than once.
converts --fill 0,0,3,0 --blank 2,0,5,0 -- "##.........." "${page[@]:1}"
converts --blank 2,0,5,0 --fill 0,0,3,0 -- "####........" "${page[@]:1}"
converts --crop 2,0,5,1 --frame 1 --crop 0,0,4,2 --fill 4,2,4,2 -- "####." "####." "....#"

# File names may hold commas and spaces; a page may be written over itself and keeps its mode.
cp stamp.tif "a, b.tif"
cp page.tif self.tif
chmod 640 self.tif
ln -s self.tif link.tif
"$RLE" convert link.tif link.tif --merge "a, b.tif,0,3,set" --set-dpi 123
expect_picture self.tif "${page[@]:0:3}" "#.#........." "##.........#"
[[ -L link.tif && $(stat -c %a self.tif) == 640 ]] || fail "link or mode lost"
grep -q "Resolution: 123, 123 pixels/inch" <<<"$(tiffinfo self.tif)" || fail "resolution not set"
(umask 027 && "$RLE" convert page.tif masked.tif)
[[ $(stat -c %a masked.tif) == 640 ]] || fail "umask not respected"
