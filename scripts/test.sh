#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite three
# times: the normal build (GCC, debug), the same under AddressSanitizer and
# UndefinedBehaviorSanitizer, and an optimised build with clang. Warnings are
# errors in all three.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
jobs=$(nproc 2>/dev/null || echo 2)

for preset in default sanitize clang-release; do
  echo "== $preset build =="
  cmake --preset "$preset"
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
echo "== all tests passed =="
