#!/usr/bin/env bash
# Applies a device profile to the build's Wine prefix: screen density, phone or not, the item installed
# and registered on the Today screen, the data folders, and the item's own state cleared.
#   device-profile.sh PROFILE      PROFILE: qvga-phone | qvga | vga-phone | vga
# Needs PAGEMARK_BUILD_DIR (the build folder) and a prefix made by device-lib.sh.
set -euo pipefail
profile="${1:-${PAGEMARK_PROFILE:-qvga-phone}}"
here="$(cd "$(dirname "$0")" && pwd)"
: "${PAGEMARK_BUILD_DIR:?set PAGEMARK_BUILD_DIR to the build folder}"
export PAGEMARK_PROFILE="$profile"
source "$here/device-lib.sh"

case "$profile" in
  qvga-phone|qvga|vga-phone|vga) ;;
  *) echo "unknown profile: $profile" >&2; exit 2 ;;
esac
read -r size dpi < <(profile_screen "$profile")
hex_dpi=$(printf '%08x' "$dpi")
drive="$WINEPREFIX/drive_c"
bin="$PAGEMARK_BUILD_DIR/bin"

# Files of the device.
install_dir="$drive/Program Files/Zovrix Pagemark"
mkdir -p "$install_dir" "$drive/My Documents/Pagemark Files" "$drive/Temp" "$drive/windows"
rm -f "$drive/windows/device-journal.txt"
# The item and the product's image library that it loads from its own folder.
for library in PagemarkToday.dll ZovrixPimUtil.dll; do
  if [[ -f "$bin/$library" ]]; then cp -f "$bin/$library" "$install_dir/"; fi
done
# The device's system library, with its object store, stands in \windows as on the device.
if [[ -f "$bin/coredll.dll" ]]; then cp -f "$bin/coredll.dll" "$drive/windows/coredll.dll"; fi
# So does the shell's helper library.
if [[ -f "$bin/aygshell.dll" ]]; then cp -f "$bin/aygshell.dll" "$drive/windows/aygshell.dll"; fi
# And the rich ink control that shows a contact's note.
if [[ -f "$bin/richink.dll" ]]; then cp -f "$bin/richink.dll" "$drive/windows/richink.dll"; fi
# The sound calls, the mail programs, the browser and the shell's file opener of every device.
for program in waveapi.dll tmail.exe pmail.exe iexplore.exe fileopen.exe; do
  if [[ -f "$bin/$program" ]]; then cp -f "$bin/$program" "$drive/windows/$program"; fi
done
# The stand-in of the product's main program, in the product's folder (where ProgramPath points).
if [[ -f "$bin/Pagemark.exe" ]]; then cp -f "$bin/Pagemark.exe" "$install_dir/Pagemark.exe"; fi
# The product's device service, which the service manager of coredll.dll hosts once it is registered.
if [[ -f "$bin/ZovrixPimServ.dll" ]]; then cp -f "$bin/ZovrixPimServ.dll" "$drive/windows/ZovrixPimServ.dll"; fi
# The contacts object model (a COM server, registered below) and the calendar program it shows
# appointments in.
for program in pimstore.dll calendar.exe; do
  if [[ -f "$bin/$program" ]]; then cp -f "$bin/$program" "$drive/windows/$program"; fi
done
if [[ "$profile" == *phone ]]; then
  [[ -f "$bin/sms.dll" ]] && cp -f "$bin/sms.dll" "$drive/windows/sms.dll" || : > "$drive/windows/sms.dll"
  # A phone's own library and program.
  for program in phone.dll cprog.exe; do
    if [[ -f "$bin/$program" ]]; then cp -f "$bin/$program" "$drive/windows/$program"; fi
  done
else
  rm -f "$drive/windows/sms.dll" "$drive/windows/phone.dll" "$drive/windows/cprog.exe"
fi
echo "$profile" > "$drive/windows/device-profile.txt"

# The object store starts empty, with the platform's "Contacts Database" and "\Categories Database".
rm -f "$drive/windows/objectstore.cdb" "$drive/windows/objectstore.log" \
      "$drive/windows/objectstore.cdb.new" "$drive/windows/objectstore.cdb.compact"
if [[ -f "$bin/ceadmin.exe" ]]; then
  (cd "$drive" && env -u PAGEMARK_OBJECT_STORE wine "$bin/ceadmin.exe" init >/dev/null)
fi

# Registry of the device. The item's settings tree starts empty; the Today screen lists the item.
reg="$PAGEMARK_BUILD_DIR/profile-$$.reg"
cat > "$reg" <<REG
Windows Registry Editor Version 5.00

[HKEY_CURRENT_USER\\Software\\Wine\\WineDbg]
"ShowCrashDialog"=dword:00000000

[HKEY_CURRENT_USER\\Software\\Wine\\X11 Driver]
"Managed"="N"

[HKEY_CURRENT_USER\\Control Panel\\Desktop]
"LogPixels"=dword:$hex_dpi

[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Fonts]
"LogPixels"=dword:$hex_dpi

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes]
"System"="Tahoma"

[-HKEY_CURRENT_USER\\Software\\Zovrix]

[HKEY_CURRENT_USER\\ControlPanel\\Owner]
"Name"="Device Owner"

[HKEY_CLASSES_ROOT\\PagemarkDevice.File\\shell\\open\\command]
@="\\"C:\\\\windows\\\\fileopen.exe\\" \\"%1\\""
$(for ext in txt pdf doc docx xls xlsx jpg jpeg png gif bmp mp3 wav wma htm html; do
    printf '\n[HKEY_CLASSES_ROOT\\.%s]\n@="PagemarkDevice.File"\n' "$ext"
  done)

[-HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Today\\Items\\Pagemark]

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Today\\Items\\Pagemark]
"DLL"="\\\\Program Files\\\\Zovrix Pagemark\\\\PagemarkToday.dll"
"Type"=dword:00000004
"Enabled"=dword:00000001
"Options"=dword:00000000
"Selectability"=dword:00000002
"Order"=dword:00000001

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\AddrBook]
"Default_Area"="812"

[HKEY_CURRENT_USER\\System\\State\\Messages\\sms\\Unread]
"Count"=dword:00000002

[HKEY_CURRENT_USER\\System\\State\\Phone]
"Missed Call Count"=dword:00000003

[-HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Rai\\:MSCONTACTS]

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Rai\\:MSCONTACTS]
"1"=":MSPOUTLOOK contacts"

[-HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Keys]

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Keys\\40C1]
@="\\"\\\\Windows\\\\calendar.exe\\""
"ResetCmd"="\\"\\\\Windows\\\\calendar.exe\\""
"Name"="Calendar"
"Icon"="\\\\Windows\\\\calendar.exe, 0"

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Keys\\40C2]
@="\\\\Windows\\\\Start Menu\\\\Programs\\\\Contacts.lnk"
"ResetCmd"=":MSCONTACTS"
"Name"="Contacts"
"Icon"="\\\\Windows\\\\addrbook.exe, 0"

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Keys\\40C3]
@="\\"\\\\Windows\\\\tmail.exe\\""
"ResetCmd"="\\"\\\\Windows\\\\tmail.exe\\""
"Name"="Messaging"
"Icon"="\\\\Windows\\\\tmail.exe, 0"

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Keys\\40C4]
@="\\\\Windows\\\\Start Menu\\\\Programs\\\\Speed Dial.lnk"
"ResetCmd"="\\\\Windows\\\\Start Menu\\\\Programs\\\\Speed Dial.lnk"
"Name"="Speed Dial"
"Icon"="\\\\Windows\\\\cprog.exe, 1"

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Shell\\Keys\\40C5]
@="\\"\\\\Windows\\\\camera.exe\\""
"ResetCmd"="\\"\\\\Windows\\\\camera.exe\\""
"Name"="Camera"
"Icon"="\\\\Windows\\\\camera.exe, 0"

[-HKEY_LOCAL_MACHINE\\Services\\ZovrixPim]

[HKEY_CLASSES_ROOT\\CLSID\\{05058F23-20BE-11D2-8F18-0000F87A4335}\\InprocServer32]
@="C:\\\\windows\\\\pimstore.dll"
"ThreadingModel"="Both"
REG
wine regedit /S "$(winepath -w "$reg")" >/dev/null 2>&1
rm -f "$reg"
echo "device profile $profile: screen $size at $dpi dpi, prefix $WINEPREFIX"
