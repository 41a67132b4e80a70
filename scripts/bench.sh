#!/usr/bin/env bash
# Builds everything and runs the benchmarks on the stand-in device; prints their figures.
# Usage: scripts/bench.sh [NAME...]   with no names every bench_*.exe runs, otherwise bench_NAME.exe
# for each name given (e.g. "objectstore", "index").
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${PAGEMARK_BUILD_DIR:-$root/build}"
# The device runs programs from its own C: drive, so the build folder is given as an absolute path.
mkdir -p "$build"
export PAGEMARK_BUILD_DIR="$(cd "$build" && pwd)"
"$root/scripts/build.sh"
benches=()
if [[ $# -eq 0 ]]; then
  benches=("$PAGEMARK_BUILD_DIR"/bin/bench_*.exe)
else
  for name in "$@"; do benches+=("$PAGEMARK_BUILD_DIR/bin/bench_$name.exe"); done
fi
for bench in "${benches[@]}"; do
  if [[ ! -f "$bench" ]]; then
    echo "no such benchmark: $bench" >&2
    exit 1
  fi
  echo "== $(basename "$bench" .exe)"
  "$PAGEMARK_BUILD_DIR/wine-run" "$bench"
done
