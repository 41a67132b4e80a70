// NameKeyCache: an open-addressing table from oid to a run of the pool. A run holds the three names
// one after the other; each name is its words and a 0 that ends it, each word its true length (two
// characters, low half first, plus one so that it is never 0) and then its first characters, lowered.
// Behind the names stand the key pairs, each the name's number in the high byte and the two keys'
// numbers in the low byte, in the order of the names; then the keypad groups' generation (two
// characters, low half first) and, last, the number of pairs.
#include "manager/aids/NameKeyCache.h"

#include <string.h>
#include <wchar.h>

#include "manager/letters/KeypadGroups.h"
#include "manager/aids/WordSeparators.h"

namespace {

const WordSeparators& TheSeparators() {
  static const WordSeparators separators;
  return separators;
}

uint32_t HashOf(uint32_t oid) { return oid * 2654435761u; }

// The number of pairs of a run made while the keypad groups couldn't number their keys.
const wchar_t kNoPairs = 0xFFFF;

}  // namespace

NameKeyCache::NameKeyCache() : used(0), livePool(0), version(0) {}

NameKeyCache::~NameKeyCache() {}

int NameKeyCache::FindSlot(uint32_t oid) const {
  const int size = table.GetSize();
  if (size == 0 || oid == 0) return -1;
  const uint32_t mask = static_cast<uint32_t>(size - 1);
  const Entry* entries = table.GetData();
  for (uint32_t at = HashOf(oid) & mask;; at = (at + 1) & mask) {
    const uint32_t held = entries[at].oid;
    if (held == oid) return static_cast<int>(at);
    if (held == 0) return -1;
  }
}

void NameKeyCache::Grow() {
  Array<Entry> old(table);
  const int size = old.GetSize() == 0 ? 1024 : old.GetSize() * 2;
  table.SetSize(size);
  for (int k = 0; k < size; ++k) table[k].oid = 0;
  const uint32_t mask = static_cast<uint32_t>(size - 1);
  for (int k = 0; k < old.GetSize(); ++k) {
    if (old[k].oid == 0) continue;
    uint32_t at = HashOf(old[k].oid) & mask;
    while (table[static_cast<int>(at)].oid != 0) at = (at + 1) & mask;
    table[static_cast<int>(at)] = old[k];
  }
}

void NameKeyCache::RemoveAt(int slot) {
  // Backward shift: the entries after the hole that would no longer be found move into it.
  const uint32_t mask = static_cast<uint32_t>(table.GetSize() - 1);
  livePool -= table[slot].length;
  uint32_t hole = static_cast<uint32_t>(slot);
  uint32_t at = hole;
  for (;;) {
    at = (at + 1) & mask;
    const Entry& next = table[static_cast<int>(at)];
    if (next.oid == 0) break;
    const uint32_t home = HashOf(next.oid) & mask;
    // `next` may fill the hole when its home doesn't lie cyclically in (hole, at].
    const bool homeBetween = hole <= at ? (home > hole && home <= at) : (home > hole || home <= at);
    if (homeBetween) continue;
    table[static_cast<int>(hole)] = next;
    hole = at;
  }
  table[static_cast<int>(hole)].oid = 0;
  --used;
}

void NameKeyCache::AppendName(const Str& name) {
  const WordSeparators& separators = TheSeparators();
  const wchar_t* chars = name;
  const int length = name.GetLength();
  int at = 0, start = 0, count = 0;
  while (separators.NextWord(chars, length, at, start, count)) {
    const uint32_t wordLength = static_cast<uint32_t>(count);
    const uint32_t stored = wordLength + 1;
    pool.Add(static_cast<wchar_t>(stored & 0xFFFF));
    pool.Add(static_cast<wchar_t>(stored >> 16));
    const int kept =
        wordLength < static_cast<uint32_t>(kKeptChars) ? static_cast<int>(wordLength) : kKeptChars;
    const int base = pool.GetSize();
    pool.SetSize(base + kept);
    wchar_t* low = pool.GetData() + base;
    for (int i = 0; i < kept; ++i) low[i] = chars[start + i];
    if (kept > 0) CharLowerBuffW(low, static_cast<DWORD>(kept));
  }
  pool.Add(0);
  pool.Add(0);
}

void NameKeyCache::AppendKeyPairs(int start) {
  const uint32_t generation = g_keypadGroups.Generation();
  if (!g_keypadGroups.HasKeyIds()) {
    pool.Add(static_cast<wchar_t>(generation & 0xFFFF));
    pool.Add(static_cast<wchar_t>(generation >> 16));
    pool.Add(kNoPairs);
    return;
  }
  // Room for a pair of every word, taken at once so that the pool doesn't move while it is read.
  const int namesEnd = pool.GetSize();
  pool.SetSize(namesEnd + (namesEnd - start) / 3 + 3);
  wchar_t* chars = pool.GetData();
  int pairs = 0;
  int at = start;
  for (int name = RankLast; name <= RankCompany; ++name) {
    for (;;) {
      const uint32_t stored = static_cast<uint32_t>(chars[at]) | (static_cast<uint32_t>(chars[at + 1]) << 16);
      at += 2;
      if (stored == 0) break;
      const int length = static_cast<int>(stored - 1);
      const int kept = length < kKeptChars ? length : kKeptChars;
      if (length >= 2) {
        const int first = g_keypadGroups.KeyIdOf(g_keypadGroups.KeyOf(chars[at]));
        const int second = g_keypadGroups.KeyIdOf(g_keypadGroups.KeyOf(chars[at + 1]));
        if (first != 0 && second != 0) {
          const wchar_t pair = static_cast<wchar_t>((name << 8) | (first << 4) | second);
          // A pair already kept for an earlier name ranks first; the later one adds nothing.
          bool known = false;
          for (int k = 0; k < pairs && !known; ++k) known = (chars[namesEnd + k] & 0xFF) == (pair & 0xFF);
          if (!known) chars[namesEnd + pairs++] = pair;
        }
      }
      at += kept;
    }
  }
  chars[namesEnd + pairs] = static_cast<wchar_t>(generation & 0xFFFF);
  chars[namesEnd + pairs + 1] = static_cast<wchar_t>(generation >> 16);
  chars[namesEnd + pairs + 2] = static_cast<wchar_t>(pairs);
  pool.SetSize(namesEnd + pairs + 3);
}

int NameKeyCache::KeyPairOf(const wchar_t* query, int count) {
  if (count < 2 || !g_keypadGroups.HasKeyIds()) return 0;
  const int first = g_keypadGroups.KeyIdOf(query[0]);
  const int second = g_keypadGroups.KeyIdOf(query[1]);
  return first != 0 && second != 0 ? (first << 4) | second : 0;
}

int NameKeyCache::RankByPair(const wchar_t* run, uint32_t length, int pair) const {
  const wchar_t* tail = run + length - 1;
  const int pairs = *tail;
  if (pairs == kNoPairs) return RankUnknown;
  const uint32_t made = static_cast<uint32_t>(tail[-2]) | (static_cast<uint32_t>(tail[-1]) << 16);
  if (made != g_keypadGroups.Generation()) return RankUnknown;
  const wchar_t* kept = tail - 2 - pairs;
  for (int k = 0; k < pairs; ++k)
    if ((kept[k] & 0xFF) == pair) return kept[k] >> 8;
  return RankNone;
}

int NameKeyCache::PairsOf(CEOID oid, uint16_t* into, int room) const {
  const int slot = FindSlot(static_cast<uint32_t>(oid));
  if (slot < 0) return -1;
  const wchar_t* tail = pool.GetData() + table[slot].start + table[slot].length - 1;
  const int pairs = *tail;
  if (pairs == kNoPairs || pairs > room) return -1;
  const uint32_t made = static_cast<uint32_t>(tail[-2]) | (static_cast<uint32_t>(tail[-1]) << 16);
  if (made != g_keypadGroups.Generation()) return -1;
  const wchar_t* kept = tail - 2 - pairs;
  for (int k = 0; k < pairs; ++k) into[k] = static_cast<uint16_t>(kept[k]);
  return pairs;
}

void NameKeyCache::Remember(CEOID oid, const Str& last, const Str& first, const Str& company) {
  const uint32_t id = static_cast<uint32_t>(oid);
  if (id == 0) return;
  Forget(oid);
  if ((used + 1) * 2 > table.GetSize()) Grow();

  // The pool grows by its own size, so that filling it for many contacts copies it a few times only.
  const int size = pool.GetSize();
  if (size > 1024 && pool.GetGrowBy() < size) pool.SetSize(size, size);
  const uint32_t start = static_cast<uint32_t>(size);
  if (last.IsEmpty()) {
    AppendName(first);
    AppendName(last);
  } else {
    AppendName(last);
    AppendName(first);
  }
  AppendName(company);
  AppendKeyPairs(static_cast<int>(start));
  const uint32_t length = static_cast<uint32_t>(pool.GetSize()) - start;

  const uint32_t mask = static_cast<uint32_t>(table.GetSize() - 1);
  uint32_t at = HashOf(id) & mask;
  while (table[static_cast<int>(at)].oid != 0) at = (at + 1) & mask;
  Entry& entry = table[static_cast<int>(at)];
  entry.oid = id;
  entry.start = start;
  entry.length = length;
  ++used;
  livePool += length;
  ++version;
}

void NameKeyCache::Forget(CEOID oid) {
  const int slot = FindSlot(static_cast<uint32_t>(oid));
  if (slot < 0) return;
  RemoveAt(slot);
  Compact();
  ++version;
}

void NameKeyCache::Clear() {
  table.RemoveAll();
  pool.RemoveAll();
  used = 0;
  livePool = 0;
  ++version;
}

void NameKeyCache::Compact() {
  if (pool.GetSize() < 4096 || livePool * 2 > static_cast<uint32_t>(pool.GetSize())) return;
  Array<wchar_t> kept;
  kept.SetSize(static_cast<int>(livePool));
  uint32_t at = 0;
  for (int k = 0; k < table.GetSize(); ++k) {
    Entry& entry = table[k];
    if (entry.oid == 0) continue;
    memcpy(kept.GetData() + at, pool.GetData() + entry.start, entry.length * sizeof(wchar_t));
    entry.start = at;
    at += entry.length;
  }
  pool = kept;
}

int NameKeyCache::NameMatches(const wchar_t*& at, const wchar_t* query, int count, BOOL keypad) const {
  bool matched = false;
  bool undecided = false;
  for (;;) {
    const uint32_t stored = static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 16);
    at += 2;
    if (stored == 0) return matched ? 1 : undecided ? -1 : 0;
    const int length = static_cast<int>(stored - 1);
    const int kept = length < kKeptChars ? length : kKeptChars;
    const wchar_t* low = at;
    at += kept;
    if (matched || length < count) continue;
    // The comparison stops at the first difference, or at a 0 of the word, before it needs more than
    // what is kept; only a word that matches all it keeps and is longer can't be judged.
    int i = 0;
    for (; i < count && i < kept; ++i) {
      if (keypad) {
        const wchar_t key = g_keypadGroups.KeyOf(low[i]);
        if (key == 0 || key != query[i]) break;
      } else {
        if (low[i] != query[i]) break;
        if (low[i] == 0) {
          i = count;
          break;
        }
      }
    }
    if (i == count)
      matched = true;
    else if (i == kept)
      undecided = true;
  }
}

int NameKeyCache::Rank(CEOID oid, const wchar_t* query, int count, BOOL keypad) const {
  return RankOf(oid, query, count, keypad, keypad ? KeyPairOf(query, count) : 0);
}

int NameKeyCache::RankOf(CEOID oid, const wchar_t* query, int count, BOOL keypad, int pair) const {
  const int slot = FindSlot(static_cast<uint32_t>(oid));
  if (slot < 0) return RankUnknown;
  const wchar_t* at = pool.GetData() + table[slot].start;
  if (pair != 0 && keypad) {
    // A word that begins with the query begins with its first two keys: without such a pair no name
    // matches, and for two keys the first name with the pair is the answer.
    const int byPair = RankByPair(at, table[slot].length, pair);
    if (byPair == RankNone || (byPair != RankUnknown && count == 2)) return byPair;
  }
  // An undecided name makes the whole rank undecided: a later name can't rank before it.
  for (int name = RankLast; name <= RankCompany; ++name) {
    const int found = NameMatches(at, query, count, keypad);
    if (found < 0) return RankUnknown;
    if (found > 0) return name;
  }
  return RankNone;
}
