#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the kyo program on data
# it generates in a temporary folder.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset default
cmake --build --preset default -j "$(nproc 2>/dev/null || echo 2)"

kyo=build/default/apps/kyo
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

run() { echo "\$ kyo $*"; "$kyo" "$@"; echo; }

run --help
run ini set "$work/survey.ini" ProjectInfo Client "North Sea Survey Ltd"
run ini set "$work/survey.ini" ProjectInfo Vessel "MV Kyo"
run ini list "$work/survey.ini" ProjectInfo
run ini get "$work/survey.ini" projectinfo VESSEL
