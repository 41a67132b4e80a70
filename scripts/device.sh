#!/usr/bin/env bash
# Builds the item and starts it on the stand-in device's Today screen.
#   With a display: an interactive Wine desktop of the device's size (close it to end).
#   Without one: a scripted tour (scripts/tour.txt) on a QVGA and a VGA phone, whose screenshots are
#   written to build/tour/PROFILE/.
# The device gets the address book of tests/data and PAGEMARK_SAMPLE_CONTACTS (default 200) generated
# contacts first.
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

# Puts the profile on the device, with the 300 people of tests/data/addressbook.vcf and
# PAGEMARK_SAMPLE_CONTACTS (default 200) generated contacts, so that the letter bar has something to
# find (PAGEMARK_SAMPLE_CONTACTS=0: the address book alone).
prepare_device() {
  "$root/scripts/device-profile.sh" "$1"
  local pimtool samples="${PAGEMARK_SAMPLE_CONTACTS:-200}"
  pimtool="$(winepath -w "$PAGEMARK_BUILD_DIR/bin/pimtool.exe")"
  (cd "$WINEPREFIX/drive_c" && wine "$pimtool" import "$(winepath -w "$root/tests/data/addressbook.vcf")" >/dev/null)
  # The contact the tour opens as a page: a photo, numbers, mails, a web page, an address and a note.
  (cd "$WINEPREFIX/drive_c" && wine "$pimtool" import "$(winepath -w "$root/scripts/tour-contact.vcf")" >/dev/null)
  if ((samples > 0)); then
    (cd "$WINEPREFIX/drive_c" && wine "$pimtool" generate "$samples" --seed 1 >/dev/null)
  fi
}

# A setting of the item on the device: name, then the DWORD value.
set_setting() {
  wine reg add 'HKCU\Software\Zovrix\PIM\Settings' /v "$1" /t REG_DWORD /d "$2" /f >/dev/null 2>&1
}

host="$(winepath -w "$PAGEMARK_BUILD_DIR/bin/TodayHost.exe")"
if ((interactive)); then
  prepare_device "$PAGEMARK_PROFILE"
  cd "$WINEPREFIX/drive_c"
  read -r size _ < <(profile_screen "$PAGEMARK_PROFILE")
  exec wine explorer "/desktop=Pagemark,$size" "$host"
fi

# The tour runs on a phone at both screen sizes, unless PAGEMARK_PROFILE names one: first the list as
# it comes, then sorted by company in rows of two lines. Its taps on the third cell ("GHI"), on the
# last cell and on the right-hand end of the list's first row (left of the scroll bar) need their
# places at each size.
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
    vga*) tap="124 99" back="462 99" rowend="440 174" ;;
    *) tap="60 47" back="230 47" rowend="220 87" ;;
  esac
  rm -rf "${tour:?}/$profile" && mkdir -p "$tour/$profile"
  for part in tour tour-grouped; do
    [[ "$part" == tour-grouped ]] && (cd "$WINEPREFIX/drive_c" && set_setting SortType 2 && set_setting IsDoubleSized 1)
    script="$PAGEMARK_BUILD_DIR/$part-$profile.txt"
    sed -e "s#@TOUR@#$(winepath -w "$tour/$profile" | sed 's#\\#\\\\#g')#g" -e "s#@TAP@#$tap#g" -e "s#@BACK@#$back#g" \
      -e "s#@ROWEND@#$rowend#g" \
      "$root/scripts/$part.txt" > "$script"
    (cd "$WINEPREFIX/drive_c" && wine "$host" /script "$(winepath -w "$script")" /exit)
  done
done
echo "device tour: screenshots in $tour"
ls -R "$tour"
