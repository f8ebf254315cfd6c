#!/usr/bin/env bash
# Installs what is missing, builds everything as a release and passes every test.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-deps.sh test
cmake --workflow --preset release
