#include "presentation/AppFolders.h"
#include "foundation/Settings.h"

static HINSTANCE g_moduleInstance = nullptr;

void SetModuleInstance(HINSTANCE instance) { g_moduleInstance = instance; }

HINSTANCE GetModuleInstance() {
  if (g_moduleInstance == nullptr) g_moduleInstance = GetModuleHandleW(nullptr);
  return g_moduleInstance;
}

Str GetSkinFolder() {
  Str folder = GetSettingString(SECTION_SETTINGS, L"SkinPath", L"");
  if (folder.IsEmpty()) return Str(L"\\Program Files") + L"\\Zovrix Pagemark\\RingvaneSkin\\";
  if (folder[folder.GetLength() - 1] != L'\\') folder += L'\\';
  return folder;
}

Str GetDataFolder() {
  Str folder = GetSettingString(SECTION_SETTINGS, L"FolderPath", L"");
  if (folder.IsEmpty()) {
    folder = Str(L"\\My Documents") + L"\\" + L"Pagemark Files";
  } else if (folder[folder.GetLength() - 1] == L'\\') {
    folder = folder.Left(folder.GetLength() - 1);
  }
  if (GetFileAttributesW(folder) == INVALID_FILE_ATTRIBUTES) CreateDirectoryW(folder, nullptr);
  return folder;
}
