#!/usr/bin/env bash
# A library exports exactly the names in a list, and keeps nothing for a thread that is made at its
# first touch: that allocates, and ends the process when there is no memory.
#
#   exported_names.sh LIBRARY LIST
set -euo pipefail
diff <(nm -D --defined-only "$1" | awk '{print $NF}' | LC_ALL=C sort) "$2" || {
  echo "< exported by $(basename "$1") but not in $(basename "$2"); > the other way round"
  exit 1
}
if nm -D --undefined-only "$1" | grep -E '__cxa_thread_atexit|__tls_get_addr'; then
  echo "$(basename "$1") makes storage of threads at its first touch"
  exit 1
fi
