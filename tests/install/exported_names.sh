#!/usr/bin/env bash
# A library exports exactly the names in a list.
#
#   exported_names.sh LIBRARY LIST
set -euo pipefail
diff <(nm -D --defined-only "$1" | awk '{print $NF}' | LC_ALL=C sort) "$2" || {
  echo "< exported by $(basename "$1") but not in $(basename "$2"); > the other way round"
  exit 1
}
