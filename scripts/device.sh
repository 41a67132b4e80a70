#!/usr/bin/env bash
# Builds the item and starts it on the stand-in device's Today screen.
#   With a display: an interactive Wine desktop of the device's size (close it to end).
#   Without one: a scripted tour (scripts/tour.txt) on a QVGA and a VGA phone, whose screenshots are
#   written to build/tour/PROFILE/.
# The device gets PAGEMARK_SAMPLE_CONTACTS (default 200) generated contacts first.
# PAGEMARK_PROFILE chooses the device: qvga-phone (default), qvga, vga-phone, vga; the tour then runs
# on that one only.
set -euo pipefail
[[ -n "${PAGEMARK_PROFILE:-}" ]] && export PAGEMARK_PROFILE_SET=1
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

# Puts the profile on the device, with PAGEMARK_SAMPLE_CONTACTS (default 200) sample contacts so that
# the letter bar has something to find (0: none).
prepare_device() {
  "$root/scripts/device-profile.sh" "$1"
  local samples="${PAGEMARK_SAMPLE_CONTACTS:-200}"
  if ((samples > 0)); then
    (cd "$WINEPREFIX/drive_c" &&
      wine "$(winepath -w "$PAGEMARK_BUILD_DIR/bin/pimtool.exe")" generate "$samples" --seed 1 >/dev/null)
  fi
}

host="$(winepath -w "$PAGEMARK_BUILD_DIR/bin/TodayHost.exe")"
if ((interactive)); then
  prepare_device "$PAGEMARK_PROFILE"
  cd "$WINEPREFIX/drive_c"
  read -r size _ < <(profile_screen "$PAGEMARK_PROFILE")
  exec wine explorer "/desktop=Pagemark,$size" "$host"
fi

# The tour runs on a phone at both screen sizes, unless PAGEMARK_PROFILE names one. Its two taps, on
# the third cell ("GHI") and on the popup's "Close", need their places at each size.
trap device_stop EXIT
profiles="${PAGEMARK_TOUR_PROFILES:-qvga-phone vga-phone}"
[[ -n "${PAGEMARK_PROFILE_SET:-}" ]] && profiles="$PAGEMARK_PROFILE"
tour="$PAGEMARK_BUILD_DIR/tour"
for profile in $profiles; do
  # Each size on a screen of its own size.
  device_stop
  export PAGEMARK_PROFILE="$profile"
  unset PAGEMARK_KEEP_DISPLAY
  device_ensure
  prepare_device "$profile"
  case "$profile" in
    vga*) tap="124 99" close="460 138" ;;
    *) tap="60 47" close="228 67" ;;
  esac
  rm -rf "${tour:?}/$profile" && mkdir -p "$tour/$profile"
  script="$PAGEMARK_BUILD_DIR/tour-$profile.txt"
  sed -e "s#@TOUR@#$(winepath -w "$tour/$profile" | sed 's#\\#\\\\#g')#g" -e "s#@TAP@#$tap#g" -e "s#@CLOSE@#$close#g" \
    "$root/scripts/tour.txt" > "$script"
  (cd "$WINEPREFIX/drive_c" && wine "$host" /script "$(winepath -w "$script")" /exit)
done
echo "device tour: screenshots in $tour"
ls -R "$tour"
