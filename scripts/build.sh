#!/usr/bin/env bash
# Configures and builds everything into ./build (or $PAGEMARK_BUILD_DIR).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${PAGEMARK_BUILD_DIR:-$root/build}"
werror=OFF
[[ "${CI:-}" == "true" ]] && werror=ON
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
      -DPAGEMARK_WERROR="$werror" >/dev/null
cmake --build "$build"
