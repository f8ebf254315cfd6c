#!/usr/bin/env bash
# Fuzzes the library under the sanitizers, each target for so many seconds, two at a time, and
# prints what was run. Status 1 when a case was found that fails; the file that holds it is named.
#
#   scripts/fuzz.sh SECONDS [TARGET...]
#
# Cases that reach something new are kept in build/fuzz/corpus and tried again by the next run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

seconds=${1-}
if [[ ! $seconds =~ ^[1-9][0-9]*$ ]]; then
  echo "usage: $0 SECONDS [TARGET...]" >&2
  exit 2
fi
shift
targets=("$@")
if ((!$#)); then
  for folder in fuzz/corpus/*/; do targets+=("$(basename "$folder")"); done
fi
for target in "${targets[@]}"; do
  if [[ ! -f fuzz/$target.cpp ]]; then
    echo "$0: no target $target" >&2
    exit 2
  fi
done

scripts/install-deps.sh ci
mkdir -p build/fuzz
if ! { cmake --preset fuzz && cmake --build --preset fuzz; } >build/fuzz/build.log 2>&1; then
  cat build/fuzz/build.log >&2
  exit 2
fi

run() {
  local seconds=$1 target=$2 out=build/fuzz
  mkdir -p "$out/corpus/$target" "$out/finds/$target"
  local status=0
  # A minute is far more than any case needs on a busy machine, and so are 256 megabytes at once.
  "$out/bin/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=60 \
    -rss_limit_mb=2048 -malloc_limit_mb=256 -print_final_stats=1 \
    -artifact_prefix="$out/finds/$target/" "$out/corpus/$target" "fuzz/corpus/$target" \
    >"$out/$target.log" 2>&1 || status=$?
  local executions edges find
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$out/$target.log" | tail -n 1)
  edges=$(grep -o 'cov: [0-9]*' "$out/$target.log" | tail -n 1 | cut -d ' ' -f 2 || true)
  find=-
  if ((status)); then
    find=$(sed -n 's/.*Test unit written to //p' "$out/$target.log" | tail -n 1)
    find=${find:-see $out/$target.log}
  fi
  printf '%-16s %12s %8s  %s\n' "$target" "${executions:-?}" "${edges:-?}" "$find"
  return "$((status ? 1 : 0))"
}
export -f run

printf '%-16s %12s %8s  %s\n' target executions edges find
if ! printf '%s\n' "${targets[@]}" | xargs -P 2 -I '{}' bash -c 'run "$@"' run "$seconds" '{}'; then
  exit 1
fi
