#include "manager/letters/KeypadGroups.h"

#include <wchar.h>

#include "manager/letters/LetterSet.h"

namespace {

const int kPageSize = 256;
const int kPageCount = 256;

}  // namespace

// Made at library load, empty: nothing is loaded before the item starts.
KeypadGroups g_keypadGroups;

KeypadGroups::KeypadGroups() : keyIdCount(0), generation(0) {
  for (int ch = 0; ch < kLatinCount; ++ch) latinKeys[ch] = 0;
}

KeypadGroups::~KeypadGroups() {}

void KeypadGroups::Rebuild() {
  LetterSet set;
  LoadLetterSet(&set);
  Fill(set.letters);
}

void KeypadGroups::Fill(const Array<Str>& letters) {
  groups.RemoveAll();
  for (int i = 0; i < letters.GetSize(); ++i) {
    Str lower = letters[i];
    lower.MakeLower();
    Str entry;
    for (int k = 0; k < lower.GetLength(); ++k) {
      wchar_t ch = lower[k];
      if (entry.Find(ch) < 0) entry += ch;
    }
    groups.Add(entry);
  }
  BuildLookup();
}

void KeypadGroups::BuildLookup() {
  keys.RemoveAll();
  pageStarts.RemoveAll();
  entryOf.RemoveAll();
  for (int ch = 0; ch < kLatinCount; ++ch) latinKeys[ch] = 0;
  keyIdCount = 0;
  ++generation;
  if (groups.GetSize() == 0) return;
  pageStarts.SetSize(kPageCount);
  for (int page = 0; page < kPageCount; ++page) pageStarts[page] = -1;
  keys.SetSize(groups.GetSize());
  for (int i = 0; i < groups.GetSize(); ++i) {
    const Str& entry = groups[i];
    keys[i] = entry.IsEmpty() ? 0 : entry[0];
    // The entries are walked in order and a slot is only ever set once: the first entry wins. An
    // entry never holds the character 0 (Fill skips it), and 0 stays unmapped.
    for (int k = 0; k < entry.GetLength(); ++k) {
      const wchar_t ch = entry[k];
      if (ch == 0) continue;
      const int page = ch >> 8;
      if (pageStarts[page] < 0) {
        pageStarts[page] = entryOf.GetSize();
        entryOf.SetSize(entryOf.GetSize() + kPageSize);
        for (int slot = 0; slot < kPageSize; ++slot) entryOf[pageStarts[page] + slot] = -1;
      }
      int32_t& slot = entryOf[pageStarts[page] + (ch & 0xFF)];
      if (slot < 0) slot = i;
    }
  }
  for (int ch = 1; ch < kLatinCount; ++ch) {
    const int group = EntryOf(static_cast<wchar_t>(ch));
    latinKeys[ch] = group < 0 ? 0 : keys[group];
  }
  for (int i = 0; i < keys.GetSize(); ++i) {
    if (keys[i] == 0 || KeyIdOf(keys[i]) != 0) continue;
    if (keyIdCount == kMaxKeyIds) {
      keyIdCount = 0;
      break;
    }
    keyIdKeys[keyIdCount++] = keys[i];
  }
}

wchar_t KeypadGroups::GroupKeyOf(int index) const {
  if (index < 0 || index >= groups.GetSize()) return 0;
  const Str& entry = groups[index];
  return entry.IsEmpty() ? 0 : entry[0];
}

int KeypadGroups::GroupOf(wchar_t ch) const { return EntryOf(ch); }

Str KeypadGroups::MapToGroupKeys(const wchar_t* word) const {
  Str mapped;
  if (word == nullptr) return mapped;
  for (const wchar_t* at = word; *at != 0; ++at) {
    const int group = EntryOf(*at);
    if (group < 0) break;
    mapped += keys[group];
  }
  return mapped;
}

void RebuildKeypadGroups() { g_keypadGroups.Rebuild(); }

wchar_t GroupKeyOf(int index) { return g_keypadGroups.GroupKeyOf(index); }

Str MapToGroupKeys(const wchar_t* word) { return g_keypadGroups.MapToGroupKeys(word); }
