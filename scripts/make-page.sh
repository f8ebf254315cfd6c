#!/usr/bin/env bash
# Sets docs/page/page.ms as a page of A4 at 300 dots per inch: docs/page/page.tif, one strip of
# Group 4 data. Needs groff and ghostscript. The page is part of the repository; run this only
# after a change to its text, and run the benchmarks again, since it is their text page.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

postscript=$(mktemp)
trap 'rm -f "$postscript"' EXIT
groff -t -ms -Tps -P-pa4 -dpaper=a4 docs/page/page.ms >"$postscript"
if (($(grep -c '^%%Page:' "$postscript") != 1)); then
  echo "docs/page/page.ms no longer fits on one page" >&2
  exit 1
fi
gs -q -dNOPAUSE -dBATCH -dSAFER -sDEVICE=tiffg4 -r300 -sPAPERSIZE=a4 -dMaxStripSize=0 \
  -sOutputFile=docs/page/page.tif "$postscript"
ls -l docs/page/page.tif
