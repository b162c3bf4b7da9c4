#!/usr/bin/env bash
# Installs the Debian packages that building and testing kyoutils need, when
# any is missing. Needs root (or sudo) only when something must be installed.
set -euo pipefail

packages=(
  g++ clang cmake ninja-build pkg-config make
  libgtest-dev libgmock-dev googletest libbenchmark-dev libcli11-dev
  clang-format
  tzdata locales
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
