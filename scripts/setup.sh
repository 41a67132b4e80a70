#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks to build, run and test the item.
set -euo pipefail
packages=(cmake ninja-build g++-mingw-w64-x86-64-posix mingw-w64-tools wine wine64 xvfb xauth fonts-wine
          doctest-dev python3 sqlite3 libsqlite3-dev clang-format)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo_cmd=""
  [[ $(id -u) -ne 0 ]] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -q
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
echo "setup: all build and test packages are installed"
