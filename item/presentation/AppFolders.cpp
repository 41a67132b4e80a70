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
