#!/usr/bin/env bash
# Takes pages through everything the library does, over and over, and watches that results do not
# change and memory does not grow.
#
#   scripts/soak.sh SECONDS
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-deps.sh test >&2
{
  cmake --preset release
  cmake --build --preset release --target rle_soak
} >&2
build/release/bin/rle_soak "${1:?seconds}"
