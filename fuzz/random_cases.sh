#!/usr/bin/env bash
# Compares the library with a fuzzing target's model on 4000 cases of random bytes, the same every
# time: random_cases.sh TARGET [OPTION...]
set -euo pipefail

cases=$(mktemp -d)
random='BEGIN { srand(1); for (i = 0; i < 4000 * 300; ++i) printf "%c", int(256 * rand()) }'
LC_ALL=C awk "$random" | (cd "$cases" && split -a 3 -b 300)
if ! "$@" "$cases" >"$cases.log" 2>&1; then
  tail "$cases.log"
  exit 1 # the cases stay, to be looked at
fi
rm -r "$cases" "$cases.log"
