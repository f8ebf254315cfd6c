#!/usr/bin/env bash
# A project that has this one in a folder of its own builds and runs with it, and is not given the
# program, tests or files to install that it did not ask for.
#
#   copy_in_a_folder.sh C_COMPILER CXX_COMPILER
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$here/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake -S "$here" -B "$work" -G Ninja -DRLE_FOLDER="$root" -DCMAKE_C_COMPILER="$1" \
  -DCMAKE_CXX_COMPILER="$2" -DCMAKE_INSTALL_PREFIX="$work/installed" >/dev/null
cmake --build "$work" >/dev/null
"$work/consumer" "$work/page.tif"
[[ $("$work/straighten" "$root/docs/page/page.tif" "$work/page.png" 90) == "3508 x 2479 pixels" ]]
cmake --install "$work" >/dev/null
[[ ! -e $work/installed && -z $(find "$work" -name 'rle_tests*' -o -name 'fuzz_*') ]]
