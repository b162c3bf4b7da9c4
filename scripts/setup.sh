#!/usr/bin/env bash
# Installs the Debian packages that building and testing kyoutils need, when
# any is missing. Needs root (or sudo) only when something must be installed.
set -euo pipefail

# Build: compilers, CMake, Ninja, the libraries kyoutils and kyo use (libcups, CLI11) and the
# test and benchmark frameworks. Tests: clang's fuzzer runtime, clang-format, time zones and
# locales, python3 (an XML parser for the SVG output), a private cupsd for raw printing, and gpsd
# for live NMEA.
packages=(
  g++ clang libclang-rt-14-dev cmake ninja-build pkg-config make
  libcups2-dev libcli11-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  clang-format tzdata locales python3
  cups-daemon cups-client gpsd
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then
    sudo="sudo"
  else
    echo "error: packages missing and not running as root: ${missing[*]}" >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
