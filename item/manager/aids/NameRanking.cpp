// The ranking of a search's result: contacts whose last name, first name or company has a word that
// begins with the query move to the front, in that order of precedence.
#include "manager/aids/PositionSearch.h"

#include <string.h>
#include <wchar.h>

#include "manager/letters/KeypadGroups.h"
#include "manager/aids/WordSeparators.h"

namespace {

// Whether the word of `length` characters at `word` begins with the `count` characters of `query`:
// the word in lower case for a text query, its keypad keys for a keypad query. Only as much of the
// word is lowered as the comparison can reach (one more, so that a pair of surrogates is never cut),
// and never past a character 0, where lowering a whole word stops too.
bool WordBeginsWith(const wchar_t* word, int length, const wchar_t* query, int count, BOOL keypad,
                    Array<wchar_t>& lowered) {
  if (length < count) return false;
  int reach = 0;
  while (reach < length && reach <= count && word[reach] != 0) ++reach;
  if (lowered.GetSize() < reach) lowered.SetSize(reach);
  wchar_t* low = lowered.GetData();
  for (int i = 0; i < reach; ++i) low[i] = word[i];
  if (reach > 0) CharLowerBuffW(low, static_cast<DWORD>(reach));

  for (int i = 0; i < count; ++i) {
    if (keypad) {
      // The keys end at a 0 or at the first character no group holds: then they are too short.
      const wchar_t key = i < reach ? g_keypadGroups.KeyOf(low[i]) : 0;
      if (key == 0 || key != query[i]) return false;
    } else {
      // Compared as the strings are compared: a 0 in both ends the comparison with a match.
      const wchar_t ch = i < reach ? low[i] : word[i];
      if (ch != query[i]) return false;
      if (ch == 0) return true;
    }
  }
  return true;
}

// Whether a word of `name` begins with `query`.
bool NameBeginsWith(const Str& name, const Str& query, BOOL keypad, const WordSeparators& separators,
                    Array<wchar_t>& lowered) {
  const wchar_t* chars = name;
  int at = 0, start = 0, length = 0;
  while (separators.NextWord(chars, name.GetLength(), at, start, length)) {
    if (WordBeginsWith(chars + start, length, query, query.GetLength(), keypad, lowered)) return true;
  }
  return false;
}

}  // namespace

BOOL PositionSearch::Rank(const Str& query, BOOL keypad, BOOL useCache, NameSource& source,
                          RankingCancel* cancel, Array<CEOID>& out, const Array<int32_t>* at) const {
  // One character would read a large part of all contacts on the first key press.
  if (query.GetLength() < 2 || out.GetSize() < 2) return TRUE;
  Str wanted(query);
  if (!keypad) wanted.MakeLower();

  const WordSeparators separators;
  Array<wchar_t> lowered;
  // One buffer with room for all of them in each of the four parts: nothing grows step by step.
  const int total = out.GetSize();
  Array<CEOID> parts;
  parts.SetSize(total * 4);
  CEOID* part[4] = {parts.GetData(), parts.GetData() + total, parts.GetData() + 2 * total,
                    parts.GetData() + 3 * total};
  int filled[4] = {0, 0, 0, 0};
  const CEOID* found = out.GetData();
  const wchar_t* chars = wanted;
  const int count = wanted.GetLength();
  const int pair = keypad ? NameKeyCache::KeyPairOf(chars, count) : 0;
  // The key pairs by position answer a keypad query without a lookup for each contact: wholly for two
  // keys, and for more they pass over a contact none of whose words begins with the first two.
  const int32_t* where = nullptr;
  if (useCache && pair != 0 && at != nullptr && at->GetSize() == total) {
    pairRows.Refresh(positions, nameKeys);
    where = at->GetData();
  }
  Str last, first, company;
  for (int k = 0; k < total; ++k) {
    if (cancel != nullptr && cancel->Cancelled()) return FALSE;
    const CEOID oid = found[k];
    // A position that no longer holds this contact leaves it to the cache.
    const int position = where != nullptr ? where[k] : -1;
    if (position >= 0 && position < positions.Count() && positions.OidAt(position) == oid) {
      const int byRow = pairRows.RankOf(position, pair);
      if (byRow == RankNone || (byRow != RankUnknown && count == 2)) {
        part[byRow][filled[byRow]++] = oid;
        continue;
      }
    }
    const int kept = useCache ? nameKeys.RankOf(oid, chars, count, keypad, pair) : RankUnknown;
    if (kept != RankUnknown) {
      part[kept][filled[kept]++] = oid;
      continue;
    }
    int rank = RankNone;
    // A record that can't be read stays where it stands.
    if (source.ReadNames(oid, last, first, company)) {
      // With no last name the first name ranks as the last name.
      if (last.IsEmpty()) {
        last = first;
        first.Empty();
      }
      if (NameBeginsWith(last, wanted, keypad, separators, lowered))
        rank = RankLast;
      else if (NameBeginsWith(first, wanted, keypad, separators, lowered))
        rank = RankFirst;
      else if (NameBeginsWith(company, wanted, keypad, separators, lowered))
        rank = RankCompany;
    }
    part[rank][filled[rank]++] = oid;
  }
  // Within each part the sort order stands.
  CEOID* into = out.GetData();
  for (int p = RankLast; p <= RankNone; ++p) {
    memcpy(into, part[p], filled[p] * sizeof(CEOID));
    into += filled[p];
  }
  return TRUE;
}
