// The searches' aids in ordinary memory: the name-key cache the ranking reads, the list positions and
// position sets a match is gathered in, and the searches with the aids empty, filled and switched off,
// which must give the same results.
#include <doctest/doctest.h>

#include <algorithm>
#include <map>
#include <random>

#include "MessagePump.h"
#include "SearchTestSupport.h"
#include "manager/letters/KeypadGroups.h"
#include "manager/aids/ListPositions.h"
#include "manager/aids/NameKeyCache.h"
#include "storage/index/IndexFormat.h"

using namespace searchtest;

namespace {

const CategoryFilter kNoFilter;

// The English keypad groups, without a device.
void UseEnglishGroups() {
  Array<Str> groups;
  for (const wchar_t* letters : {L"abc", L"def", L"ghi", L"jkl", L"mno", L"pqrs", L"tuv", L"wxyz"})
    groups.Add(Str(letters));
  g_keypadGroups.Fill(groups);
}

int RankOf(const NameKeyCache& cache, CEOID oid, const wchar_t* query, bool keypad) {
  return cache.Rank(oid, query, static_cast<int>(wcslen(query)), keypad ? TRUE : FALSE);
}

std::vector<CEOID> Keyed(ContactManager& manager, const wchar_t* query, int kind = SortKindName) {
  Array<CEOID> out;
  REQUIRE(manager.KeypadSearch(Str(query), kind, kNoFilter, out));
  return Ids(out);
}

std::vector<CEOID> Found(ContactManager& manager, const wchar_t* query, int kind = SortKindName) {
  Array<CEOID> out;
  REQUIRE(manager.Search(Str(query), kind, kNoFilter, out, nullptr));
  return Ids(out);
}

std::vector<CEOID> Listed(ContactManager& manager, int kind) {
  Array<CEOID> ids;
  manager.Index().ListAll(kind, ids);
  return Ids(ids);
}

// The oids of a sorted list as the store holds them, to be changed in place by a test.
uint32_t* MappedList(ContactManager& manager, uint32_t slot) {
  IndexStore& store = manager.Index().Store();
  return store.Words(store.HeaderWord(slot));
}

}  // namespace

TEST_CASE("the name-key cache ranks by last, first and company name, and knows what it can't tell") {
  UseEnglishGroups();
  NameKeyCache cache;
  cache.Remember(1, Str(L"O'Neil-Smith"), Str(L"Zed"), Str(L""));
  cache.Remember(2, Str(L""), Str(L"Ann Marie"), Str(L"Anvil Works"));
  cache.Remember(3, Str(L"Xu"), Str(L"Yu"), Str(L"SMITH & Co"));
  CHECK(cache.Count() == 3);
  CHECK(cache.Has(1));
  CHECK_FALSE(cache.Has(4));

  CHECK(RankOf(cache, 1, L"smi", false) == RankLast);
  CHECK(RankOf(cache, 1, L"neil", false) == RankLast);
  CHECK(RankOf(cache, 1, L"ze", false) == RankFirst);
  CHECK(RankOf(cache, 1, L"co", false) == RankNone);
  // No last name: the first name ranks as the last one.
  CHECK(RankOf(cache, 2, L"mar", false) == RankLast);
  CHECK(RankOf(cache, 2, L"wor", false) == RankCompany);
  CHECK(RankOf(cache, 3, L"smith", false) == RankCompany);
  // Keypad: Smith is pmgtg with the English groups, Zed wdd.
  CHECK(RankOf(cache, 1, L"pmg", true) == RankLast);
  CHECK(RankOf(cache, 1, L"wd", true) == RankFirst);
  CHECK(RankOf(cache, 3, L"pmgtg", true) == RankCompany);
  CHECK(RankOf(cache, 3, L"pmgtgg", true) == RankNone);
  // An unknown contact, and one forgotten.
  CHECK(RankOf(cache, 9, L"an", false) == RankUnknown);
  cache.Forget(2);
  CHECK(RankOf(cache, 2, L"an", false) == RankUnknown);
  CHECK(cache.Count() == 2);
  cache.Clear();
  CHECK(cache.Count() == 0);
  CHECK(RankOf(cache, 1, L"smi", false) == RankUnknown);
}

TEST_CASE("a word longer than the cache keeps is judged where it can be, and unknown where it can't") {
  UseEnglishGroups();
  NameKeyCache cache;
  const std::wstring longWord(40, L'a');
  cache.Remember(1, Str(longWord.c_str()), Str(L"Bob"), Str(L""));
  const std::wstring within(NameKeyCache::kKeptChars, L'a');
  const std::wstring beyond(NameKeyCache::kKeptChars + 3, L'a');
  std::wstring differing = within + L"b";
  CHECK(RankOf(cache, 1, within.c_str(), false) == RankLast);
  // Every kept character matches, the rest of the word isn't kept: the record must be read.
  CHECK(RankOf(cache, 1, beyond.c_str(), false) == RankUnknown);
  CHECK(RankOf(cache, 1, differing.c_str(), false) == RankUnknown);
  // A difference within what is kept decides; the first name can't rank before the last then.
  std::wstring early = L"ab" + beyond;
  CHECK(RankOf(cache, 1, early.c_str(), false) == RankNone);
  // A short word of the same name that matches decides even beside an undecided long one.
  cache.Remember(2, Str((longWord + L" " + beyond).c_str()), Str(L""), Str(L""));
  CHECK(RankOf(cache, 2, beyond.c_str(), false) == RankUnknown);
  cache.Remember(3, Str((longWord + L" " + beyond.substr(0, beyond.size() - 1) + L"a").c_str()), Str(L""),
                 Str(L""));
  CHECK(RankOf(cache, 3, beyond.c_str(), false) == RankUnknown);
  cache.Remember(4, Str((L"x " + beyond).c_str()), Str(L"Ann"), Str(L""));
  CHECK(RankOf(cache, 4, L"an", false) == RankFirst);
  // A word shorter than the query never begins with it, however long the query.
  CHECK(RankOf(cache, 4, (L"x" + beyond).c_str(), false) == RankNone);
}

TEST_CASE("the name-key cache keeps every entry findable through many adds, forgets and compactions") {
  UseEnglishGroups();
  NameKeyCache cache;
  std::map<CEOID, std::wstring> model;
  std::mt19937 random(5);
  for (int step = 0; step < 20000; ++step) {
    // Oids close together and far apart, so that probes run into each other.
    const CEOID oid = (random() % 3 == 0) ? 0x01000000u + random() % 2000 : 1 + random() % 3000;
    if (random() % 3 == 0) {
      cache.Forget(oid);
      model.erase(oid);
    } else {
      const std::wstring last = L"n" + std::to_wstring(oid % 977) + L"x";
      cache.Remember(oid, Str(last.c_str()), Str(L"F"), Str(L"C"));
      model[oid] = last;
    }
  }
  REQUIRE(cache.Count() == static_cast<int>(model.size()));
  int wrong = 0;
  for (const auto& [oid, last] : model) {
    if (RankOf(cache, oid, last.c_str(), false) != RankLast) ++wrong;
    if (RankOf(cache, oid, L"f", false) != RankFirst) ++wrong;
  }
  CHECK(wrong == 0);
  for (CEOID oid = 1; oid <= 3000; ++oid) {
    if (model.count(oid) == 0 && cache.Has(oid)) ++wrong;
  }
  CHECK(wrong == 0);
}

TEST_CASE("a text query compares a character 0 of a name as the strings would") {
  UseEnglishGroups();
  NameKeyCache cache;
  const wchar_t withZero[] = {L'A', L'b', 0, L'c', L'd'};
  cache.Remember(1, Str(withZero, 5), Str(L""), Str(L""));
  const wchar_t query[] = {L'a', L'b', 0, L'z'};
  // Both end at the 0: a match, whatever follows.
  CHECK(cache.Rank(1, query, 4, FALSE) == RankLast);
  // On the keypad the keys end at the 0: too short for three keys.
  CHECK(cache.Rank(1, L"aaa", 3, TRUE) == RankNone);
  CHECK(cache.Rank(1, L"aa", 2, TRUE) == RankLast);
}

TEST_CASE("a position set adds, intersects, counts and walks in order") {
  PositionSet set;
  set.Reset(70);
  CHECK(set.Count() == 0);
  CHECK(set.Next(0) == -1);
  for (int p : {0, 31, 32, 33, 69}) set.Add(p);
  CHECK(set.Count() == 5);
  std::vector<int> walked;
  for (int p = set.Next(0); p >= 0; p = set.Next(p + 1)) walked.push_back(p);
  CHECK(walked == std::vector<int>{0, 31, 32, 33, 69});
  PositionSet other;
  other.Reset(70);
  other.Add(32);
  other.Add(69);
  other.Add(5);
  set.Intersect(other);
  CHECK(set.Count() == 2);
  CHECK(set.Contains(32));
  CHECK_FALSE(set.Contains(31));
  CHECK(set.Next(33) == 69);
  set.Reset(0);
  CHECK(set.Next(0) == -1);
}

TEST_CASE("list positions follow the sorted lists and refuse lists they can't serve") {
  FreshEnglishDevice();
  Contact baker = NamedContact(L"Baker", L"Zoe", L"", L"Zed");
  Contact adams = NamedContact(L"Adams", L"Ann", L"", L"Young");
  Contact clark = NamedContact(L"Clark", L"Al", L"", L"Abbot");
  const CEOID a = WriteContact(baker);
  const CEOID b = WriteContact(adams);
  const CEOID c = WriteContact(clark);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  IndexStore& store = m.Index().Store();
  ListPositions positions;
  REQUIRE(positions.Sync(store));
  REQUIRE(positions.Count() == 3);
  const std::vector<CEOID> byName = Listed(m, SortByName);
  const std::vector<CEOID> byFileAs = Listed(m, SortByFileAs);
  REQUIRE(byName == std::vector<CEOID>{b, a, c});
  REQUIRE(byFileAs == std::vector<CEOID>{c, b, a});
  for (int k = 0; k < 3; ++k) {
    CHECK(positions.OidAt(k) == byName[static_cast<size_t>(k)]);
    CHECK(positions.PositionOf(byName[static_cast<size_t>(k)]) == k);
    CHECK(positions.OidAt(positions.FileAsOrder()[k]) == byFileAs[static_cast<size_t>(k)]);
    CHECK(positions.FileAsRankOf(positions.FileAsOrder()[k]) == k);
  }
  CHECK(positions.PositionOf(0x7777) == -1);

  // A contact added through the manager: the next sync sees the new lists.
  Contact d = NamedContact(L"Aaron", L"Al", L"", L"Zzz");
  REQUIRE(m.AddContact(d));
  REQUIRE(positions.Sync(store));
  CHECK(positions.Count() == 4);
  CHECK(positions.OidAt(0) == d.oid);
  CHECK(positions.PositionOf(b) == 1);

  // An oid listed twice, or a File As list of other contacts: the positions can't serve.
  uint32_t* names = MappedList(m, kNameListSlot);
  const uint32_t kept = names[2];
  names[2] = names[1];
  CHECK_FALSE(positions.Sync(store));
  CHECK(positions.PositionOf(b) == -1);
  // The search still answers, from the lists themselves.
  CHECK(Keyed(m, L"") == Listed(m, SortByName));
  names[2] = kept;
  REQUIRE(positions.Sync(store));
  uint32_t* fileAs = MappedList(m, kFileAsListSlot);
  const uint32_t keptFileAs = fileAs[1];
  fileAs[1] = 0x7777;
  CHECK_FALSE(positions.Sync(store));
  fileAs[1] = keptFileAs;
  CHECK(positions.Sync(store));

  // A list that reaches past the end of the file.
  names[0] = 0x40000000;
  CHECK_FALSE(positions.Sync(store));
  names[0] = 4;
  CHECK(positions.Sync(store));
  positions.Clear();
  CHECK(positions.Count() == 0);
  CHECK(positions.PositionOf(b) == -1);
}

TEST_CASE("a contact's new name ranks at once after the manager writes it or hears of the change") {
  FreshEnglishDevice();
  const CEOID smith = managertest::WriteNamed(L"Smith", L"Bob");
  const CEOID other = managertest::WriteNamed(L"Adams", L"Smiley");
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  // The rebuild at the first start filled the cache.
  CHECK(m.NameKeys().Has(smith));
  CHECK(m.NameKeys().Has(other));
  CHECK(Found(m, L"sm") == std::vector<CEOID>{smith, other});

  // Written through the manager: Smith becomes the first name, Smiley the last.
  Contact changed;
  REQUIRE(m.ReadContact(other, changed));
  changed.text[ContactField::LastName] = L"Smiley";
  changed.text[ContactField::FirstName] = L"Adam";
  REQUIRE(m.UpdateContact(changed, FALSE));
  CHECK_FALSE(m.NameKeys().Has(other));
  CHECK(Found(m, L"sm") == std::vector<CEOID>{other, smith});

  // Changed by another program: the company is all the record holds of "acme" now.
  REQUIRE(m.FillNameKeys(0));
  REQUIRE(m.NameKeys().Rank(smith, L"ac", 2, FALSE) == RankNone);
  REQUIRE(managertest::TouchRecord(smith, L"Acme"));
  REQUIRE(PumpUntil([&] { return opened.listener.Count("changed") > 0; }, 5000));
  CHECK_FALSE(m.NameKeys().Has(smith));
  CHECK(Found(m, L"ac") == std::vector<CEOID>{smith});
  CHECK(m.FillNameKeys(0));
  CHECK(m.NameKeys().Has(smith));
  CHECK(m.NameKeys().Rank(smith, L"ac", 2, FALSE) == RankCompany);
}

TEST_CASE("the idle fill gives every listed contact an entry, in slices, and skips unreadable records") {
  FreshEnglishDevice();
  managertest::WriteGenerated(300, 3);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  m.NameKeys().Clear();
  // A record that is gone from the database but still listed keeps no entry.
  const std::vector<CEOID> listed = Listed(m, SortByName);
  REQUIRE(managertest::DeleteRecord(listed[7]));
  // One slice of a millisecond leaves most of them for later ones.
  int slices = 0;
  while (!m.FillNameKeys(1) && m.NameKeys().Count() < 299 && slices < 10000) ++slices;
  CHECK(m.NameKeys().Count() == 299);
  CHECK_FALSE(m.NameKeys().Has(listed[7]));
  CHECK(m.NameKeys().Has(listed[8]));
  // Switched off, the aids keep nothing and fill nothing.
  m.SetSearchAids(FALSE);
  CHECK(m.NameKeys().Count() == 0);
  CHECK_FALSE(m.FillNameKeys(0));
  CHECK(m.NameKeys().Count() == 0);
  m.SetSearchAids(TRUE);
}

TEST_CASE("names longer than the cache keeps rank the same with the aids on and off") {
  FreshEnglishDevice();
  const std::wstring longLast = L"Abcdefghijklmnopqrstuvwxyzabcdefgh";
  const CEOID first = managertest::WriteNamed(L"Zed", longLast.c_str());
  const CEOID last = managertest::WriteNamed(longLast.c_str(), L"Zed");
  const CEOID byCompany = managertest::WriteNamed(L"Yves", L"Abcdefghijklmnopqrstuvwxyzabcx",
                                                  L"abcdefghijklmnopqrstuvwxyzabcdefgh");
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  for (const std::wstring& query :
       {longLast.substr(0, 30), longLast.substr(0, 10), std::wstring(L"abcdefghijklmnopqrstuvwxyzabcd ")}) {
    CAPTURE(Show(query));
    m.SetSearchAids(TRUE);
    REQUIRE(m.FillNameKeys(0));
    const std::vector<CEOID> aided = Found(m, query.c_str());
    m.SetSearchAids(FALSE);
    const std::vector<CEOID> plain = Found(m, query.c_str());
    CHECK(aided == plain);
    CHECK(aided.size() >= 2);
  }
  m.SetSearchAids(TRUE);
  REQUIRE(m.FillNameKeys(0));
  CHECK(Found(m, longLast.substr(0, 30).c_str()) == std::vector<CEOID>{last, first, byCompany});
}

namespace {

// Which of the three names has a word whose keypad keys begin with `query`, as the ranking defines
// it, straight from the names.
int ModelKeypadRank(std::wstring last, std::wstring first, const std::wstring& company,
                    const std::wstring& query) {
  if (last.empty()) std::swap(last, first);
  const std::wstring names[3] = {last, first, company};
  for (int rank = RankLast; rank <= RankCompany; ++rank) {
    std::wstring word;
    std::wstring text = names[rank] + L" ";
    for (wchar_t ch : text) {
      if (ch != L' ') {
        word += static_cast<wchar_t>(towlower(ch));
        continue;
      }
      if (word.empty()) continue;
      const Str keys = g_keypadGroups.MapToGroupKeys(word.c_str());
      const std::wstring mapped(static_cast<const wchar_t*>(keys));
      if (mapped.size() >= query.size() && mapped.compare(0, query.size(), query) == 0) return rank;
      word.clear();
    }
  }
  return RankNone;
}

void UseGroups(std::initializer_list<const wchar_t*> letters) {
  Array<Str> groups;
  for (const wchar_t* group : letters) groups.Add(Str(group));
  g_keypadGroups.Fill(groups);
}

}  // namespace

TEST_CASE("keypad ranks from the key pairs agree with the names, also after the keypad groups change") {
  UseEnglishGroups();
  std::mt19937 random(11);
  const std::wstring alphabet = L"abcdefghijklmnopqrstuvwxyzABCDE1";
  auto word = [&] {
    std::wstring w;
    const int length = 1 + static_cast<int>(random() % 5);
    for (int i = 0; i < length; ++i) w += alphabet[random() % alphabet.size()];
    return w;
  };
  auto name = [&] {
    std::wstring n;
    const int words = static_cast<int>(random() % 3);
    for (int i = 0; i < words; ++i) n += (i ? L" " : L"") + word();
    return n;
  };
  struct Names {
    std::wstring last, first, company;
  };
  std::vector<Names> people;
  NameKeyCache cache;
  for (CEOID oid = 1; oid <= 400; ++oid) {
    Names n{name(), name(), name()};
    people.push_back(n);
    cache.Remember(oid, Str(n.last.c_str()), Str(n.first.c_str()), Str(n.company.c_str()));
  }
  // The queries as keys of the groups in use, with a character that is no key now and then.
  auto check = [&](const std::wstring& keys, const std::string& stage) {
    CAPTURE(stage);
    int wrong = 0, decided = 0;
    for (int q = 0; q < 600; ++q) {
      std::wstring query;
      const int length = 2 + static_cast<int>(random() % 3);
      for (int i = 0; i < length; ++i) query += keys[random() % keys.size()];
      for (CEOID oid = 1; oid <= 400; ++oid) {
        const Names& n = people[oid - 1];
        const int expected = ModelKeypadRank(n.last, n.first, n.company, query);
        const int got = RankOf(cache, oid, query.c_str(), true);
        if (got == RankUnknown) continue;
        ++decided;
        if (got != expected) ++wrong;
      }
    }
    CHECK(wrong == 0);
    CHECK(decided > 0);
  };
  check(L"adgjmptwb", "the groups the pairs were made with");
  // Other groups: the pairs of the earlier ones must not be taken for these.
  UseGroups({L"ab", L"cd", L"ef", L"gh", L"ij", L"kl", L"mn", L"op", L"qr", L"st", L"uv", L"wxyz"});
  check(L"acegikmoqsuwz", "other groups, pairs of the old ones");
  // Entries made again under the new groups use their pairs.
  for (CEOID oid = 1; oid <= 400; ++oid) {
    const Names& n = people[oid - 1];
    cache.Remember(oid, Str(n.last.c_str()), Str(n.first.c_str()), Str(n.company.c_str()));
  }
  check(L"acegikmoqsuwz", "other groups, pairs made again");
  // More keys than a pair can number: the words alone decide.
  UseGroups({L"a", L"b", L"c", L"d", L"e", L"f", L"g", L"h", L"i", L"j", L"k", L"l", L"m",
             L"n", L"o", L"p", L"q", L"r", L"s", L"t", L"u", L"v", L"w", L"x", L"y", L"z"});
  CHECK_FALSE(g_keypadGroups.HasKeyIds());
  for (CEOID oid = 1; oid <= 400; ++oid) {
    const Names& n = people[oid - 1];
    cache.Remember(oid, Str(n.last.c_str()), Str(n.first.c_str()), Str(n.company.c_str()));
  }
  check(L"abcdefghijklmnopqrstuvwxyz", "keys without numbers");
  UseEnglishGroups();
}

TEST_CASE("keypad searches rank the same from the pairs by position as from the names, through changes") {
  FreshEnglishDevice();
  std::mt19937 random(23);
  // Few letters, so that many contacts share the first keys and every query has hits in all parts.
  const std::wstring alphabet = L"adgjmpadgjmbehknqcfilor";
  auto word = [&] {
    std::wstring w;
    const int length = 2 + static_cast<int>(random() % 4);
    for (int i = 0; i < length; ++i) w += alphabet[random() % alphabet.size()];
    w[0] = static_cast<wchar_t>(towupper(w[0]));
    return w;
  };
  auto name = [&](int most) {
    std::wstring n;
    const int words = static_cast<int>(random() % (most + 1));
    for (int i = 0; i < words; ++i) n += (i ? L" " : L"") + word();
    return n;
  };
  std::vector<CEOID> oids;
  for (int k = 0; k < 160; ++k)
    oids.push_back(managertest::WriteNamed(name(2).c_str(), name(2).c_str(), name(2).c_str()));
  // More words than a row of pairs holds: that contact is ranked from its names.
  const CEOID wordy = managertest::WriteNamed(L"Ad Ag Aj Am Ap At Aw Da Dg Dj", L"Ko", L"Lp Mq");
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  REQUIRE(m.FillNameKeys(0));

  auto compare = [&](const std::string& stage) {
    CAPTURE(stage);
    int compared = 0;
    for (const wchar_t* query : {L"ad", L"aa", L"da", L"jd", L"ma", L"ada", L"aad", L"jdma", L"mm", L"dj"}) {
      CAPTURE(Show(query));
      m.SetSearchAids(TRUE);
      REQUIRE(m.FillNameKeys(0));
      const std::vector<CEOID> aided = Keyed(m, query);
      const std::vector<CEOID> aidedFileAs = Keyed(m, query, SortKindFileAs);
      m.SetSearchAids(FALSE);
      CHECK(aided == Keyed(m, query));
      CHECK(aidedFileAs == Keyed(m, query, SortKindFileAs));
      compared += static_cast<int>(aided.size());
    }
    m.SetSearchAids(TRUE);
    CHECK(compared > 100);
  };
  compare("as opened");
  // The tenth word of that last name ranks it: no row could have told, the cache did.
  REQUIRE(m.FillNameKeys(0));
  CHECK(m.NameKeys().Rank(wordy, L"dj", 2, TRUE) == RankLast);
  const std::vector<CEOID> dj = Keyed(m, L"dj");
  CHECK(std::count(dj.begin(), dj.end(), wordy) == 1);

  // A contact renamed through the manager: the rows are made again from the cache's new entry.
  Contact changed;
  REQUIRE(m.ReadContact(oids[5], changed));
  changed.text[ContactField::LastName] = L"Adams";
  changed.text[ContactField::FirstName] = L"Beth";
  REQUIRE(m.UpdateContact(changed, FALSE));
  REQUIRE(m.FillNameKeys(0));
  CHECK(m.NameKeys().Rank(oids[5], L"ad", 2, TRUE) == RankLast);
  compare("after a rename");

  // Other keypad groups: the rows of the old groups are never taken for the new keys.
  UseGroups({L"ab", L"cd", L"ef", L"gh", L"ij", L"kl", L"mn", L"op", L"qr", L"st", L"uv", L"wxyz"});
  m.SetSearchAids(TRUE);
  const std::vector<CEOID> regrouped = Keyed(m, L"aa");
  m.SetSearchAids(FALSE);
  CHECK(regrouped == Keyed(m, L"aa"));
  CHECK(regrouped.size() >= 2);
  m.SetSearchAids(TRUE);
  UseEnglishGroups();
}
