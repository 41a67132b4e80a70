// NameKeyCache: the words of every contact's last name, first name and company, lowered once, as the
// ranking of a search compares them. Without it the ranking reads the three names of every contact
// found from the database and lowers them again, on every key press.
//
// An entry is made whenever a pass reads a contact anyway (the rebuild, the inspection, an applied
// change) or by the idle fill; it goes when the contact changes or leaves. A contact without an entry
// is ranked from its record, as before, so the ranking never depends on what the cache holds.
//
// Each word keeps at most kKeptChars characters and its true length. A query longer than what a word
// keeps can't be answered from the entry, and the caller reads the record instead.
//
// Beside the words, an entry keeps the keypad keys of the first two characters of each word as one
// byte (a key pair), with the name it stands in, as the keypad groups of the time make them: a keypad
// query of two keys is answered by the pairs alone, and a longer one passes over a contact none of
// whose pairs begins it.
#pragma once

#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

// Which name of a contact has a word that begins with the query.
enum NameRank {
  RankLast = 0,
  RankFirst = 1,
  RankCompany = 2,
  RankNone = 3,
  RankUnknown = 4,  // not kept, or not answerable from what is kept
};

class NameKeyCache {
 public:
  static const int kKeptChars = 24;

  NameKeyCache();
  virtual ~NameKeyCache();

  // Keeps the words of the three names of `oid`, replacing what was kept. With no last name the first
  // name ranks as the last, as the ranking has it.
  virtual void Remember(CEOID oid, const Str& last, const Str& first, const Str& company);
  virtual void Forget(CEOID oid);
  virtual void Clear();
  BOOL Has(CEOID oid) const { return FindSlot(static_cast<uint32_t>(oid)) >= 0; }
  int Count() const { return used; }

  // The first of last name, first name and company that has a word beginning with the `count`
  // characters of `query`: the word lowered for a text query, the word's keypad keys for a keypad
  // query (lowered text, and keys, as the ranking makes them).
  virtual int Rank(CEOID oid, const wchar_t* query, int count, BOOL keypad) const;
  // The same, called straight for every contact a ranking walks; `pair` (KeyPairOf) lets a keypad
  // query be answered from the key pairs, 0 does without them.
  int RankOf(CEOID oid, const wchar_t* query, int count, BOOL keypad, int pair = 0) const;
  // The key pair that a keypad query of two keys or more begins with, for the keypad groups of now;
  // 0 when there is none (a key the groups don't have, or too many keys to number).
  static int KeyPairOf(const wchar_t* query, int count);
  // The key pairs kept for `oid` into `into`, each the name's rank in the high byte and the pair in the
  // low byte, in the order of the names. Their number, or -1 when the entry is missing, has no pairs of
  // the keypad groups of now, or has more than `room`.
  int PairsOf(CEOID oid, uint16_t* into, int room) const;
  // Changes with every entry made or dropped, so that what is copied from the cache can tell that it
  // is out of date.
  uint32_t Version() const { return version; }

 private:
  NameKeyCache(const NameKeyCache&);
  NameKeyCache& operator=(const NameKeyCache&);

  struct Entry {
    uint32_t oid;     // 0: free
    uint32_t start;   // of the entry's run in `pool`
    uint32_t length;  // of the run
  };

  // The table slot holding `oid`, or -1.
  int FindSlot(uint32_t oid) const;
  void Grow();
  void RemoveAt(int slot);
  // Appends the words of `name` to the pool, ending with a word count of 0 marker.
  void AppendName(const Str& name);
  // Appends the key pairs of the names that begin at `start` of the pool, the keypad groups'
  // generation and the number of pairs (kNoPairs when the groups can't number their keys).
  void AppendKeyPairs(int start);
  // The rank that the key pairs of the run at `start` of `length` characters give `pair`: RankNone
  // when no pair matches, RankUnknown when the run has no pairs of the keypad groups of now.
  int RankByPair(const wchar_t* run, uint32_t length, int pair) const;
  // Whether a word of the name at `at` begins with the query; -1 when a word is too long to tell.
  int NameMatches(const wchar_t*& at, const wchar_t* query, int count, BOOL keypad) const;
  // Drops the runs of forgotten entries once they are most of the pool.
  void Compact();

  Array<Entry> table;  // open addressing, linear probing; a power of two in size, or empty
  int used;
  Array<wchar_t> pool;
  uint32_t livePool;  // characters of the pool that live entries use
  uint32_t version;
};
