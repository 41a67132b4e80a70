#include "storage/index/IndexStore.h"

#include <string.h>
#include <wchar.h>

#include "foundation/DebugUtils.h"

const wchar_t kIndexFileName[] = L"pim_index1.dat";

IndexStore::IndexStore() : ArenaStore(kIndexHeaderSize, L"IndexStore") {
  Str initial = DefaultPath();
  wcsncpy(path, initial, MAX_PATH - 1);
  path[MAX_PATH - 1] = 0;
}

IndexStore::~IndexStore() { Close(); }

Str IndexStore::DefaultPath() {
  wchar_t folder[MAX_PATH];
  DWORD length = GetTempPathW(MAX_PATH, folder);
  Str result;
  if (length > 0 && length < MAX_PATH) result = folder;
  if (result.IsEmpty() || result[result.GetLength() - 1] != L'\\') result += L'\\';
  result += kIndexFileName;
  return result;
}

void IndexStore::SetPath(const wchar_t* newPath) {
  if (newPath == nullptr) newPath = L"";
  wcsncpy(path, newPath, MAX_PATH - 1);
  path[MAX_PATH - 1] = 0;
}

BOOL IndexStore::Create(uint32_t size) {
  if (!ArenaStore::Create(path, size)) return FALSE;
  SetHeaderWord(kIndexMarkSlot, kIndexMark);
  SetHeaderWord(kIndexVersionSlot, kIndexVersion);
  return TRUE;
}

BOOL IndexStore::Open(uint32_t minimumLength) {
  if (!ArenaStore::Open(path)) return FALSE;
  if (HeaderWord(kIndexMarkSlot) != kIndexMark && HeaderWord(kIndexVersionSlot) != kIndexVersion) {
    Close();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  if (minimumLength > length && !ExtendTo(minimumLength)) {
    Close();
    return FALSE;
  }
  return TRUE;
}

uint32_t IndexStore::HeaderWord(uint32_t slot) const {
  if (data == nullptr || slot + 4 > kIndexHeaderSize) return 0;
  uint32_t value;
  memcpy(&value, data + slot, sizeof value);
  return value;
}

void IndexStore::SetHeaderWord(uint32_t slot, uint32_t value) {
  if (data == nullptr || slot + 4 > kIndexHeaderSize) return;
  memcpy(data + slot, &value, sizeof value);
}

BOOL IndexStore::AllocateBlock(uint32_t size, uint32_t* offset) {
  ArenaRef ref;
  if (!Allocate(size, &ref)) {
    *offset = 0;
    return FALSE;
  }
  *offset = ref.offset;
  return TRUE;
}
