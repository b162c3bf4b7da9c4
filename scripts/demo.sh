#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the library's main job: a survey run on
# the shipped NMEA log (kyo replay), with custom output files, alarms in the message log and its
# printout, a report and a track plot. Prints where the results are.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset default
cmake --build --preset default -j "$(nproc 2>/dev/null || echo 2)"

results=build/demo-results
rm -rf "$results"
echo
echo "\$ kyo replay --out $results"
build/default/apps/kyo replay --out "$results"
echo
echo "The results are in $(cd "$results" && pwd)"
