// The application keys as the device's shell handles them. The registry names what each key starts:
//   HKLM\SOFTWARE\Microsoft\Shell\Keys\40C1 ... 40C5   ResetCmd, else the default value
// A command is a program path (quoted when it holds blanks, as the product writes it) and its
// arguments, a shortcut (".lnk"), or ":NAME", an alias of the shell that HKLM\...\Shell\Rai\:NAME
// resolves by its value "1". The stand-in device has no shortcuts and only the programs it installs;
// what can't be started is written to the journal, like everything that is.
#include "HardwareKeys.h"

#include <DeviceJournal.h>

#include <cwctype>
#include <vector>

#include "TodayHost.h"

namespace todayhost {

namespace {

const wchar_t kKeysPath[] = L"SOFTWARE\\Microsoft\\Shell\\Keys\\";
const wchar_t kAliasPath[] = L"SOFTWARE\\Microsoft\\Shell\\Rai\\";

std::wstring ReadText(const std::wstring& path, const wchar_t* value) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return L"";
  std::vector<wchar_t> buffer(1024, L'\0');
  DWORD type = 0, size = static_cast<DWORD>((buffer.size() - 1) * sizeof(wchar_t));
  std::wstring text;
  if (RegQueryValueExW(key, value, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size) ==
          ERROR_SUCCESS &&
      (type == REG_SZ || type == REG_EXPAND_SZ))
    text.assign(buffer.data());
  RegCloseKey(key);
  return text;
}

std::wstring Trim(const std::wstring& text) {
  size_t begin = 0, end = text.size();
  while (begin < end && iswspace(text[begin])) ++begin;
  while (end > begin && iswspace(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

std::wstring Lower(std::wstring text) {
  for (auto& c : text) c = static_cast<wchar_t>(towlower(c));
  return text;
}

// The program and its arguments: a quoted path up to its closing quote; otherwise the text up to the
// first ".exe" that ends a word, or all of it (a shortcut's path may hold blanks).
void SplitCommand(const std::wstring& command, std::wstring* program, std::wstring* arguments) {
  if (!command.empty() && command[0] == L'"') {
    size_t close = command.find(L'"', 1);
    if (close == std::wstring::npos) close = command.size();
    *program = command.substr(1, close - 1);
    *arguments = close < command.size() ? Trim(command.substr(close + 1)) : L"";
    return;
  }
  const std::wstring lower = Lower(command);
  size_t exe = lower.find(L".exe");
  while (exe != std::wstring::npos && exe + 4 < lower.size() && !iswspace(lower[exe + 4]))
    exe = lower.find(L".exe", exe + 1);
  if (exe == std::wstring::npos) {
    *program = command;
    arguments->clear();
    return;
  }
  *program = command.substr(0, exe + 4);
  *arguments = Trim(command.substr(exe + 4));
}

}  // namespace

UINT ParseHardwareKey(const std::wstring& text) {
  const std::wstring name = Lower(text);
  if (name.size() == 4 && name.compare(0, 3, L"app") == 0 && name[3] >= L'1' && name[3] <= L'5')
    return kFirstHardwareKey + static_cast<UINT>(name[3] - L'1');
  wchar_t* end = nullptr;
  const unsigned long number = wcstoul(text.c_str(), &end, 0);
  if (!text.empty() && end && !*end && number >= 0x4000 + kFirstHardwareKey &&
      number <= 0x4000 + kLastHardwareKey)
    return static_cast<UINT>(number - 0x4000);
  return 0;
}

bool StartHardwareKeyProgram(UINT vk) {
  wchar_t name[8];
  wsprintfW(name, L"%X", 0x4000 + vk);
  const std::wstring path = std::wstring(kKeysPath) + name;
  std::wstring command = Trim(ReadText(path, L"ResetCmd"));
  if (command.empty()) command = Trim(ReadText(path, nullptr));
  if (command.empty()) {
    DeviceJournalWrite(kJournalSource, L"hardware key %ls: no command", name);
    return false;
  }
  DeviceJournalWrite(kJournalSource, L"hardware key %ls: %ls", name, command.c_str());
  if (command[0] == L':') {
    const size_t blank = command.find(L' ');
    const std::wstring alias = command.substr(0, blank);
    const std::wstring target = Trim(ReadText(std::wstring(kAliasPath) + alias, L"1"));
    if (target.empty() || target[0] == L':') {
      DeviceJournalWrite(kJournalSource, L"hardware key %ls: no program on this device for %ls", name,
                         alias.c_str());
      return false;
    }
    command = target + (blank == std::wstring::npos ? L"" : command.substr(blank));
    DeviceJournalWrite(kJournalSource, L"hardware key %ls: %ls is %ls", name, alias.c_str(), command.c_str());
  }
  std::wstring program, arguments;
  SplitCommand(command, &program, &arguments);
  if (GetFileAttributesW(program.c_str()) == INVALID_FILE_ATTRIBUTES) {
    DeviceJournalWrite(kJournalSource, L"hardware key %ls: %ls is not on this device", name, program.c_str());
    return false;
  }
  // The device's programs get their arguments alone as the command line.
  std::vector<wchar_t> line(arguments.begin(), arguments.end());
  line.push_back(L'\0');
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                      &process)) {
    DeviceJournalWrite(kJournalSource, L"hardware key %ls: %ls not started, error %lu", name, program.c_str(),
                       GetLastError());
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  DeviceJournalWrite(kJournalSource, L"hardware key %ls: started %ls", name, program.c_str());
  return true;
}

}  // namespace todayhost
