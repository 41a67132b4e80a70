# Shell functions that make and keep the stand-in device: one Wine prefix per build folder and one
# Xvfb screen per run. Sourced by the wine-run wrapper and the scripts in this folder.
# PAGEMARK_BUILD_DIR names the build folder (./build by default); PAGEMARK_PROFILE picks the device
# (qvga-phone, qvga, vga-phone, vga).

DEVICE_SCRIPTS="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
: "${PAGEMARK_BUILD_DIR:=$(dirname "$DEVICE_SCRIPTS")/build}"
export PAGEMARK_BUILD_DIR
: "${PAGEMARK_PROFILE:=qvga-phone}"
export PAGEMARK_PROFILE
export WINEPREFIX="${WINEPREFIX:-$PAGEMARK_BUILD_DIR/wineprefix}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree,mshtml="
export WINEARCH=win64

profile_screen() {   # prints "WIDTHxHEIGHT DPI" for the profile
  case "$1" in
    vga*) echo "480x640 192" ;;
    *)    echo "240x320 96" ;;
  esac
}

# The screen: reuse the display of this build folder while its Xvfb lives, else start one.
device_ensure_display() {
  local state="$PAGEMARK_BUILD_DIR/.display" n pid size dpi
  if [[ -n "${PAGEMARK_KEEP_DISPLAY:-}" && -n "${DISPLAY:-}" ]]; then return 0; fi
  if [[ -f "$state" ]]; then
    read -r n pid < "$state" || true
    if [[ -n "${pid:-}" ]] && kill -0 "$pid" 2>/dev/null && [[ -S /tmp/.X11-unix/X$n ]]; then
      export DISPLAY=":$n"; return 0
    fi
  fi
  read -r size dpi < <(profile_screen "$PAGEMARK_PROFILE")
  for n in $(seq 90 140); do
    [[ -e /tmp/.X$n-lock || -S /tmp/.X11-unix/X$n ]] && continue
    Xvfb ":$n" -screen 0 "${size}x24" -dpi "$dpi" -nolisten tcp >/dev/null 2>&1 &
    pid=$!
    for _ in $(seq 1 50); do [[ -S /tmp/.X11-unix/X$n ]] && break; sleep 0.1; done
    if [[ -S /tmp/.X11-unix/X$n ]]; then
      echo "$n $pid" > "$state"
      export DISPLAY=":$n"; return 0
    fi
  done
  echo "device: could not start Xvfb" >&2; return 1
}

# The prefix: made once, with the display already set, never by two callers at once.
device_ensure_prefix() {
  mkdir -p "$PAGEMARK_BUILD_DIR"
  (
    flock 9
    if [[ ! -f "$WINEPREFIX/.pagemark-ready" ]]; then
      rm -rf "$WINEPREFIX"
      wineboot --init >/dev/null 2>&1 || true
      wineserver -w
      "$DEVICE_SCRIPTS/device-profile.sh" "$PAGEMARK_PROFILE" >/dev/null
      touch "$WINEPREFIX/.pagemark-ready"
    fi
  ) 9>"$PAGEMARK_BUILD_DIR/.device.lock"
}

device_ensure() {
  device_ensure_display
  device_ensure_prefix
}

device_stop() {
  local state="$PAGEMARK_BUILD_DIR/.display" n pid
  wineserver -k 2>/dev/null || true
  if [[ -f "$state" ]]; then
    read -r n pid < "$state" || true
    [[ -n "${pid:-}" ]] && kill "$pid" 2>/dev/null || true
    rm -f "$state"
  fi
}
