// Sorts and groups of the lists: the shell sort and its gaps, the rebuild's sort by keys, reading the
// entries of the grouped order by its three paths, building the groups, and the index keeping its
// sorted lists by keys read from the contacts database.
#include <doctest/doctest.h>

#include <algorithm>
#include <random>

#include "NewDatabase.h"
#include "IndexFixture.h"
#include "manager/search/ContactGroups.h"
#include "storage/index/RebuildSort.h"
#include "foundation/ShellSort.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/index/ContactKeySource.h"

using namespace indextest;

namespace {

typedef std::vector<uint32_t> Ids_;

// A clean contacts database and categories database, opened.
struct Database {
  ContactDatabase db;
  Database() {
    const DWORD text = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_UNKNOWNFIRST;
    RequireNewDatabase(kContactsDatabaseName, {{MAKE_CEPROPID(0x4013, CEVT_LPWSTR), text},
                                               {MAKE_CEPROPID(0x3A11, CEVT_LPWSTR), text}});
    RequireNewDatabase(kCategoriesDatabaseName, {{MAKE_CEPROPID(0x4002, CEVT_I2), 0}});
    REQUIRE(db.Open(nullptr));
  }
  ~Database() { db.Close(); }

  CEOID Add(const wchar_t* last, const wchar_t* first, const wchar_t* company, BYTE categories = 0,
            const wchar_t* title = L"") {
    Contact c = NamedContact(last, first, company);
    c.text[ContactField::Title] = title;
    c.categories = ByteBuffer(&categories, 1);
    REQUIRE(db.AddContact(c, false));
    return c.oid;
  }
};

std::vector<uint32_t> OidsOf(const Array<GroupEntry>& entries) {
  std::vector<uint32_t> oids;
  for (int k = 0; k < entries.GetSize(); ++k) oids.push_back(static_cast<uint32_t>(entries[k].oid));
  return oids;
}

GroupEntry Entry(uint32_t oid, const wchar_t* company, const wchar_t* name) {
  GroupEntry e;
  e.oid = oid;
  e.company = company;
  e.name = name;
  return e;
}

}  // namespace

TEST_CASE("the gaps decrease and end in 1; the shell sort sorts") {
  for (int n : {0, 1, 2, 3, 10, 57, 100, 1000, 5000, 100000, 3000000}) {
    CAPTURE(n);
    Array<int> gaps;
    ShellGaps(n, gaps);
    if (n < 2) {
      CHECK(gaps.GetSize() == 0);
      continue;
    }
    REQUIRE(gaps.GetSize() > 0);
    CHECK(gaps[gaps.GetSize() - 1] == 1);
    for (int k = 0; k < gaps.GetSize(); ++k) {
      CHECK(gaps[k] < n);
      if (k > 0) CHECK(gaps[k] < gaps[k - 1]);
    }
  }
  std::mt19937 random(7);
  for (int size : {0, 1, 2, 3, 17, 100, 2500, 20000}) {
    CAPTURE(size);
    Array<uint32_t> ids;
    std::vector<uint32_t> expected;
    for (int k = 0; k < size; ++k) {
      uint32_t v = random() % 3 == 0 ? 0x80000000u + random() % 50 : random() % 1000;
      ids.Add(v);
      expected.push_back(v);
    }
    SortIds(ids);
    std::sort(expected.begin(), expected.end());
    CHECK(Ids(ids) == expected);
    SortUniqueIds(ids);
    expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
    CHECK(Ids(ids) == expected);
  }
}

TEST_CASE("the rebuild sort orders contacts by their keys, ties by the identifier") {
  const wchar_t* const lasts[] = {L"Smith", L"smith",  L"Абрамов", L"",   L"Brown",
                                  L"Smith", L"Éclair", L"",        L"Zed"};
  const wchar_t* const firsts[] = {L"John", L"John", L"Иван", L"", L"", L"John", L"Anne", L"Solo", L""};
  const wchar_t* const companies[] = {L"", L"", L"", L"Acme", L"", L"", L"", L"", L"Firm"};
  std::vector<Contact*> owned;
  Array<Contact*> contacts;
  for (int k = 0; k < 9; ++k) {
    Contact* c = new Contact(Named(100 + static_cast<uint32_t>(k) * 3, lasts[k], firsts[k], companies[k],
                                   (std::wstring(L"F") + std::to_wstring(9 - k % 4)).c_str()));
    owned.push_back(c);
    contacts.Add(c);
  }
  for (int kind = 0; kind < 2; ++kind) {
    Array<CEOID> ids;
    SortContactsByKey(kind, contacts, ids);
    REQUIRE(ids.GetSize() == 9);
    std::vector<std::pair<std::wstring, uint32_t>> expected;
    for (Contact* c : owned)
      expected.push_back({static_cast<const wchar_t*>(SortKeyOf(kind, *c)), static_cast<uint32_t>(c->oid)});
    std::sort(expected.begin(), expected.end(), [](const auto& a, const auto& b) {
      return CompareKeys(a.first, a.second, b.first, b.second) < 0;
    });
    for (int k = 0; k < 9; ++k)
      CHECK(static_cast<uint32_t>(ids[k]) == expected[static_cast<size_t>(k)].second);
  }
  // The three John Smiths, whatever the case, stand by their identifiers among themselves.
  Array<CEOID> names;
  SortContactsByKey(SortByName, contacts, names);
  std::vector<uint32_t> smiths;
  for (int k = 0; k < names.GetSize(); ++k)
    if (names[k] == 100 || names[k] == 115) smiths.push_back(static_cast<uint32_t>(names[k]));
  CHECK(smiths == Ids_{100, 115});
  for (Contact* c : owned) delete c;
}

TEST_CASE("reading entries: all records, a category filter, and a list of identifiers") {
  Database d;
  std::vector<CEOID> oids;
  for (int k = 0; k < 30; ++k) {
    std::wstring last = L"Last" + std::to_wstring(k);
    BYTE categories = static_cast<BYTE>(k % 3 == 0 ? 0 : (k % 3 == 1 ? 1 : 2));
    oids.push_back(d.Add(k == 5 ? L"" : last.c_str(), k % 2 == 0 ? L"First" : L"", L"Co", categories,
                         k == 5 ? L"Dr" : L""));
  }
  Array<GroupEntry> all;
  REQUIRE(ReadEntries(d.db, nullptr, nullptr, all));
  REQUIRE(all.GetSize() == 30);
  std::vector<uint32_t> walkOrder = OidsOf(all);
  for (int k = 0; k < all.GetSize(); ++k) {
    const GroupEntry& e = all[k];
    size_t index = static_cast<size_t>(std::find(oids.begin(), oids.end(), e.oid) - oids.begin());
    REQUIRE(index < oids.size());
    std::wstring expected =
        index == 5 ? L"Dr" : L"Last" + std::to_wstring(index) + (index % 2 == 0 ? L", First" : L"");
    CHECK(std::wstring(static_cast<const wchar_t*>(e.name)) == expected);
    CHECK(e.company == Str(L"Co"));
  }

  // A mask: the records that share a bit; a mask of zeros: the records without categories.
  BYTE one = 1;
  ByteBuffer mask(&one, 1);
  Array<GroupEntry> filtered;
  REQUIRE(ReadEntries(d.db, &mask, nullptr, filtered));
  CHECK(filtered.GetSize() == 10);
  for (int k = 0; k < filtered.GetSize(); ++k) {
    size_t index = static_cast<size_t>(std::find(oids.begin(), oids.end(), filtered[k].oid) - oids.begin());
    CHECK(index % 3 == 1);
  }
  BYTE zero = 0;
  ByteBuffer none(&zero, 1);
  REQUIRE(ReadEntries(d.db, &none, nullptr, filtered));
  CHECK(filtered.GetSize() == 10);

  // Identifiers against the walk's order: at record count - 10 the table is walked (its order), one
  // fewer and each is sought (the order asked).
  Array<CEOID> asked;
  for (size_t k = walkOrder.size(); k-- > 10;) asked.Add(walkOrder[k]);  // 20, backwards
  REQUIRE(asked.GetSize() == 20);
  Array<GroupEntry> got;
  REQUIRE(ReadEntries(d.db, nullptr, &asked, got));
  std::vector<uint32_t> walked(walkOrder.begin() + 10, walkOrder.end());
  CHECK(OidsOf(got) == walked);
  asked.RemoveAt(0);  // 19
  REQUIRE(ReadEntries(d.db, nullptr, &asked, got));
  CHECK(OidsOf(got) == Ids(asked));
  // A filter applies on both paths.
  asked.Add(walkOrder[29]);
  REQUIRE(ReadEntries(d.db, &mask, &asked, got));
  for (int k = 0; k < got.GetSize(); ++k) {
    size_t index = static_cast<size_t>(std::find(oids.begin(), oids.end(), got[k].oid) - oids.begin());
    CHECK(index % 3 == 1);
  }
  asked.RemoveAt(0);
  Array<GroupEntry> sought;
  REQUIRE(ReadEntries(d.db, &mask, &asked, sought));
  for (int k = 0; k < sought.GetSize(); ++k) {
    size_t index = static_cast<size_t>(std::find(oids.begin(), oids.end(), sought[k].oid) - oids.begin());
    CHECK(index % 3 == 1);
  }
  // An identifier that isn't there is skipped by the seeks.
  Array<CEOID> gone;
  gone.Add(0x7FFFFFF0u);
  gone.Add(walkOrder[0]);
  REQUIRE(ReadEntries(d.db, nullptr, &gone, got));
  CHECK(OidsOf(got) == Ids_{walkOrder[0]});
}

TEST_CASE("an empty table gives no entries and succeeds") {
  Database d;
  Array<GroupEntry> entries;
  CHECK(ReadEntries(d.db, nullptr, nullptr, entries));
  CHECK(entries.GetSize() == 0);
}

TEST_CASE("groups: one per company in collation order, a size and then the identifiers") {
  Array<GroupEntry> entries;
  entries.Add(Entry(1, L"Beta", L"Zoe"));
  entries.Add(Entry(2, L"Alpha", L"Max"));
  entries.Add(Entry(3, L"", L"Nobody"));
  entries.Add(Entry(4, L"Beta", L"Adam"));
  entries.Add(Entry(5, L"", L"Anyone"));
  entries.Add(Entry(6, L"Alpha", L"Max"));  // same name: the identifier decides
  Array<uint32_t> flat;
  Array<Str> titles;
  BuildGroups(entries, flat, titles);
  CHECK(Ids(flat) == Ids_{2, 5, 3, 2, 2, 6, 2, 4, 1});
  REQUIRE(titles.GetSize() == 3);
  CHECK(titles[0] == Str(L""));  // contacts without a company: one group, where the empty string sorts
  CHECK(titles[1] == Str(L"Alpha"));
  CHECK(titles[2] == Str(L"Beta"));
  CHECK(entries.GetSize() == 0);

  Array<GroupEntry> none;
  BuildGroups(none, flat, titles);
  CHECK(flat.GetSize() == 0);
  CHECK(titles.GetSize() == 0);

  Array<GroupEntry> single;
  single.Add(Entry(9, L"Solo", L"One"));
  BuildGroups(single, flat, titles);
  CHECK(Ids(flat) == Ids_{1, 9});
  REQUIRE(titles.GetSize() == 1);
  CHECK(titles[0] == Str(L"Solo"));
}

TEST_CASE(
    "two companies that differ only in what the collation ignores stand in one group, under the first one's "
    "spelling") {
  const wchar_t plain[] = L"Acme";
  const wchar_t softHyphen[] = L"Ac\x00ADme";
  // What the platform's collation makes of them.
  REQUIRE(CompareStringW(0x800, 0, plain, -1, softHyphen, -1) == CSTR_EQUAL);
  Array<GroupEntry> entries;
  entries.Add(Entry(1, plain, L"Zed"));
  entries.Add(Entry(2, softHyphen, L"Adam"));
  entries.Add(Entry(3, L"Other", L"Bob"));
  Array<uint32_t> flat;
  Array<Str> titles;
  BuildGroups(entries, flat, titles);
  CHECK(Ids(flat) == Ids_{2, 2, 1, 1, 3});
  REQUIRE(titles.GetSize() == 2);
  CHECK(titles[0] == Str(softHyphen));  // Adam stands first, so his company's spelling names the group
  CHECK(titles[1] == Str(L"Other"));
}

TEST_CASE(
    "the index keeps its lists by the keys of the contacts database, and drops a contact that is gone") {
  Database d;
  IndexFixture f(L"sort_database");
  DatabaseKeySource source(&d.db);
  f.index.SetKeySource(&source);
  std::vector<CEOID> oids;
  const wchar_t* const lasts[] = {L"Moss", L"Birch", L"Oak", L"Elm", L"Ash", L"Pine", L"Yew"};
  for (const wchar_t* last : lasts) {
    CEOID oid = d.Add(last, L"", L"");
    oids.push_back(oid);
    Contact c = Named(oid, last, L"");
    REQUIRE(f.index.AddContact(c, L""));
  }
  Array<CEOID> names;
  REQUIRE(f.index.ListAll(SortByName, names));
  std::vector<std::wstring> order;
  for (int k = 0; k < names.GetSize(); ++k) {
    Str key;
    REQUIRE(source.ReadSortKey(SortByName, names[k], key));
    order.push_back(static_cast<const wchar_t*>(key));
  }
  CHECK(order == std::vector<std::wstring>{L"Ash", L"Birch", L"Elm", L"Moss", L"Oak", L"Pine", L"Yew"});
  Str report;
  CHECK(f.index.Check(report));

  // Elm (the middle) leaves the database behind the index's back; the next insertion finds it stale.
  CEOID elm = oids[3];
  REQUIRE(d.db.DeleteContact(elm));
  CEOID fir = d.Add(L"Fir", L"", L"");
  REQUIRE(f.index.AddContact(Named(fir, L"Fir", L""), L""));
  REQUIRE(f.index.ListAll(SortByName, names));
  std::vector<uint32_t> listed = Ids(names);
  CHECK(std::find(listed.begin(), listed.end(), static_cast<uint32_t>(elm)) == listed.end());
  CHECK(listed.size() == 7);
  f.index.RemoveContact(elm);
  Str after;
  CHECK(f.index.Check(after));
  CHECK(U8(static_cast<const wchar_t*>(after)).empty());
}

TEST_CASE(
    "the rebuild's sort through sort keys gives the order of the texts, on keys the locale treats apart") {
  // Case, accents, hyphens and apostrophes (which the word order weighs apart), punctuation, digits,
  // Cyrillic, empty keys and repeats, each under several oids.
  const wchar_t* const pieces[] = {L"smith", L"Smith",  L"SMITH",  L"co-op",  L"coop",   L"co op", L"o'neil",
                                   L"oneil", L"O'Neil", L"éclair", L"eclair", L"Eclair", L"ёлка",  L"елка",
                                   L"Ёлка",  L"иван",   L"Иван",   L"10",     L"9",      L"a1",    L"a 1",
                                   L"",      L"-",      L"'",      L"z",      L"Zz",     L"ß",     L"ss",
                                   L"æ",     L"ae",     L"Łódź",   L"lodz",   L"№5",     L"#5"};
  const int count = static_cast<int>(sizeof pieces / sizeof pieces[0]);
  std::mt19937 random(4711);
  for (int round = 0; round < 20; ++round) {
    Array<SortPair> pairs;
    const int size = 1 + static_cast<int>(random() % 300);
    for (int k = 0; k < size; ++k) {
      SortPair pair;
      std::wstring key = pieces[random() % count];
      if (random() % 2 == 0) key += std::wstring(L", ") + pieces[random() % count];
      pair.key = key.c_str();
      pair.oid = 1000 + static_cast<CEOID>(random() % 100000);
      bool taken = false;
      for (int j = 0; j < pairs.GetSize(); ++j) taken = taken || pairs[j].oid == pair.oid;
      if (!taken) pairs.Add(pair);
    }
    Array<SortPair> byTexts = pairs;
    SortPairs(byTexts);
    SortPairsBySortKeys(pairs);
    REQUIRE(pairs.GetSize() == byTexts.GetSize());
    for (int k = 0; k < pairs.GetSize(); ++k) {
      CHECK(pairs[k].oid == byTexts[k].oid);
      CHECK(Str::IsEqual(pairs[k].key, byTexts[k].key));
    }
    for (int k = 1; k < pairs.GetSize(); ++k)
      CHECK(CompareSortKeys(pairs[k - 1].key, pairs[k - 1].oid, pairs[k].key, pairs[k].oid) < 0);
  }
}
