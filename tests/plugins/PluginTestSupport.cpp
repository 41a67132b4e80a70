#include "PluginTestSupport.h"

#include "TestPaths.h"
#include "TestRegistry.h"

namespace plugintest {

const wchar_t kAddInsKey[] = L"SOFTWARE\\Microsoft\\PimApps\\PimExtensions\\Contacts\\AddIns";
const wchar_t kExtensionsKey[] =
    L"Software\\Microsoft\\Shell\\Extensions\\ContextMenus\\Contacts\\Main_ContextMenu";
const wchar_t kSampleExtensionClass[] = L"{6B1F3C2A-5D4E-4F80-9A1B-2C3D4E5F6071}";

std::wstring SampleAddInPath() { return testpaths::BinDir() + L"SampleAddIn.dll"; }
std::wstring SampleExtensionPath() { return testpaths::BinDir() + L"SampleExtension.dll"; }

void ClearAll() {
  testreg::DeleteTree(HKEY_LOCAL_MACHINE, kAddInsKey);
  testreg::DeleteTree(HKEY_LOCAL_MACHINE, kExtensionsKey);
}

void AddAddIn(const std::wstring& name, const std::wstring& library, const std::wstring& menu) {
  const std::wstring key = std::wstring(kAddInsKey) + L"\\" + name;
  HKEY created = nullptr;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr);
  if (created) RegCloseKey(created);
  if (!library.empty()) testreg::WriteString(HKEY_LOCAL_MACHINE, key, L"DLL", library);
  if (!menu.empty()) testreg::WriteString(HKEY_LOCAL_MACHINE, key, L"Menu", menu);
}

void AddSampleExtension() {
  const std::wstring server = std::wstring(L"CLSID\\") + kSampleExtensionClass + L"\\InprocServer32";
  testreg::WriteString(HKEY_CLASSES_ROOT, server, L"", SampleExtensionPath());
  testreg::WriteString(HKEY_CLASSES_ROOT, server, L"ThreadingModel", L"Both");
  const std::wstring extension = std::wstring(kExtensionsKey) + L"\\" + kSampleExtensionClass;
  HKEY created = nullptr;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, extension.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created,
                  nullptr);
  if (created) RegCloseKey(created);
}

std::wstring CopyOfAddIn(const std::wstring& fileName) {
  const std::wstring path = testpaths::TempFolder() + fileName;
  CopyFileW(SampleAddInPath().c_str(), path.c_str(), FALSE);
  return path;
}

std::vector<std::string> JournalEvents(const std::string& source) {
  std::vector<std::string> events;
  for (const testpaths::JournalLine& line : testpaths::ReadDeviceJournal())
    if (line.source == source) events.push_back(line.event);
  return events;
}

}  // namespace plugintest
