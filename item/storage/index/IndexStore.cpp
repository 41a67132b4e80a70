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

BOOL IndexStore::OpenDeferred() {
  if (!ArenaStore::OpenDeferred(path, kHeadBytes)) return FALSE;
  if (HeaderWord(kIndexMarkSlot) != kIndexMark && HeaderWord(kIndexVersionSlot) != kIndexVersion) {
    Close();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  static const uint32_t kCountedSlots[] = {kWordReverseSlot, kKeypadReverseSlot, kNameListSlot,
                                           kFileAsListSlot, kContactMapSlot};
  for (uint32_t slot : kCountedSlots) {
    const uint32_t at = HeaderWord(slot);
    // A link past the end is CheckLayout's to find; one that can't be read makes the file unusable.
    if (at != 0 && IsInside(at, 4) && !FetchSpan(at, 4)) {
      const DWORD error = GetLastError();
      Close();
      SetLastError(error);
      return FALSE;
    }
  }
  return TRUE;
}

const TreeNode* IndexStore::NodeAt(uint32_t offset) const {
  if (IsInside(offset, kNodeSize)) {
    const TreeNode* node = reinterpret_cast<const TreeNode*>(data + offset);
    if (node->tailFlag != kTailFlag || length - offset >= kTailNodeSize) return node;
  }
  NoteDamage();
  return nullptr;
}

const uint32_t* IndexStore::CountedWords(uint32_t offset, uint32_t entryBytes) const {
  uint32_t count;
  if (CountedAt(offset, entryBytes, &count)) return Words(offset);
  NoteDamage();
  return nullptr;
}

const ChainBlock* IndexStore::ChainAt(uint32_t offset) const {
  if (IsInside(offset, kChainBlockSize)) {
    const ChainBlock* block = reinterpret_cast<const ChainBlock*>(data + offset);
    if (block->used <= static_cast<uint32_t>(kChainSlots)) return block;
  }
  NoteDamage();
  return nullptr;
}

const wchar_t* IndexStore::TailAt(uint32_t offset, uint32_t* room) const {
  *room = 0;
  if (!IsInside(offset, sizeof(wchar_t))) {
    NoteDamage();
    return nullptr;
  }
  *room = (length - offset) / sizeof(wchar_t);
  return reinterpret_cast<const wchar_t*>(data + offset);
}

BOOL IndexStore::CountedAt(uint32_t offset, uint32_t entryBytes, uint32_t* count) const {
  *count = 0;
  if (data == nullptr || !IsInside(offset, 4)) return FALSE;
  uint32_t counted;
  memcpy(&counted, data + offset, sizeof counted);
  if (static_cast<uint64_t>(counted) * entryBytes > length - offset - 4) return FALSE;
  *count = counted;
  return TRUE;
}

BOOL IndexStore::CheckLayout(Str* report) const {
  if (data == nullptr || length < kIndexHeaderSize) {
    if (report != nullptr) AddReportLine(*report, L"header: the index isn't open");
    return FALSE;
  }
  static const struct {
    uint32_t slot;
    uint32_t entryBytes;  // 0: a tree's root, not counted
    const wchar_t* name;
  } kParts[] = {{kWordRootSlot, 0, L"word tree root"},      {kKeypadRootSlot, 0, L"keypad tree root"},
                {kWordReverseSlot, 8, L"word reverse map"}, {kKeypadReverseSlot, 8, L"keypad reverse map"},
                {kNameListSlot, 4, L"name list"},           {kFileAsListSlot, 4, L"File As list"},
                {kContactMapSlot, 8, L"contact map"}};
  BOOL sound = TRUE;
  for (const auto& part : kParts) {
    const uint32_t at = HeaderWord(part.slot);
    if (at == 0) continue;
    uint32_t count = 0;
    const BOOL inside =
        part.entryBytes == 0 ? IsInside(at, kNodeSize) : CountedAt(at, part.entryBytes, &count);
    if (inside) continue;
    sound = FALSE;
    if (report != nullptr) {
      Str line;
      line.Format(L"header: the %s at %u passes the end of the data (%u bytes)", part.name, at, length);
      AddReportLine(*report, line);
    }
  }
  return sound;
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
