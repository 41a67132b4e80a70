// The empty rich Note among the module's resources.
#include "extended/NoteBlob.h"

#include "resources/NoteIds.h"

namespace {

HMODULE CodeModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&CodeModule), &module);
  return module;
}

}  // namespace

bool LoadNoteTemplate(HMODULE module, const BYTE*& data, uint32_t& length) {
  data = nullptr;
  length = 0;
  if (module == nullptr) module = CodeModule();
  HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(IDR_NOTE_TEMPLATE), NOTE_RESOURCE_TYPE);
  if (found == nullptr) return false;
  DWORD size = SizeofResource(module, found);
  HGLOBAL loaded = LoadResource(module, found);
  const BYTE* bytes = loaded != nullptr ? static_cast<const BYTE*>(LockResource(loaded)) : nullptr;
  if (bytes == nullptr || IsPlainNote(bytes, size)) {
    SetLastError(ERROR_INVALID_DATA);
    return false;
  }
  data = bytes;
  length = size;
  return true;
}
