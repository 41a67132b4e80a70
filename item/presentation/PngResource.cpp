#include "presentation/PngResource.h"

#include "pimutil/PimUtil.h"

HBITMAP LoadPngResource(HINSTANCE instance, int id, int* width, int* height) {
  HRSRC found = FindResourceW(instance, MAKEINTRESOURCEW(id), L"PNG");
  if (found == nullptr) return nullptr;
  DWORD size = SizeofResource(instance, found);
  HGLOBAL loaded = LoadResource(instance, found);
  if (size == 0 || loaded == nullptr) return nullptr;
  const void* data = LockResource(loaded);
  if (data == nullptr) return nullptr;
  return Util_LoadMemPNG(data, size, width, height);
}
