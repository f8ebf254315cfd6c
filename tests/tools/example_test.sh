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

# The one in C++ turns as the program does.
[[ $("${STRAIGHTEN:?path of the example}" "$page" turned.png 3) == "2660 x 3633 pixels" ]] ||
  fail "$("$STRAIGHTEN" "$page" turned.png 3)"
"$RLE" convert "$page" program.png --rotate 3
cmp turned.png program.png

# The manual page and the help know the same options.
options() { grep -oE -- '(^|[^a-z0-9-])--?[a-z][a-z0-9-]*' | grep -oE -- '-.*' | sort -u; }
diff <(for command in '' info convert view component nearest; do
  # shellcheck disable=SC2086  # no command at first
  "$RLE" $command --help
done | options) <(sed 's/\\-/-/g; s/\\f.//g' "$root/docs/rle.1" | options) ||
  fail "< in the help but not in docs/rle.1, > the other way round"
