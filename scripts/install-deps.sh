#!/usr/bin/env bash
# Installs the Debian packages that a job needs and the machine lacks; touches nothing when all are
# there. Needs root, or sudo.
#
#   scripts/install-deps.sh demo|test|bench|ci
set -euo pipefail

build=(g++ cmake ninja-build pkg-config)
codecs=(libtiff-dev libpng-dev libjpeg62-turbo-dev)
program=(libcli11-dev nlohmann-json3-dev)
tests=(libgtest-dev libgmock-dev libtiff-tools netpbm poppler-utils)
bench=(libbenchmark-dev libpixman-1-dev libleptonica-dev libcairo2-dev)
checks=(git clang clang-format clang-tidy libclang-rt-14-dev shellcheck doxygen)

case "${1-}" in
  demo) wanted=("${build[@]}" "${codecs[@]}" "${program[@]}") ;;
  # The release preset builds programs, tests and benchmarks alike.
  test | bench) wanted=("${build[@]}" "${codecs[@]}" "${program[@]}" "${tests[@]}" "${bench[@]}") ;;
  ci) wanted=("${build[@]}" "${codecs[@]}" "${program[@]}" "${tests[@]}" "${bench[@]}" "${checks[@]}") ;;
  *)
    echo "usage: $0 demo|test|bench|ci" >&2
    exit 2
    ;;
esac

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
  if ! command -v sudo >/dev/null; then
    echo "As root, install these packages first: ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi
echo "Installing ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
