// Small helpers shared by the foundation tests: readable text for failure messages and the log file.
#pragma once

#include "foundation/Str.h"

#include <windows.h>

#include <regex>
#include <string>
#include <vector>

// UTF-8 copy of a wide text, so that doctest can print what it compares.
inline std::string U8(const wchar_t* text) {
  if (text == nullptr) return "<null>";
  int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(bytes > 0 ? bytes - 1 : 0, '\0');
  if (bytes > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, &out[0], bytes, nullptr, nullptr);
  return out;
}

inline std::string U8(const Str& text) { return U8(static_cast<const wchar_t*>(text)); }

inline std::string U8(const std::wstring& text) { return U8(text.c_str()); }

// Where LogError writes when the log module is `module`, worked out here on its own terms.
inline std::wstring LogPathOf(HMODULE module) {
  wchar_t path[1024] = {};
  DWORD length = GetModuleFileNameW(module, path, 1024);
  return std::wstring(path, length) + L".log";
}

inline std::string ReadWholeFile(const std::wstring& path) {
  HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return std::string();
  std::string bytes;
  char chunk[4096];
  DWORD read = 0;
  while (ReadFile(file, chunk, sizeof(chunk), &read, nullptr) && read > 0) bytes.append(chunk, read);
  CloseHandle(file);
  return bytes;
}

inline bool FileExists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The lines of a log, each of which must end in CR LF; a trailing piece without one is returned as
// a line of its own with "<unterminated>" in front, so that a test sees it.
inline std::vector<std::string> LogLines(const std::string& bytes) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < bytes.size()) {
    size_t end = bytes.find("\r\n", start);
    if (end == std::string::npos) {
      lines.push_back("<unterminated>" + bytes.substr(start));
      break;
    }
    lines.push_back(bytes.substr(start, end - start));
    start = end + 2;
  }
  return lines;
}

// Splits "yyyy.MM.dd HH:mm:ss - rest" into the stamp and the rest; false when the line isn't so.
inline bool SplitLogLine(const std::string& line, std::string& stamp, std::string& rest) {
  static const std::regex shape(R"(^(\d{4}\.\d{2}\.\d{2} \d{2}:\d{2}:\d{2}) - ([\s\S]*)$)");
  std::smatch match;
  if (!std::regex_match(line, match, shape)) return false;
  stamp = match[1];
  rest = match[2];
  return true;
}

// The local time in the log's stamp layout, for comparison with a logged stamp.
inline std::string StampNow() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  char text[32];
  snprintf(text, sizeof(text), "%04u.%02u.%02u %02u:%02u:%02u", now.wYear, now.wMonth, now.wDay, now.wHour,
           now.wMinute, now.wSecond);
  return text;
}
