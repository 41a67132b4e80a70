# Shell functions that make and keep the stand-in devices of a build folder. Sourced by the wine-run
# wrapper and the scripts in this folder.
#
# One template prefix is made per build folder (build/device-template: wineboot once, then the device
# profile); every device is a clone of it:
#   - build/wineprefix, the device of people and tools (scripts/device.sh, wine-run without a name),
#     whose wineserver stays alive while it is in use, so that one program call on a warm device costs
#     a fraction of a second; device_stop ends it, and so does an idle time (PAGEMARK_IDLE, seconds);
#   - build/devices/NAME, one fresh device per test program (wine-run with PAGEMARK_DEVICE=NAME), so that
#     test programs running side by side share no registry, object store, named objects or wineserver.
# All devices of a run share one Xvfb screen.
#
# PAGEMARK_BUILD_DIR names the build folder (./build by default); PAGEMARK_PROFILE picks the device
# (qvga-phone, qvga, vga-phone, vga).

DEVICE_SCRIPTS="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
: "${PAGEMARK_BUILD_DIR:=$(dirname "$DEVICE_SCRIPTS")/build}"
export PAGEMARK_BUILD_DIR
: "${PAGEMARK_PROFILE:=qvga-phone}"
export PAGEMARK_PROFILE
: "${PAGEMARK_IDLE:=600}"
DEVICE_TEMPLATE="$PAGEMARK_BUILD_DIR/device-template"
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
  mkdir -p "$PAGEMARK_BUILD_DIR"
  if [[ -f "$state" ]]; then
    read -r n pid < "$state" || true
    if [[ -n "${pid:-}" ]] && kill -0 "$pid" 2>/dev/null && [[ -S /tmp/.X11-unix/X$n ]]; then
      export DISPLAY=":$n"; return 0
    fi
  fi
  read -r size dpi < <(profile_screen "$PAGEMARK_PROFILE")
  for n in $(seq 90 140); do
    [[ -e /tmp/.X$n-lock || -S /tmp/.X11-unix/X$n ]] && continue
    # -noreset: the screen is shared by programs one after the other, and a server that starts over
    # when its last client has gone closes the connection of the next program to come in meanwhile
    # (which then ends with status 1 before it has done anything).
    Xvfb ":$n" -screen 0 "${size}x24" -dpi "$dpi" -nolisten tcp -noreset >/dev/null 2>&1 &
    pid=$!
    for _ in $(seq 1 50); do [[ -S /tmp/.X11-unix/X$n ]] && break; sleep 0.1; done
    if [[ -S /tmp/.X11-unix/X$n ]]; then
      echo "$n $pid" > "$state"
      export DISPLAY=":$n"; return 0
    fi
  done
  echo "device: could not start Xvfb" >&2; return 1
}

# The template: made once per build folder with the display already set, never by two callers at
# once. Its wineserver is gone when this returns, so that its registry files are complete.
device_ensure_template() {
  mkdir -p "$PAGEMARK_BUILD_DIR"
  (
    flock 9
    if [[ ! -f "$DEVICE_TEMPLATE/.pagemark-ready" ]]; then
      rm -rf "$DEVICE_TEMPLATE"
      WINEPREFIX="$DEVICE_TEMPLATE" wineboot --init >/dev/null 2>&1 || true
      WINEPREFIX="$DEVICE_TEMPLATE" wineserver -w
      WINEPREFIX="$DEVICE_TEMPLATE" "$DEVICE_SCRIPTS/device-profile.sh" "$PAGEMARK_PROFILE" >/dev/null
      WINEPREFIX="$DEVICE_TEMPLATE" wineserver -w
      device_template_source > "$DEVICE_TEMPLATE/.pagemark-source"
      touch "$DEVICE_TEMPLATE/.pagemark-ready"
    fi
  ) 9>"$PAGEMARK_BUILD_DIR/.device.lock"
}

# What the template was made from: the profile, its script, and the device's libraries of this build.
device_template_source() {
  local bin="$PAGEMARK_BUILD_DIR/bin" f
  echo "$PAGEMARK_PROFILE"
  md5sum "$DEVICE_SCRIPTS/device-profile.sh" | cut -d' ' -f1
  for f in PagemarkToday.dll ZovrixPimUtil.dll coredll.dll aygshell.dll sms.dll ceadmin.exe phone.dll richink.dll \
           waveapi.dll cprog.exe tmail.exe pmail.exe iexplore.exe fileopen.exe ZovrixPimServ.dll \
           Pagemark.exe; do
    [[ -f "$bin/$f" ]] && md5sum "$bin/$f" | cut -d' ' -f1 || echo "no $f"
  done
  for f in pimstore.dll calendar.exe; do
    [[ -f "$bin/$f" ]] && md5sum "$bin/$f" | cut -d' ' -f1 || echo "no $f"
  done
}

# Applies the profile to the template again (the item and device libraries of this build, a cleared
# registry and object store) unless it was made from the same sources; the next clones start from it.
device_refresh_template() {
  device_ensure_template
  (
    flock 9
    local source
    source="$(device_template_source)"
    if [[ "$source" != "$(cat "$DEVICE_TEMPLATE/.pagemark-source" 2>/dev/null)" ]]; then
      WINEPREFIX="$DEVICE_TEMPLATE" "$DEVICE_SCRIPTS/device-profile.sh" "$PAGEMARK_PROFILE" >/dev/null
      WINEPREFIX="$DEVICE_TEMPLATE" wineserver -w
      echo "$source" > "$DEVICE_TEMPLATE/.pagemark-source"
    fi
  ) 9>"$PAGEMARK_BUILD_DIR/.device.lock"
}

# Copies the template to $1. Wine's own libraries, fonts and tables below drive_c/windows/* are never
# written by a device, so they are hard links; everything a device may change (registry files, the
# object store, the journal, installed programs, data folders) is a real copy.
device_clone() {
  local target="$1" entry name
  rm -rf "$target"
  mkdir -p "$target/drive_c/windows"
  for entry in "$DEVICE_TEMPLATE"/* "$DEVICE_TEMPLATE"/.[!.]*; do
    [[ -e "$entry" || -L "$entry" ]] || continue
    name="${entry##*/}"
    [[ "$name" == drive_c || "$name" == .pagemark-* ]] || cp -a "$entry" "$target/"
  done
  for entry in "$DEVICE_TEMPLATE"/drive_c/*; do
    name="${entry##*/}"
    [[ "$name" == windows ]] || cp -a "$entry" "$target/drive_c/"
  done
  for entry in "$DEVICE_TEMPLATE"/drive_c/windows/*; do
    name="${entry##*/}"
    if [[ -d "$entry" && "$name" != temp && "$name" != logs ]]; then
      cp -al "$entry" "$target/drive_c/windows/"
    else
      cp -a "$entry" "$target/drive_c/windows/"
    fi
  done
  touch "$target/.pagemark-ready"
}

# The device of people and tools: a clone of the template, made when missing.
device_ensure_prefix() {
  device_ensure_template
  (
    flock 9
    if [[ ! -f "$WINEPREFIX/.pagemark-ready" ]]; then
      device_clone "$WINEPREFIX"
    fi
  ) 9>"$PAGEMARK_BUILD_DIR/.device.lock"
}

# Keeps the wineserver of $WINEPREFIX alive between programs: started once with the display set,
# it ends after PAGEMARK_IDLE seconds without a program, or at device_stop.
device_keep_server() {
  if wineserver -p"$PAGEMARK_IDLE" >/dev/null 2>&1; then
    # A new server: the device's services start with its first program and live as long as it does.
    # They start here, away from the caller's output, or a pipe from the caller would stay open.
    wine cmd.exe /c rem >/dev/null 2>&1 </dev/null || true
  fi
}

device_ensure() {
  device_ensure_display
  device_ensure_prefix
}

# A fresh device for one test program, named $1, in build/devices; sets WINEPREFIX.
device_fresh() {
  device_ensure_display
  device_ensure_template
  export WINEPREFIX="$PAGEMARK_BUILD_DIR/devices/$1"
  device_clone "$WINEPREFIX"
}

device_stop() {
  local state="$PAGEMARK_BUILD_DIR/.display" n pid
  WINEPREFIX="$PAGEMARK_BUILD_DIR/wineprefix" wineserver -k 2>/dev/null || true
  if [[ -f "$state" ]]; then
    read -r n pid < "$state" || true
    # The number may belong to another program by now: only an Xvfb is ended.
    if [[ -n "${pid:-}" && "$(cat "/proc/$pid/comm" 2>/dev/null)" == Xvfb ]]; then
      kill "$pid" 2>/dev/null || true
    fi
    rm -f "$state"
  fi
}
