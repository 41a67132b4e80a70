#!/usr/bin/env bash
# Builds everything and runs every benchmark on the stand-in device; prints their figures.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
export PAGEMARK_BUILD_DIR="${PAGEMARK_BUILD_DIR:-$root/build}"
"$root/scripts/build.sh"
for bench in "$PAGEMARK_BUILD_DIR"/bin/bench_*.exe; do
  echo "== $(basename "$bench" .exe)"
  "$PAGEMARK_BUILD_DIR/wine-run" "$bench"
done
