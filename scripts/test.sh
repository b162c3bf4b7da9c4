#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite three
# times: the normal build (GCC, debug), the same under AddressSanitizer and
# UndefinedBehaviorSanitizer, and an optimised build with clang. Warnings are
# errors in all three. The concurrency tests run once more under ThreadSanitizer. Then every
# fuzz target runs for a short while (KYO_FUZZ_SECONDS, default 20) from its seed corpus.
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
echo "== tsan build (concurrency tests) =="
cmake --preset tsan
cmake --build --preset tsan -j "$jobs"
ctest --preset tsan

bash fuzz/run "${KYO_FUZZ_SECONDS:-20}"
echo "== all tests passed =="
