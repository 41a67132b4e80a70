#include "Output.h"
#include <windows.h>
#include <cstdio>

std::string ToUtf8(const std::wstring& text) {
  if (text.empty()) return std::string();
  int n = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr,
                              nullptr);
  std::string out(n, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &out[0], n, nullptr, nullptr);
  return out;
}

std::wstring FromUtf8(const std::string& text) {
  if (text.empty()) return std::wstring();
  int n = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring out(n, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &out[0], n);
  return out;
}

void Print(const std::wstring& text) {
  std::string bytes = ToUtf8(text);
  fwrite(bytes.data(), 1, bytes.size(), stdout);
}

void PrintLine(const std::wstring& text) {
  Print(text);
  fputc('\n', stdout);
}

void PrintError(const std::wstring& text) {
  std::string bytes = ToUtf8(text);
  fwrite(bytes.data(), 1, bytes.size(), stderr);
  fputc('\n', stderr);
}
