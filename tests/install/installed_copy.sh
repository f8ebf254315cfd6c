#!/usr/bin/env bash
# Installs a build into a folder, and builds and runs programs in C and C++ against that copy: by
# pkg-config, by the CMake package, and the one that the documentation shows.
#
#   installed_copy.sh BUILD_DIR C_COMPILER CXX_COMPILER [COMPILER_OPTION...]
set -euo pipefail

build=$1
compiler=$2
cxx_compiler=$3
options=("${@:4}")
here=$(cd "$(dirname "$0")" && pwd)
root=$here/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved" # an installed copy does not mind
libraries=$(dirname "$(find "$work/moved" -name librle.so)")
export PKG_CONFIG_PATH=$libraries/pkgconfig

strict=(-std=c99 -pedantic -Wall -Wextra -Werror "${options[@]}")
build_with_pkg_config() { # SOURCE PROGRAM
  read -ra flags <<<"$(pkg-config --cflags --libs rle xio)"
  "$compiler" "${strict[@]}" "$1" -o "$2" "${flags[@]}" "-Wl,-rpath,$libraries"
}

build_with_pkg_config "$here/consumer.c" "$work/consumer"
"$work/consumer" "$work/page.tif"

cmake -S "$here" -B "$work/package" -DCMAKE_PREFIX_PATH="$work/moved" \
  -DCMAKE_C_COMPILER="$compiler" -DCMAKE_CXX_COMPILER="$cxx_compiler" \
  -DCMAKE_C_FLAGS="${options[*]}" -DCMAKE_CXX_FLAGS="${options[*]}" >/dev/null
cmake --build "$work/package" >/dev/null
"$work/package/consumer" "$work/page.tif"
[[ $("$work/package/straighten" "$root/docs/page/page.tif" "$work/page.png" 90) == "3508 x 2479 pixels" ]]

awk '/^```c$/ {on = 1; next} /^```$/ {on = 0} on' "$root/docs/streams.md" >"$work/shown.c"
build_with_pkg_config "$work/shown.c" "$work/shown"
answer=$("$work/shown" "$work/page.tif")
[[ $answer == "1700 x 2200 at 200 dots per inch" ]] || {
  echo "the program in docs/streams.md says: $answer"
  exit 1
}
