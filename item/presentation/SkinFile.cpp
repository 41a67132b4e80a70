#include "presentation/SkinFile.h"
#include <wchar.h>
#include "foundation/Handles.h"
#include "foundation/Settings.h"

static const DWORD kSkinBlockSize = 4096;

Str GetSkinFilePath() {
  Str program = GetSettingString(SECTION_SETTINGS, L"ProgramPath", L"");
  int slash = program.ReverseFind(L'\\');
  Str folder = slash >= 0 ? program.Left(slash) : program;
  return folder + L"\\" + L"skin.txt";
}

static bool IsBlank(BYTE c) { return c == ' ' || c == '\t'; }

// The value behind the first place in `block` where the key's characters stand, each compared with
// one byte. A key must leave at least two bytes of the block behind it to count.
static bool FindInBlock(const BYTE* block, int length, const wchar_t* key, int keyLength, Str& value) {
  for (int at = 0; at < length - keyLength - 1; ++at) {
    int matched = 0;
    while (matched < keyLength && static_cast<wchar_t>(block[at + matched]) == key[matched]) ++matched;
    if (matched < keyLength) continue;
    int position = at + keyLength;
    while (position < length && (IsBlank(block[position]) || block[position] == '=')) ++position;
    if (position >= length) return false;
    int end = position;
    while (end < length && block[end] != '\r' && block[end] != '\n') ++end;
    if (end > position) {
      wchar_t* text = value.GetBufferSetLength(end - position);
      for (int i = position; i < end; ++i) text[i - position] = static_cast<wchar_t>(block[i]);
    }
    return true;
  }
  return false;
}

bool FindSkinValue(const wchar_t* key, Str& value) {
  value.Empty();
  KernelHandle file(CreateFileW(GetSkinFilePath(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file.IsEmpty()) return false;
  DWORD size = GetFileSize(file.Get(), nullptr);
  if (size == 0 || size == INVALID_FILE_SIZE) return false;
  int keyLength = static_cast<int>(wcslen(key));
  BYTE block[kSkinBlockSize];
  for (;;) {
    DWORD read = 0;
    if (!ReadFile(file.Get(), block, kSkinBlockSize, &read, nullptr) || read == 0) return false;
    if (FindInBlock(block, static_cast<int>(read), key, keyLength, value)) break;
    value.Empty();
  }
  value.TrimLeft();
  value.TrimRight();
  return true;
}

bool GetSkinString(const wchar_t* key, Str& value) { return FindSkinValue(key, value); }

bool GetSkinColor(const wchar_t* key, COLORREF& color) {
  Str text;
  if (!FindSkinValue(key, text)) return false;
  // Written as RRGGBB; the platform keeps red in the low byte.
  DWORD rgb = static_cast<DWORD>(wcstol(text, nullptr, 16));
  color = RGB((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
  return true;
}

bool GetSkinInt(const wchar_t* key, int& number) {
  Str text;
  if (!FindSkinValue(key, text)) return false;
  number = static_cast<int>(wcstol(text, nullptr, 10));
  return true;
}
