// KeypadGroups: the process-wide table of keypad groups made from the active letter set. Each entry
// holds the letters of one group, lower case, every character once in first-seen order; its first
// character is the group's key. With the English set the entries are abc, def, ghi, jkl, mno, pqrs,
// tuv and wxyz, and the keys a, d, g, j, m, p, t and w.
//
// The index translates words into keys by it, the keypad search ranks by it, and the picked cells of
// the letter bar become a query through it. It is built when the contact manager opens and whenever
// the item reloads its letter groups, and lives for the process.
//
// Beside the entries, Fill makes a lookup from every character to the first entry that holds it, so
// that mapping a character costs two reads instead of a scan of all entries.
#pragma once

#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

class KeypadGroups {
 public:
  KeypadGroups();
  virtual ~KeypadGroups();

  // Loads the active letter set and fills the table from its letters.
  virtual void Rebuild();
  // Fills the table from the letters of a set's groups.
  virtual void Fill(const Array<Str>& letters);
  // The key of entry `index`, or 0 when there is no such entry.
  virtual wchar_t GroupKeyOf(int index) const;
  // Replaces each character of `word`, from the first on, by the key of the first entry that holds
  // it, and stops at the first character that no entry holds. Empty when nothing could be mapped.
  virtual Str MapToGroupKeys(const wchar_t* word) const;
  // The entry that holds `ch` first, or -1.
  virtual int GroupOf(wchar_t ch) const;

  // The key of the first entry that holds `ch`, or 0 when none does.
  wchar_t KeyOf(wchar_t ch) const {
    if (ch < kLatinCount) return latinKeys[ch];
    const int group = EntryOf(ch);
    return group < 0 ? 0 : keys.GetData()[group];
  }

  // A small number for each distinct key, 1 to kMaxKeyIds, so that two keys fit a byte; 0 for a
  // character that is no key, and for every key when the set has more distinct keys than that.
  static const int kMaxKeyIds = 15;
  int KeyIdOf(wchar_t key) const {
    for (int k = 0; k < keyIdCount; ++k)
      if (keyIdKeys[k] == key) return k + 1;
    return 0;
  }
  bool HasKeyIds() const { return keyIdCount > 0; }
  // Changes whenever the table is filled, so that what was made from an earlier table shows.
  uint32_t Generation() const { return generation; }

  int GetCount() const { return groups.GetSize(); }
  const Str& GetAt(int index) const { return groups[index]; }

 private:
  KeypadGroups(const KeypadGroups&);
  KeypadGroups& operator=(const KeypadGroups&);

  // Makes `keys`, `pageStarts` and `entryOf` from the entries.
  void BuildLookup();
  // Read straight from the arrays' storage: the lookup runs for every character a search compares,
  // and both indexes lie inside by construction (256 pages, 256 slots from each page's start).
  int EntryOf(wchar_t ch) const {
    if (pageStarts.GetSize() == 0) return -1;
    const int32_t start = pageStarts.GetData()[ch >> 8];
    return start < 0 ? -1 : entryOf.GetData()[start + (ch & 0xFF)];
  }

  Array<Str> groups;
  Array<wchar_t> keys;  // the key of each entry
  // The lookup, in pages of 256 characters by the high byte: where a page's slots begin in `entryOf`,
  // or -1 for a page none of whose characters stands in an entry. Empty while there are no entries.
  Array<int32_t> pageStarts;
  Array<int32_t> entryOf;  // the first entry holding the character, or -1
  // The keys of the first 256 characters straight, as the ranking asks for them for every contact found.
  static const int kLatinCount = 256;
  wchar_t latinKeys[kLatinCount];
  // The distinct keys in the order of their entries; none when there are more than kMaxKeyIds.
  wchar_t keyIdKeys[kMaxKeyIds];
  int keyIdCount;
  uint32_t generation;
};

extern KeypadGroups g_keypadGroups;

// The operations of the process-wide table.
void RebuildKeypadGroups();
wchar_t GroupKeyOf(int index);
Str MapToGroupKeys(const wchar_t* word);
