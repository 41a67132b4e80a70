#!/usr/bin/env bash
# Builds everything and runs all tests on the stand-in device: one Wine prefix in the build folder,
# one Xvfb screen for the whole run. Ends with CTest's summary.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
export PAGEMARK_BUILD_DIR="${PAGEMARK_BUILD_DIR:-$root/build}"
"$root/scripts/build.sh"
source "$root/scripts/device-lib.sh"
device_ensure
export PAGEMARK_KEEP_DISPLAY=1
trap device_stop EXIT
cd "$PAGEMARK_BUILD_DIR"
ctest --output-on-failure --timeout 600 "$@"
