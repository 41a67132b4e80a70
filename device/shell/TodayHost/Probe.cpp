// The probe of a script: what the screen shows, written as text for a test to read. One line for each
// visible top-level window of the host's thread, and one for each visible list in it, read through the
// list's own messages as any other program could.
#include "TodayHost.h"

#include <DeviceJournal.h>

#include <cstdio>
#include <string>

namespace todayhost {

namespace {

struct ProbeLines {
  std::wstring text;
};

std::wstring ClassName(HWND hwnd) {
  wchar_t name[64] = L"";
  GetClassNameW(hwnd, name, 64);
  return name;
}

BOOL CALLBACK AddList(HWND child, LPARAM data) {
  auto* lines = reinterpret_cast<ProbeLines*>(data);
  const std::wstring name = ClassName(child);
  if (!IsWindowVisible(child) || (name != L"COOL.LIST" && _wcsicmp(name.c_str(), L"ListBox") != 0))
    return TRUE;
  wchar_t line[160];
  swprintf(line, 160, L"list %ls count %ld caret %ld top %ld\n", name.c_str(),
           static_cast<long>(SendMessageW(child, LB_GETCOUNT, 0, 0)),
           static_cast<long>(SendMessageW(child, LB_GETCURSEL, 0, 0)),
           static_cast<long>(SendMessageW(child, LB_GETTOPINDEX, 0, 0)));
  lines->text += line;
  return TRUE;
}

BOOL CALLBACK AddWindow(HWND hwnd, LPARAM data) {
  auto* lines = reinterpret_cast<ProbeLines*>(data);
  if (!IsWindowVisible(hwnd)) return TRUE;
  RECT rect;
  GetWindowRect(hwnd, &rect);
  wchar_t line[160];
  swprintf(line, 160, L"window %ls at %ld %ld %ld %ld\n", ClassName(hwnd).c_str(), rect.left, rect.top,
           rect.right, rect.bottom);
  lines->text += line;
  EnumChildWindows(hwnd, AddList, data);
  return TRUE;
}

}  // namespace

void Host::Probe(const std::wstring& path) {
  ProbeLines lines;
  EnumThreadWindows(GetCurrentThreadId(), AddWindow, reinterpret_cast<LPARAM>(&lines));
  int size = WideCharToMultiByte(CP_UTF8, 0, lines.text.c_str(), static_cast<int>(lines.text.size()), nullptr,
                                 0, nullptr, nullptr);
  std::string bytes(static_cast<size_t>(size > 0 ? size : 0), '\0');
  if (size > 0)
    WideCharToMultiByte(CP_UTF8, 0, lines.text.c_str(), static_cast<int>(lines.text.size()), &bytes[0], size,
                        nullptr, nullptr);
  HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  DWORD written = 0;
  bool ok = file != INVALID_HANDLE_VALUE &&
            WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
            written == bytes.size();
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  DeviceJournalWrite(kJournalSource, ok ? L"probe %ls" : L"probe %ls failed", path.c_str());
}

}  // namespace todayhost
