#!/usr/bin/env bash
# Builds the item and starts it on the stand-in device's Today screen.
#   With a display: an interactive Wine desktop of the device's size (close it to end).
#   Without one: a scripted tour whose screenshots are written to build/tour/.
# The device gets PAGEMARK_SAMPLE_CONTACTS (default 200) generated contacts first.
# PAGEMARK_PROFILE chooses the device: qvga-phone (default), qvga, vga-phone, vga.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
export PAGEMARK_BUILD_DIR="${PAGEMARK_BUILD_DIR:-$root/build}"
"$root/scripts/build.sh"
interactive=0
if [[ -n "${DISPLAY:-}" && "${PAGEMARK_TOUR:-}" != "1" ]]; then
  interactive=1
  export PAGEMARK_KEEP_DISPLAY=1
fi
source "$root/scripts/device-lib.sh"
device_ensure
"$root/scripts/device-profile.sh" "$PAGEMARK_PROFILE"
host="$(winepath -w "$PAGEMARK_BUILD_DIR/bin/TodayHost.exe")"
cd "$WINEPREFIX/drive_c"
# Sample contacts, so that the letter bar has something to find (PAGEMARK_SAMPLE_CONTACTS=0: none).
samples="${PAGEMARK_SAMPLE_CONTACTS:-200}"
if ((samples > 0)); then
  wine "$(winepath -w "$PAGEMARK_BUILD_DIR/bin/pimtool.exe")" generate "$samples" --seed 1 >/dev/null
fi
if ((interactive)); then
  read -r size _ < <(profile_screen "$PAGEMARK_PROFILE")
  exec wine explorer "/desktop=Pagemark,$size" "$host"
fi
trap device_stop EXIT
tour="$PAGEMARK_BUILD_DIR/tour"
rm -rf "$tour" && mkdir -p "$tour"
script="$PAGEMARK_BUILD_DIR/tour.txt"
sed "s#@TOUR@#$(winepath -w "$tour" | sed 's#\\#\\\\#g')#g" "$root/scripts/tour.txt" > "$script"
wine "$host" /script "$(winepath -w "$script")" /exit
echo "device tour: screenshots in $tour"
ls "$tour"
