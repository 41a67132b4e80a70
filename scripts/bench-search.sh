#!/usr/bin/env bash
# The search benchmark: the contact manager and its index against a peer without index and a native
# SQLite FTS5 peer, on the same generated contacts, at 1,000, 10,000 and the largest count whose full
# rebuild fits the index mapping. Prints one table of figures with the ratios product / peer; then a
# table of the search structures alone at 1,000, 10,000, 30,000 and 100,000 contacts; then the time
# from a tap on the Today item's letter bar to the end of the list's first paint, at 10,000 contacts.
# Usage: scripts/bench-search.sh [--prefix-indexes] [COUNT...]
#   --prefix-indexes  gives the SQLite peer FTS5 prefix indexes of 1, 2 and 3 characters
#   COUNT...          other counts instead of the three
#
# Figures are taken from an optimised build: the build folder ($PAGEMARK_BUILD_DIR, by default
# ./build-release) is configured as a Release build, and only what the benchmark needs is built. The
# SQLite peer is a native program, built here with the host's compiler against the system's libsqlite3.
set -euo pipefail
peer_options=()
if [[ "${1:-}" == "--prefix-indexes" ]]; then
  peer_options+=(--prefix-indexes)
  shift
fi
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${PAGEMARK_BUILD_DIR:-$root/build-release}"
mkdir -p "$build"
build="$(cd "$build" && pwd)"
export PAGEMARK_BUILD_DIR="$build"

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
      -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target bench_search bench_search_scale bench_tap

peer="$build/native/sqlite_peer"
if [[ ! -x "$peer" || "$root/bench/sqlite_peer.cpp" -nt "$peer" ]]; then
  mkdir -p "$build/native"
  g++ -O2 -std=c++17 -Wall -Wextra -o "$peer" "$root/bench/sqlite_peer.cpp" -lsqlite3
fi

out="$build/bench-search"
mkdir -p "$out"
rm -f "$out"/search-*.txt "$out"/sqlite-*.db
"$build/wine-run" "$build/bin/bench_search.exe" "$out" "$@"
mapfile -t files < <(cd "$out" && ls search-*.txt | sort -t- -k2 -n)
"$peer" "${peer_options[@]}" "$out" "${files[@]}"
# The search structures alone at 1,000 to 100,000 contacts.
echo
"$build/wine-run" "$build/bin/bench_search_scale.exe"
# From a tap on the letter bar to the list's first paint, on a fresh device of its own.
echo
PAGEMARK_DEVICE=bench_tap "$build/wine-run" "$build/bin/bench_tap.exe"
