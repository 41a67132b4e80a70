#include "DeviceJournal.h"
#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

std::string ToUtf8(const wchar_t* text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(n > 0 ? n - 1 : 0, '\0');
  if (n > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, &out[0], n, nullptr, nullptr);
  return out;
}

}  // namespace

void DeviceJournalWrite(const wchar_t* source, const wchar_t* format, ...) {
  wchar_t event[2048];
  va_list args;
  va_start(args, format);
  _vsnwprintf(event, 2047, format, args);
  va_end(args);
  event[2047] = 0;
  // Tabs and line breaks inside the event would break the line format.
  for (wchar_t* p = event; *p; ++p)
    if (*p == L'\t' || *p == L'\r' || *p == L'\n') *p = L' ';

  char stamp[32];
  snprintf(stamp, sizeof stamp, "%lu\t", GetTickCount());
  std::string line = stamp + ToUtf8(source ? source : L"") + "\t" + ToUtf8(event) + "\r\n";

  // Append mode makes each write land at the end even with several writers; retry a sharing clash.
  for (int attempt = 0; attempt < 50; ++attempt) {
    HANDLE file = CreateFileW(DEVICE_JOURNAL_PATH, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      DWORD written = 0;
      WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
      CloseHandle(file);
      return;
    }
    Sleep(10);
  }
}
