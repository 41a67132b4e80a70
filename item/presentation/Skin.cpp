#include "presentation/Skin.h"
#include <new>
#include "foundation/Settings.h"

int Skin::dpiX = 96;
int Skin::dpiY = 96;
int Skin::isHighRes = 0;

static Skin* g_skin = nullptr;

Skin::Skin() : instance(nullptr) {}

Skin::~Skin() {}

void Skin::Start(HINSTANCE module) {
  if (g_skin) return;
  g_skin = new (std::nothrow) Skin;
  if (!g_skin) return;
  g_skin->instance = module;
  if (g_skin->screenDC.Take(nullptr)) {
    dpiX = GetDeviceCaps(g_skin->screenDC.Get(), LOGPIXELSX);
    dpiY = GetDeviceCaps(g_skin->screenDC.Get(), LOGPIXELSY);
  }
  // A device that pretends to 96 dpi on a VGA screen gets the double-size layout.
  if (GetSettingDword(SECTION_SETTINGS, L"RealVGA", 0) == 1) {
    dpiX = 192;
    dpiY = 192;
  }
  isHighRes = dpiX > 96;
}

Skin* Skin::Get() { return g_skin; }

Str GetDataFolder() {
  Str folder = GetSettingString(SECTION_SETTINGS, L"FolderPath", L"");
  if (folder.GetLength() == 0) {
    folder = Str(L"\\My Documents") + L"\\" + L"Pagemark Files";
  } else if (folder[folder.GetLength() - 1] == L'\\') {
    folder = folder.Left(folder.GetLength() - 1);
  }
  if (GetFileAttributesW(folder) == INVALID_FILE_ATTRIBUTES) CreateDirectoryW(folder, nullptr);
  return folder;
}
