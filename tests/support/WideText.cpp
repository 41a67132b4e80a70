#include "WideText.h"

#include <windows.h>

#include <cwchar>

std::string U8(const wchar_t* text, int length) {
  if (text == nullptr) return "<null>";
  if (length < 0) length = static_cast<int>(wcslen(text));
  if (length == 0) return std::string();
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
  std::string out(bytes, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, length, &out[0], bytes, nullptr, nullptr);
  return out;
}

std::string Ascii(const wchar_t* text) {
  std::string out;
  for (; text != nullptr && *text != 0; ++text) out += static_cast<char>(*text < 128 ? *text : '?');
  return out;
}
