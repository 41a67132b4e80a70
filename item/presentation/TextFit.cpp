#include "presentation/TextFit.h"
#include <wchar.h>

static const wchar_t kDots[] = L"...";

static int TextWidth(HDC dc, const wchar_t* text, int length) {
  SIZE size = {0, 0};
  if (length > 0) GetTextExtentPoint32W(dc, text, length, &size);
  return size.cx;
}

Str FitText(HDC dc, const wchar_t* text, int width) {
  int length = static_cast<int>(wcslen(text));
  if (TextWidth(dc, text, length) <= width) return Str(text);
  int room = width - TextWidth(dc, kDots, 3);
  if (room < 0) return Str();
  int fitting = 0;
  SIZE size = {0, 0};
  if (!GetTextExtentExPointW(dc, text, length, room, &fitting, nullptr, &size)) fitting = 0;
  return Str(text, fitting) + kDots;
}

bool ShortenInPlace(wchar_t* buffer, int width, HDC dc) {
  int length = static_cast<int>(wcslen(buffer));
  bool changed = false;
  while (length > 0 && TextWidth(dc, buffer, length) > width) {
    buffer[--length] = 0;
    changed = true;
    if (length < 2) continue;
    buffer[length - 1] = L'.';
    buffer[length - 2] = L'.';
    if (length >= 3) buffer[length - 3] = L'.';
  }
  return changed;
}
