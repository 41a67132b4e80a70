#include "ProgramLog.h"

#include <cstdio>
#include <regex>

#include "TestPaths.h"
#include "foundation/DebugUtils.h"

std::wstring LogPathOf(HMODULE module) {
  wchar_t path[1024] = {};
  DWORD length = GetModuleFileNameW(module, path, 1024);
  return std::wstring(path, length) + L".log";
}

std::wstring FreshProgramLog() {
  HMODULE program = GetModuleHandleW(nullptr);
  SetLogModule(program);
  std::wstring path = LogPathOf(program);
  DeleteFileW(path.c_str());
  return path;
}

std::string ProgramLogText() { return testpaths::ReadFileText(LogPathOf(GetModuleHandleW(nullptr))); }

std::vector<std::string> LogLines(const std::string& bytes) {
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

bool SplitLogLine(const std::string& line, std::string& stamp, std::string& rest) {
  static const std::regex shape(R"(^(\d{4}\.\d{2}\.\d{2} \d{2}:\d{2}:\d{2}) - ([\s\S]*)$)");
  std::smatch match;
  if (!std::regex_match(line, match, shape)) return false;
  stamp = match[1];
  rest = match[2];
  return true;
}

std::vector<std::string> LogMessages(const std::wstring& path) {
  std::vector<std::string> messages;
  for (const std::string& line : LogLines(testpaths::ReadFileText(path))) {
    std::string stamp, rest;
    if (SplitLogLine(line, stamp, rest))
      messages.push_back(rest);
    else
      messages.push_back("<not a log line>" + line);
  }
  return messages;
}

std::string StampNow() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  char text[32];
  snprintf(text, sizeof(text), "%04u.%02u.%02u %02u:%02u:%02u", now.wYear, now.wMonth, now.wDay, now.wHour,
           now.wMinute, now.wSecond);
  return text;
}
