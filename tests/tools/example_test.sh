#!/usr/bin/env bash
# The example of the README is the file in examples/, and it does what the program does.
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/support.sh"

diff "$root/examples/edit_page.c" <(awk '/^```/ { code = /^```c$/; next } code' "$root/README.md") ||
  fail "README.md shows another program than examples/edit_page.c"

page=$root/docs/page/page.tif
"${EDIT_PAGE:?path of the example}" "$page" example.tif
"$RLE" convert "$page" program.tif --blank 1250,500,2400,900 --fill 0,1000,2478,1003
cmp example.tif program.tif
status=0
"$EDIT_PAGE" "$root/README.md" never.tif 2>stderr || status=$?
[[ $status == 1 && ! -e never.tif ]] || fail "a text was taken for a page: $(cat stderr)"
