#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite twice:
# in the normal build and under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
jobs=$(nproc 2>/dev/null || echo 2)

for preset in default sanitize; do
  echo "== $preset build =="
  cmake --preset "$preset"
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
echo "== all tests passed =="
