#include "SkinTestSupport.h"
#include "TestRegistry.h"
#include "presentation/Skin.h"

namespace skintest {

const wchar_t kProgramFolder[] = L"\\Temp\\SkinTest";
const wchar_t kSkinFile[] = L"\\Temp\\SkinTest\\skin.txt";

CleanSkin::CleanSkin() {
  testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot);
  CreateDirectoryW(L"\\Temp", nullptr);
  CreateDirectoryW(kProgramFolder, nullptr);
  DeleteFileW(kSkinFile);
  SetSetting(L"Settings", L"ProgramPath", (std::wstring(kProgramFolder) + L"\\Pagemark.exe").c_str());
  Skin screen;  // its constructor fixes dpiX, dpiY and isHighRes from the screen
}

CleanSkin::~CleanSkin() {
  DeleteFileW(kSkinFile);
  testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot);
  Skin screen;
}

void WriteSkinFile(const std::string& bytes) {
  HANDLE file = CreateFileW(kSkinFile, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  DWORD written = 0;
  WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  CloseHandle(file);
}

void SetSetting(const wchar_t* subkey, const wchar_t* name, DWORD number) {
  testreg::WriteDword(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\" + subkey, name, number);
}

void SetSetting(const wchar_t* subkey, const wchar_t* name, const wchar_t* text) {
  testreg::WriteString(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\" + subkey, name, text);
}

std::string U8(const wchar_t* text) {
  if (text == nullptr) return "<null>";
  int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(bytes > 0 ? bytes - 1 : 0, '\0');
  if (bytes > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, &out[0], bytes, nullptr, nullptr);
  return out;
}

}  // namespace skintest
