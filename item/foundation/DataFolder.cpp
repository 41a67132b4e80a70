#include "foundation/DataFolder.h"
#include "foundation/Settings.h"

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
