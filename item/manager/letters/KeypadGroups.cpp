#include "manager/letters/KeypadGroups.h"

#include <wchar.h>

#include "manager/letters/LetterSet.h"

// Made at library load, empty: nothing is loaded before the item starts.
KeypadGroups g_keypadGroups;

KeypadGroups::KeypadGroups() {}

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
}

wchar_t KeypadGroups::GroupKeyOf(int index) const {
  if (index < 0 || index >= groups.GetSize()) return 0;
  const Str& entry = groups[index];
  return entry.IsEmpty() ? 0 : entry[0];
}

int KeypadGroups::GroupOf(wchar_t ch) const {
  if (ch == 0) return -1;
  for (int i = 0; i < groups.GetSize(); ++i) {
    if (groups[i].Find(ch) >= 0) return i;
  }
  return -1;
}

Str KeypadGroups::MapToGroupKeys(const wchar_t* word) const {
  Str keys;
  if (word == nullptr) return keys;
  for (const wchar_t* at = word; *at != 0; ++at) {
    int group = GroupOf(*at);
    if (group < 0) break;
    keys += groups[group][0];
  }
  return keys;
}

void RebuildKeypadGroups() { g_keypadGroups.Rebuild(); }

wchar_t GroupKeyOf(int index) { return g_keypadGroups.GroupKeyOf(index); }

Str MapToGroupKeys(const wchar_t* word) { return g_keypadGroups.MapToGroupKeys(word); }
