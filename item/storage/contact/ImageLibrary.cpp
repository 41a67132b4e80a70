#include "storage/contact/ImageLibrary.h"

#include "pimutil/PimUtil.h"

namespace {

const wchar_t kLibraryName[] = L"ZovrixPimUtil.dll";

typedef decltype(&Util_LoadPNG) LoadFileCall;
typedef decltype(&Util_SavePNG) SaveCall;

// The library's module: the one already in the process (the item imports it), or loaded now and
// never let go of, since bitmaps and calls of it may be in use anywhere later.
HMODULE Library() {
  static HMODULE module = nullptr;
  if (module == nullptr) {
    HMODULE found = GetModuleHandleW(kLibraryName);
    if (found == nullptr) found = LoadLibraryW(kLibraryName);
    module = found;
  }
  return module;
}

FARPROC Entry(const char* name) {
  HMODULE module = Library();
  return module ? GetProcAddress(module, name) : nullptr;
}

HBITMAP LoadWith(const char* entry, const wchar_t* path, int* width, int* height) {
  LoadFileCall call = reinterpret_cast<LoadFileCall>(reinterpret_cast<void*>(Entry(entry)));
  return call ? call(path, width, height) : nullptr;
}

}  // namespace

HBITMAP ImageLoadPng(const wchar_t* path, int* width, int* height) {
  return LoadWith("Util_LoadPNG", path, width, height);
}

HBITMAP ImageLoadBmp(const wchar_t* path, int* width, int* height) {
  return LoadWith("Util_LoadBMP", path, width, height);
}

bool ImageSavePng(HBITMAP bitmap, const wchar_t* path) {
  SaveCall call = reinterpret_cast<SaveCall>(reinterpret_cast<void*>(Entry("Util_SavePNG")));
  return call && call(bitmap, path) != FALSE;
}
