#include "phone/DeviceIntegrationRegistry.h"

#include "foundation/Handles.h"

namespace deviceregistry {

Str ReadText(HKEY key, const wchar_t* value, DWORD maxBytes) {
  Str text;
  int characters = static_cast<int>(maxBytes / sizeof(wchar_t));
  wchar_t* buffer = text.GetBuffer(characters);
  DWORD type = 0, bytes = maxBytes;
  LONG result = RegQueryValueExW(key, value, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
  if (result != ERROR_SUCCESS || type != REG_SZ) bytes = 0;
  // The value may come without its terminator.
  buffer[bytes / sizeof(wchar_t)] = 0;
  text.ReleaseBuffer();
  return text;
}

BOOL WriteText(HKEY key, const wchar_t* value, const wchar_t* text) {
  DWORD bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
  return RegSetValueExW(key, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), bytes) == ERROR_SUCCESS;
}

DWORD ReadCounter(const wchar_t* path, const wchar_t* value) {
  RegKey key;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS) return 0;
  DWORD number = 0, type = 0, bytes = sizeof number;
  if (RegQueryValueExW(key.Get(), value, nullptr, &type, reinterpret_cast<BYTE*>(&number), &bytes) !=
          ERROR_SUCCESS ||
      type != REG_DWORD)
    return 0;
  return number;
}

}  // namespace deviceregistry
