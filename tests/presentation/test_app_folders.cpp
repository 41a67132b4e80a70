// The folders of the skin and of the user's data, and the module of the item's resources.
#include <doctest/doctest.h>
#include <windows.h>
#include "SkinTestSupport.h"
#include "presentation/AppFolders.h"

using namespace skintest;

namespace {

bool IsFolder(const wchar_t* path) {
  DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace

TEST_CASE_FIXTURE(CleanSkin,
                  "a FolderPath with a trailing backslash is used without it, and made when missing") {
  RemoveDirectoryW(L"\\Temp\\Pagemark Data");
  REQUIRE_FALSE(IsFolder(L"\\Temp\\Pagemark Data"));
  SetSetting(L"Settings", L"FolderPath", L"\\Temp\\Pagemark Data\\");
  CHECK(U8(GetDataFolder()) == "\\Temp\\Pagemark Data");
  CHECK(IsFolder(L"\\Temp\\Pagemark Data"));
  SetSetting(L"Settings", L"FolderPath", L"\\Temp\\Pagemark Data");
  CHECK(U8(GetDataFolder()) == "\\Temp\\Pagemark Data");
  RemoveDirectoryW(L"\\Temp\\Pagemark Data");
}

TEST_CASE_FIXTURE(CleanSkin, "without FolderPath the data folder is \\My Documents\\Pagemark Files") {
  CHECK(U8(GetDataFolder()) == "\\My Documents\\Pagemark Files");
  CHECK(IsFolder(L"\\My Documents\\Pagemark Files"));
}

TEST_CASE_FIXTURE(CleanSkin, "a data folder that can't be made is still the one named") {
  SetSetting(L"Settings", L"FolderPath", L"\\Temp\\No such parent\\Data\\");
  CHECK(U8(GetDataFolder()) == "\\Temp\\No such parent\\Data");
  CHECK_FALSE(IsFolder(L"\\Temp\\No such parent\\Data"));
}

TEST_CASE_FIXTURE(CleanSkin, "a SkinPath without a trailing backslash is used with it") {
  SetSetting(L"Settings", L"SkinPath", L"\\Storage Card\\Skins\\Blue");
  CHECK(U8(GetSkinFolder()) == "\\Storage Card\\Skins\\Blue\\");
  SetSetting(L"Settings", L"SkinPath", L"\\Storage Card\\Skins\\Blue\\");
  CHECK(U8(GetSkinFolder()) == "\\Storage Card\\Skins\\Blue\\");
}

TEST_CASE_FIXTURE(CleanSkin, "without SkinPath the skin folder is the product's under \\Program Files") {
  CHECK(U8(GetSkinFolder()) == "\\Program Files\\Zovrix Pagemark\\RingvaneSkin\\");
}

TEST_CASE("the module instance is the one set, else the program's own, which is then kept") {
  HINSTANCE other = GetModuleHandleW(L"kernel32.dll");
  REQUIRE(other != nullptr);
  SetModuleInstance(other);
  CHECK(GetModuleInstance() == other);
  SetModuleInstance(nullptr);
  CHECK(GetModuleInstance() == GetModuleHandleW(nullptr));
  CHECK(GetModuleInstance() == GetModuleHandleW(nullptr));
}
