#!/usr/bin/env bash
# Builds everything and runs all tests: the house checks (layers of the item's folders, the formatter),
# then every test program on a device of its own: those without the screen side by side, then those
# that drive the screen one at a time on one Xvfb screen. Ends with CTest's summaries. Arguments go to
# CTest (e.g. -R test_index).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
export PAGEMARK_BUILD_DIR="${PAGEMARK_BUILD_DIR:-$root/build}"
python3 "$root/scripts/check-layers.py"
"$root/scripts/format.sh" --check
"$root/scripts/build.sh"
source "$root/scripts/device-lib.sh"
device_ensure_display
export PAGEMARK_KEEP_DISPLAY=1
trap device_stop EXIT
device_refresh_template
cd "$PAGEMARK_BUILD_DIR"
jobs="${PAGEMARK_TEST_JOBS:-$(($(nproc) + 2))}"
# The programs without the screen side by side first; then those that drive the screen with real
# input, one at a time and alone, since a window of any other program on the shared screen can take
# the keyboard focus or the stylus capture from them.
status=0
ctest --output-on-failure --timeout 600 -j "$jobs" -LE screen "$@" || status=$?
ctest --output-on-failure --timeout 600 -j 1 -L screen "$@" || status=$?
exit $status
