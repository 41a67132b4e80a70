// The data source over a contact manager with scripted answers: its initial state, the result and its
// positions, the cache ring, loading through the cache, both searches with and without keep lists, the
// remembered search, the listener side, deleting rows, and writes.
#include <doctest/doctest.h>

#include <climits>

#include "DataSourceTestSupport.h"
#include "storage/contact/ContactFieldTable.h"

using namespace dstest;

namespace {

typedef std::vector<std::vector<CEOID>> GroupList;

// A data source opened on a scripted manager, without coordinator, with a recording view.
struct ScriptedSource {
  ScriptedManager* manager;
  RecordingView view;
  ContactDataSource source;
  CategoryFilter noFilter;
  Array<CEOID> noKeep;

  explicit ScriptedSource(PimSync* sync = nullptr) {
    Events().clear();
    manager = new ScriptedManager();
    g_contactManager = manager;
    REQUIRE(source.Open(GetModuleHandleW(nullptr), nullptr, sync));
    REQUIRE(source.GetManager() == manager);
    source.SetListener(&view);
    Events().clear();
  }
  ~ScriptedSource() {
    source.Close();
    CHECK(g_contactManager == nullptr);
  }
  // The grouped answer [11 12] "Alpha", [13] "Beta".
  void TwoGroups() {
    manager->flat = {2, 11, 12, 1, 13};
    manager->titles = {L"Alpha", L"Beta"};
    REQUIRE(source.SearchText(Str(), SortKindGrouped, noFilter, noKeep, FALSE, nullptr));
  }
};

// Counts its deletions, so that a test sees which contacts the cache let go of.
struct CountedContact : Contact {
  explicit CountedContact(CEOID id) { oid = id; }
  ~CountedContact() override { ++deleted; }
  static int deleted;
};
int CountedContact::deleted = 0;

}  // namespace

TEST_CASE(
    "a new data source: text search, both queries empty, sort kind 0, no filter, nothing cached, no result") {
  ContactDataSource source;
  CHECK_FALSE(source.IsOpen());
  CHECK(source.GetSearchKind() == SearchKindText);
  CHECK(source.GetTextQuery().IsEmpty());
  CHECK(source.GetKeypadQuery().IsEmpty());
  CHECK(source.GetSortKind() == SortKindName);
  CHECK_FALSE(source.GetFilter().active);
  CHECK(source.GetFilter().categories.GetSize() == 0);
  CHECK(source.CachedCount() == 0);
  CHECK(source.CacheCursor() == 0);
  for (int cell = 0; cell < ContactDataSource::kCacheSize; ++cell) REQUIRE(source.RingAt(cell) == 0u);
  CHECK(source.GroupCount() == 0);
  CHECK(source.TotalRows() == 0);
  CHECK(source.GetIdAt(0, 0) == 0u);
  CHECK(source.GetListener() == nullptr);
  CHECK(source.GetManager() == nullptr);
  // Not open: a refresh does nothing and succeeds.
  CHECK(source.Refresh());
  CHECK(source.GroupCount() == 0);
}

TEST_CASE("positions: GetIdAt gives 0 outside the result, negative group or row included") {
  ScriptedSource s;
  s.TwoGroups();
  CHECK(s.source.GroupCount() == 2);
  CHECK(s.source.RowsInGroup(0) == 2);
  CHECK(s.source.RowsInGroup(1) == 1);
  CHECK(s.source.RowsInGroup(2) == 0);
  CHECK(s.source.RowsInGroup(-1) == 0);
  CHECK(s.source.GetIdAt(0, 0) == 11u);
  CHECK(s.source.GetIdAt(0, 1) == 12u);
  CHECK(s.source.GetIdAt(1, 0) == 13u);
  CHECK(s.source.GetIdAt(-1, 0) == 0u);
  CHECK(s.source.GetIdAt(0, -1) == 0u);
  CHECK(s.source.GetIdAt(-1, -1) == 0u);
  CHECK(s.source.GetIdAt(INT_MIN, 0) == 0u);
  CHECK(s.source.GetIdAt(0, INT_MIN) == 0u);
  CHECK(s.source.GetIdAt(2, 0) == 0u);
  CHECK(s.source.GetIdAt(0, 2) == 0u);
  CHECK(s.source.GetIdAt(1, 1) == 0u);
  CHECK(s.source.GetIdAt(INT_MAX, INT_MAX) == 0u);
  // First rows count the groups' rows one after the other; the titles stay with their groups.
  CHECK(s.source.GroupFirstRow(0) == 0);
  CHECK(s.source.GroupFirstRow(1) == 2);
  CHECK(s.source.GroupFirstRow(2) == -1);
  CHECK(s.source.TotalRows() == 3);
  CHECK(Titles(s.source) == std::vector<std::string>{"Alpha", "Beta"});
  CHECK(s.source.GroupTitle(-1).IsEmpty());
}

TEST_CASE("FindPosition walks the groups in order and gives the first hit, or (-1, -1)") {
  ScriptedSource s;
  s.manager->flat = {2, 11, 12, 2, 13, 12};
  s.manager->titles = {L"A", L"B"};
  REQUIRE(s.source.SearchText(Str(), SortKindGrouped, s.noFilter, s.noKeep, FALSE, nullptr));
  int group = 7, row = 7;
  CHECK(s.source.FindPosition(13, group, row));
  CHECK(group == 1);
  CHECK(row == 0);
  // 12 stands in both groups: the first one counts.
  CHECK(s.source.FindPosition(12, group, row));
  CHECK(group == 0);
  CHECK(row == 1);
  CHECK_FALSE(s.source.FindPosition(99, group, row));
  CHECK(group == -1);
  CHECK(row == -1);
  CHECK_FALSE(s.source.FindPosition(0, group, row));
  CHECK(group == -1);
  CHECK(row == -1);
}

TEST_CASE("the cache ring holds 500: the 501st contact put in evicts the first") {
  ContactDataSource source;
  CountedContact::deleted = 0;
  for (CEOID id = 1; id <= 500; ++id) source.CacheContact(new CountedContact(id));
  CHECK(source.CachedCount() == 500);
  CHECK(CountedContact::deleted == 0);
  // The cursor moves on before each insert: the first went to cell 1, the 500th to cell 0.
  CHECK(source.RingAt(1) == 1u);
  CHECK(source.RingAt(0) == 500u);
  CHECK(source.CacheCursor() == 0);
  for (CEOID id = 1; id <= 500; ++id) REQUIRE(source.FindCached(id) != nullptr);

  source.CacheContact(new CountedContact(501));
  CHECK(source.CachedCount() == 500);
  CHECK(CountedContact::deleted == 1);
  CHECK(source.FindCached(1) == nullptr);
  CHECK(source.FindCached(2) != nullptr);
  CHECK(source.FindCached(501) != nullptr);
  CHECK(source.RingAt(1) == 501u);

  source.CacheContact(new CountedContact(502));
  CHECK(source.FindCached(2) == nullptr);
  CHECK(CountedContact::deleted == 2);

  source.ClearCache();
  CHECK(source.CachedCount() == 0);
  CHECK(CountedContact::deleted == 502);
  CHECK(source.CacheCursor() == 0);
  CHECK(source.RingAt(1) == 0u);
}

TEST_CASE(
    "an id evicted on its own leaves its ring cell behind, and that cell does no harm when it comes round") {
  ContactDataSource source;
  CountedContact::deleted = 0;
  for (CEOID id = 1; id <= 10; ++id) source.CacheContact(new CountedContact(id));
  // Contact 5 came in through cell 5.
  REQUIRE(source.RingAt(5) == 5u);
  source.Evict(5);
  CHECK(CountedContact::deleted == 1);
  CHECK(source.FindCached(5) == nullptr);
  CHECK(source.CachedCount() == 9);
  CHECK(source.RingAt(5) == 5u);
  source.Evict(5);  // a second time: nothing
  source.Evict(12345);
  CHECK(CountedContact::deleted == 1);

  // 5 comes back through cell 11; when the cursor reaches cell 5 again it must stay.
  source.CacheContact(new CountedContact(5));
  REQUIRE(source.RingAt(11) == 5u);
  for (CEOID id = 100; id < 100 + 494; ++id) source.CacheContact(new CountedContact(id));
  // The cursor stands on cell 5 now, which held the old 5.
  CHECK(source.CacheCursor() == 5);
  CHECK(source.RingAt(5) == 593u);
  CHECK(source.FindCached(5) != nullptr);
  // Cells 1 to 4 took out 1 to 4; the old cell of 5 took out nothing.
  for (CEOID id = 1; id <= 4; ++id) CHECK(source.FindCached(id) == nullptr);
  CHECK(CountedContact::deleted == 1 + 4);
  CHECK(source.CachedCount() == 500);
  source.ClearCache();
}

TEST_CASE("GetCachedContact reads a contact once and then gives it from the cache; out of range is false") {
  ScriptedSource s;
  s.manager->plain = {21, 22, 23};
  s.manager->unreadable = {23};
  REQUIRE(s.source.SearchText(Str(), SortKindName, s.noFilter, s.noKeep, FALSE, nullptr));
  Contact* first = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 0, first, 1));
  REQUIRE(first != nullptr);
  CHECK(first->oid == 21u);
  CHECK(Ascii(first->text[ContactField::LastName]) == "Name21");
  CHECK(s.manager->reads == 1);
  Contact* again = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 0, again, 1));
  CHECK(again == first);
  CHECK(s.manager->reads == 1);
  CHECK(s.source.CachedCount() == 1);
  CHECK(s.source.FindCached(21) == first);

  Contact* none = reinterpret_cast<Contact*>(1);
  CHECK_FALSE(s.source.GetCachedContact(-1, 0, none, 1));
  CHECK(none == nullptr);
  CHECK_FALSE(s.source.GetCachedContact(0, 3, none, 1));
  CHECK_FALSE(s.source.GetCachedContact(1, 0, none, 1));
  CHECK(s.manager->reads == 1);
  // A contact that can't be read: false, and nothing cached.
  CHECK_FALSE(s.source.GetCachedContact(0, 2, none, 1));
  CHECK(none == nullptr);
  CHECK(s.manager->reads == 2);
  CHECK(s.source.CachedCount() == 1);

  // ReadAt reads into the caller's contact every time, past the cache.
  Contact read;
  CHECK(s.source.ReadAt(0, 1, read));
  CHECK(read.oid == 22u);
  CHECK(s.manager->reads == 3);
  CHECK(s.source.FindCached(22) == nullptr);
  CHECK_FALSE(s.source.ReadAt(0, -1, read));
  CHECK(s.manager->reads == 3);
}

TEST_CASE(
    "GetCachedContact: a photo becomes a 1x1 placeholder of 24 bits for size 1, and is scaled into the "
    "square of any other size") {
  ScriptedSource s;
  s.manager->plain = {31, 32};
  s.manager->withPhoto = {31};
  REQUIRE(s.source.SearchText(Str(), SortKindName, s.noFilter, s.noKeep, FALSE, nullptr));
  Contact* contact = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 1));
  CHECK(contact->photo.Width() == 1);
  CHECK(contact->photo.Height() == 1);
  CHECK(contact->photo.BitsPerPixel() == 24);
  CHECK_FALSE(contact->photo.IsEmpty());
  CHECK(s.manager->reads == 1);
  // Size 1 again: the placeholder fits.
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 1));
  CHECK(s.manager->reads == 1);

  // A two-line row asks for another size: the cached one doesn't fit and is read anew, and the 40 x 30
  // photo is fitted into the square of 32: 32 x 24.
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 32));
  CHECK(s.manager->reads == 2);
  CHECK(contact->photo.Width() == 32);
  CHECK(contact->photo.Height() == 24);
  CHECK(contact->photo.BitsPerPixel() == 24);
  CHECK(s.source.CachedCount() == 1);
  // The same size again, or a size equal to one side of the scaled photo, fits.
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 32));
  CHECK(s.manager->reads == 2);
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 24));
  CHECK(s.manager->reads == 2);
  // A page's head of 60: read anew, 60 x 46 (45 high: the margin of 15 is cut to 14).
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 60));
  CHECK(s.manager->reads == 3);
  CHECK(contact->photo.Width() == 60);
  CHECK(contact->photo.Height() == 46);
  // Back to a single line: read anew, placeholder again.
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 1));
  CHECK(s.manager->reads == 4);
  CHECK(contact->photo.Width() == 1);

  // Without a photo every size takes the cached contact.
  REQUIRE(s.source.GetCachedContact(0, 1, contact, 1));
  CHECK(contact->photo.IsEmpty());
  REQUIRE(s.source.GetCachedContact(0, 1, contact, 48));
  CHECK(s.manager->reads == 5);
}

TEST_CASE("a plain search gives one group with an empty title and remembers its arguments") {
  ScriptedSource s;
  s.manager->plain = {5, 3, 9};
  CategoryFilter filter;
  filter.active = 1;
  filter.categories.Add(4);
  REQUIRE(s.source.SearchKeypad(Str(L"43"), SortKindFileAs, filter, s.noKeep, FALSE));
  CHECK(Events() == std::vector<std::string>{"KeypadSearch '43' sort 1 filter 4"});
  CHECK(Groups(s.source) == GroupList{{5, 3, 9}});
  CHECK(Titles(s.source) == std::vector<std::string>{""});
  CHECK(s.source.TotalRows() == 3);
  CHECK(s.source.GetSearchKind() == SearchKindKeypad);
  CHECK(Ascii(s.source.GetKeypadQuery()) == "43");
  CHECK(s.source.GetTextQuery().IsEmpty());
  CHECK(s.source.GetSortKind() == SortKindFileAs);
  CHECK(s.source.GetFilter().active == 1);
  REQUIRE(s.source.GetFilter().categories.GetSize() == 1);
  CHECK(s.source.GetFilter().categories[0] == 4u);

  // Nothing found is one empty group.
  s.manager->plain.clear();
  REQUIRE(s.source.SearchText(Str(L"zz"), SortKindName, s.noFilter, s.noKeep, FALSE, nullptr));
  CHECK(s.source.GroupCount() == 1);
  CHECK(s.source.RowsInGroup(0) == 0);
  CHECK(s.source.TotalRows() == 0);
  // Both queries are kept apart.
  CHECK(Ascii(s.source.GetTextQuery()) == "zz");
  CHECK(Ascii(s.source.GetKeypadQuery()) == "43");
  CHECK(s.source.GetSearchKind() == SearchKindText);
  CHECK_FALSE(s.source.GetFilter().active);
}

TEST_CASE("useKeep under sort kinds 0 and 1: the keep list becomes the result, nothing is searched") {
  ScriptedSource s;
  s.manager->plain = {1, 2, 3};
  Array<CEOID> keep = ToArray({7, 3, 9});
  for (int sort : {0, 1}) {
    CAPTURE(sort);
    Events().clear();
    REQUIRE(s.source.SearchText(Str(L"an"), sort, s.noFilter, keep, TRUE, nullptr));
    CHECK(Events().empty());
    CHECK(Groups(s.source) == GroupList{{7, 3, 9}});
    CHECK(Ascii(s.source.GetTextQuery()) == "an");
    CHECK(s.source.GetSortKind() == sort);

    REQUIRE(s.source.SearchKeypad(Str(L"2"), sort, s.noFilter, keep, TRUE));
    CHECK(Events().empty());
    CHECK(Groups(s.source) == GroupList{{7, 3, 9}});
    CHECK(s.source.GetSearchKind() == SearchKindKeypad);
    CHECK(Ascii(s.source.GetKeypadQuery()) == "2");
  }
  // An empty keep list gives an empty result.
  REQUIRE(s.source.SearchText(Str(L"an"), SortKindName, s.noFilter, s.noKeep, TRUE, nullptr));
  CHECK(Groups(s.source) == GroupList{{}});
  // A refresh searches for real again.
  Events().clear();
  REQUIRE(s.source.Refresh());
  CHECK(Events() == std::vector<std::string>{"Search 'an' sort 0"});
  CHECK(Groups(s.source) == GroupList{{1, 2, 3}});
}

TEST_CASE(
    "useKeep under sort kind 2: the text search cuts each group to the keep list and drops emptied groups") {
  ScriptedSource s;
  s.manager->flat = {2, 1, 2, 3, 3, 4, 5, 1, 6};
  s.manager->titles = {L"Alpha", L"Beta", L"Gamma"};
  Array<CEOID> keep = ToArray({9, 4, 2});
  REQUIRE(s.source.SearchText(Str(L"x"), SortKindGrouped, s.noFilter, keep, TRUE, nullptr));
  CHECK(Events() == std::vector<std::string>{"GroupedSearch 'x'"});
  CHECK(Groups(s.source) == GroupList{{2}, {4}});
  CHECK(Titles(s.source) == std::vector<std::string>{"Alpha", "Beta"});
  CHECK(s.source.GroupFirstRow(0) == 0);
  CHECK(s.source.GroupFirstRow(1) == 1);
  CHECK(s.source.TotalRows() == 2);
  CHECK(s.source.GetSortKind() == SortKindGrouped);

  // A keep list that matches nothing leaves no group at all.
  REQUIRE(s.source.SearchText(Str(L"x"), SortKindGrouped, s.noFilter, ToArray({77}), TRUE, nullptr));
  CHECK(s.source.GroupCount() == 0);
  CHECK(s.source.TotalRows() == 0);

  // Without useKeep the keep list is not looked at.
  REQUIRE(s.source.SearchText(Str(L"x"), SortKindGrouped, s.noFilter, keep, FALSE, nullptr));
  CHECK(Groups(s.source) == GroupList{{1, 2}, {3, 4, 5}, {6}});
}

TEST_CASE("useKeep under sort kind 2: the keypad search ignores the keep list") {
  ScriptedSource s;
  s.manager->flat = {2, 1, 2, 3, 3, 4, 5, 1, 6};
  s.manager->titles = {L"Alpha", L"Beta", L"Gamma"};
  Array<CEOID> keep = ToArray({9, 4, 2});
  REQUIRE(s.source.SearchKeypad(Str(L"2"), SortKindGrouped, s.noFilter, keep, TRUE));
  CHECK(Events() == std::vector<std::string>{"GroupedKeypadSearch '2'"});
  CHECK(Groups(s.source) == GroupList{{1, 2}, {3, 4, 5}, {6}});
  CHECK(Titles(s.source) == std::vector<std::string>{"Alpha", "Beta", "Gamma"});
  CHECK(s.source.GroupFirstRow(0) == 0);
  CHECK(s.source.GroupFirstRow(1) == 2);
  CHECK(s.source.GroupFirstRow(2) == 5);
  CHECK(s.source.TotalRows() == 6);
}

TEST_CASE("a failed search empties result and cache and leaves the remembered arguments as they were") {
  ScriptedSource s;
  s.manager->plain = {1, 2};
  REQUIRE(s.source.SearchKeypad(Str(L"5"), SortKindFileAs, s.noFilter, s.noKeep, FALSE));
  Contact* contact = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 1, contact, 1));
  REQUIRE(s.source.CachedCount() == 1);

  s.manager->searchResult = FALSE;
  CategoryFilter filter;
  filter.active = 1;
  CHECK_FALSE(s.source.SearchText(Str(L"bob"), SortKindGrouped, filter, s.noKeep, FALSE, nullptr));
  CHECK(s.source.GroupCount() == 0);
  CHECK(s.source.TotalRows() == 0);
  CHECK(s.source.CachedCount() == 0);
  CHECK(s.source.GetSearchKind() == SearchKindKeypad);
  CHECK(Ascii(s.source.GetKeypadQuery()) == "5");
  CHECK(s.source.GetTextQuery().IsEmpty());
  CHECK(s.source.GetSortKind() == SortKindFileAs);
  CHECK_FALSE(s.source.GetFilter().active);

  CHECK_FALSE(s.source.SearchKeypad(Str(L"6"), SortKindName, s.noFilter, s.noKeep, FALSE));
  CHECK(Ascii(s.source.GetKeypadQuery()) == "5");
  CHECK(s.source.GetSortKind() == SortKindFileAs);

  // A failed refresh empties them too.
  s.manager->searchResult = TRUE;
  REQUIRE(s.source.Refresh());
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 1));
  s.manager->searchResult = FALSE;
  CHECK_FALSE(s.source.Refresh());
  CHECK(s.source.GroupCount() == 0);
  CHECK(s.source.CachedCount() == 0);
}

TEST_CASE("Refresh runs the remembered kind again with its own query, sort kind and filter") {
  ScriptedSource s;
  s.manager->plain = {1};
  s.manager->flat = {1, 1};
  s.manager->titles = {L"T"};
  CategoryFilter filter;
  filter.active = 1;
  filter.categories.Add(2);
  filter.categories.Add(3);
  REQUIRE(s.source.SearchKeypad(Str(L"4"), SortKindFileAs, filter, s.noKeep, FALSE));
  Events().clear();
  REQUIRE(s.source.Refresh());
  CHECK(Events() == std::vector<std::string>{"KeypadSearch '4' sort 1 filter 2 3"});

  REQUIRE(s.source.SearchText(Str(L"ann"), SortKindGrouped, s.noFilter, s.noKeep, FALSE, nullptr));
  Events().clear();
  REQUIRE(s.source.Refresh());
  CHECK(Events() == std::vector<std::string>{"GroupedSearch 'ann'"});
  CHECK(Titles(s.source) == std::vector<std::string>{"T"});

  REQUIRE(s.source.SearchKeypad(Str(L"47"), SortKindGrouped, s.noFilter, s.noKeep, FALSE));
  Events().clear();
  REQUIRE(s.source.Refresh());
  CHECK(Events() == std::vector<std::string>{"GroupedKeypadSearch '47'"});

  REQUIRE(s.source.SearchText(Str(L"ann"), SortKindName, s.noFilter, s.noKeep, FALSE, nullptr));
  Events().clear();
  REQUIRE(s.source.Refresh());
  CHECK(Events() == std::vector<std::string>{"Search 'ann' sort 0"});
}

TEST_CASE(
    "the manager's reports reach the view: a refresh and ResultsChanged, and the five calls passed on "
    "unchanged") {
  ScriptedSource s;
  s.manager->plain = {1, 2, 3};
  REQUIRE(s.source.SearchText(Str(L"a"), SortKindName, s.noFilter, s.noKeep, FALSE, nullptr));
  Contact* contact = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 0, contact, 1));
  REQUIRE(s.source.GetCachedContact(0, 1, contact, 1));
  REQUIRE(s.source.GetCachedContact(0, 2, contact, 1));
  // The manager was given the data source as its listener.
  ContactManagerListener* listener = s.manager->GivenListener();
  REQUIRE(listener == static_cast<ContactManagerListener*>(&s.source));

  Events().clear();
  s.manager->plain = {1, 2, 3, 4};
  listener->OnContactAdded(4);
  CHECK(Events() == std::vector<std::string>{"Search 'a' sort 0", "view ResultsChanged"});
  CHECK(Groups(s.source) == GroupList{{1, 2, 3, 4}});
  CHECK(s.source.CachedCount() == 3);

  Events().clear();
  listener->OnContactChanged(2);
  CHECK(Events() == std::vector<std::string>{"Search 'a' sort 0", "view ResultsChanged"});
  CHECK(s.source.FindCached(2) == nullptr);
  CHECK(s.source.FindCached(1) != nullptr);

  Events().clear();
  s.manager->plain = {1, 2, 4};
  listener->OnContactDeleted(3);
  CHECK(Events() ==
        std::vector<std::string>{"Search 'a' sort 0", "view ResultsChanged", "view OnContactGone 3"});
  CHECK(s.source.FindCached(3) == nullptr);
  CHECK(s.source.FindCached(1) != nullptr);
  CHECK(Groups(s.source) == GroupList{{1, 2, 4}});

  Events().clear();
  listener->OnReloaded();
  CHECK(Events() == std::vector<std::string>{"Search 'a' sort 0", "view ResultsChanged"});
  CHECK(s.source.CachedCount() == 0);
  CHECK(Groups(s.source) == GroupList{{1, 2, 4}});

  Events().clear();
  listener->OnListEvent(1, 2);
  listener->OnKeypadRebuildProgress(7);
  listener->SetDataReady(FALSE);
  listener->SetUpdatePending(TRUE);
  listener->OnListEvent2(3, 4);
  listener->SetDataReady(TRUE);
  listener->SetUpdatePending(FALSE);
  CHECK(Events() == std::vector<std::string>{"view OnListEvent 1 2", "view OnKeypadRebuildProgress 7",
                                             "view EnableItem 0", "view SetUpdatePending 1",
                                             "view OnListEvent2 3 4", "view EnableItem 1",
                                             "view SetUpdatePending 0"});

  // Without a view the reports still refresh, and nothing else happens.
  s.source.SetListener(nullptr);
  Events().clear();
  listener->OnContactDeleted(4);
  listener->SetDataReady(FALSE);
  listener->OnListEvent(1, 1);
  CHECK(Events() == std::vector<std::string>{"Search 'a' sort 0"});
}

TEST_CASE(
    "DeleteRows takes the rows out from the last to the first, drops emptied groups, then deletes in the "
    "list's order") {
  ScriptedSource s;
  s.manager->flat = {2, 1, 2, 1, 3, 2, 4, 5};
  s.manager->titles = {L"A", L"B", L"C"};
  REQUIRE(s.source.SearchText(Str(), SortKindGrouped, s.noFilter, s.noKeep, FALSE, nullptr));
  Contact* contact = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 1, contact, 1));  // 2
  REQUIRE(s.source.GetCachedContact(2, 1, contact, 1));  // 5
  Events().clear();

  Array<ResultPosition> positions;
  positions.Add(ResultPosition{0, 1});
  positions.Add(ResultPosition{1, 0});
  positions.Add(ResultPosition{2, 0});
  CHECK(s.source.DeleteRows(positions));
  CHECK(Groups(s.source) == GroupList{{1}, {5}});
  CHECK(Titles(s.source) == std::vector<std::string>{"A", "C"});
  CHECK(s.source.GroupFirstRow(1) == 1);
  CHECK(s.source.TotalRows() == 2);
  CHECK(Events() == std::vector<std::string>{"DeleteContact 2", "DeleteContact 3", "DeleteContact 4"});
  CHECK(s.source.FindCached(2) == nullptr);
  CHECK(s.source.FindCached(5) != nullptr);

  // One failure makes the result false; the others are still tried.
  REQUIRE(s.source.SearchText(Str(), SortKindGrouped, s.noFilter, s.noKeep, FALSE, nullptr));
  s.manager->undeletable = {3};
  Events().clear();
  CHECK_FALSE(s.source.DeleteRows(positions));
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_ACCESS_DENIED));
  CHECK(Events() == std::vector<std::string>{"DeleteContact 2", "DeleteContact 3", "DeleteContact 4"});
  CHECK(Groups(s.source) == GroupList{{1}, {5}});

  // Nothing to delete is no failure.
  Events().clear();
  CHECK(s.source.DeleteRows(Array<ResultPosition>()));
  CHECK(Events().empty());
}

TEST_CASE(
    "AddContact gives the new contact's position after the refresh; UpdateContact renews the cached copy") {
  ScriptedSource s;
  s.manager->plain = {1, 2};
  REQUIRE(s.source.SearchKeypad(Str(L"2"), SortKindName, s.noFilter, s.noKeep, FALSE));
  Events().clear();
  Contact added;
  added.text[ContactField::LastName] = Str(L"New");
  int group = -5, row = -5;
  s.manager->nextOid = 77;
  REQUIRE(s.source.AddContact(added, group, row));
  CHECK(added.oid == 77u);
  CHECK(group == 0);
  CHECK(row == 2);
  CHECK(Events() == std::vector<std::string>{"AddContact 77", "KeypadSearch '2' sort 0"});

  // A contact that the current search doesn't show has no position.
  s.manager->nextOid = 78;
  s.manager->addShows = false;
  Contact hidden;
  REQUIRE(s.source.AddContact(hidden, group, row));
  CHECK(hidden.oid == 78u);
  CHECK(group == -1);
  CHECK(row == -1);

  // Stored but left out of a full index: false, and why, with the contact's oid set.
  s.manager->nextOid = 79;
  s.manager->SetOverCapacity(TRUE);
  Contact unindexed;
  SetLastError(0);
  CHECK_FALSE(s.source.AddContact(unindexed, group, row));
  CHECK(GetLastError() == kMappingFullError);
  CHECK(unindexed.oid == 79u);
  CHECK(group == -1);
  CHECK(row == -1);
  // One that the search shows is placed, full index or not.
  s.manager->addShows = true;
  s.manager->nextOid = 80;
  Contact shown;
  REQUIRE(s.source.AddContact(shown, group, row));
  CHECK(group == 0);
  CHECK(row >= 0);
  s.manager->SetOverCapacity(FALSE);
  s.manager->addShows = false;

  // Refused: false, no position, nothing searched.
  s.manager->writeResult = FALSE;
  Contact refused;
  Events().clear();
  CHECK_FALSE(s.source.AddContact(refused, group, row));
  CHECK(group == -1);
  CHECK(row == -1);
  CHECK(Events() == std::vector<std::string>{"AddContact refused"});

  // Update: the manager is told the photo in hand is the one to keep; the cache takes the new data.
  s.manager->writeResult = TRUE;
  Contact* cached = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 1, cached, 1));
  REQUIRE(cached->oid == 2u);
  Contact edited;
  edited.oid = 2;
  edited.text[ContactField::LastName] = Str(L"Edited");
  edited.defaultItem = 0x3A09001F;
  Events().clear();
  REQUIRE(s.source.UpdateContact(edited));
  CHECK(Events() == std::vector<std::string>{"UpdateContact 2 photo 1", "KeypadSearch '2' sort 0"});
  CHECK(s.source.FindCached(2) == cached);
  CHECK(Ascii(cached->text[ContactField::LastName]) == "Edited");
  CHECK(cached->defaultItem == 0x3A09001Fu);
  // Refused: the cached copy stays as it was.
  s.manager->writeResult = FALSE;
  edited.text[ContactField::LastName] = Str(L"Refused");
  CHECK_FALSE(s.source.UpdateContact(edited));
  CHECK(Ascii(cached->text[ContactField::LastName]) == "Edited");
}

TEST_CASE(
    "UpdateContact of a cached contact saves the stored photo, not the row's picture, unless the photo was "
    "changed") {
  ScriptedSource s;
  s.manager->plain = {41, 42};
  s.manager->withPhoto = {41, 42};
  REQUIRE(s.source.SearchText(Str(), SortKindName, s.noFilter, s.noKeep, FALSE, nullptr));
  Contact* cached = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 0, cached, 32));
  REQUIRE(cached->oid == 41u);
  REQUIRE(cached->photo.Width() == 32);

  // The cached contact itself, edited: the manager gets it without a photo, reads the stored 40 x 30
  // one and saves that; the row keeps its picture of 32.
  cached->text[ContactField::FirstName] = Str(L"Edited");
  Events().clear();
  REQUIRE(s.source.UpdateContact(*cached));
  CHECK(Events().front() == "UpdateContact 41 photo 0");
  CHECK(s.manager->updatedPhoto.IsEmpty());
  CHECK_FALSE(s.manager->updatedPhotoLoaded);
  CHECK(cached->photo.Width() == 32);
  CHECK(cached->photo.Height() == 24);
  CHECK(cached->photoLoaded);
  CHECK(Ascii(cached->text[ContactField::FirstName]) == "Edited");

  // A copy of it likewise; the cache takes the copy's data with the row's picture.
  Contact copy(*cached);
  copy.text[ContactField::FirstName] = Str(L"Copied");
  Events().clear();
  REQUIRE(s.source.UpdateContact(copy));
  CHECK(Events().front() == "UpdateContact 41 photo 0");
  CHECK(s.manager->updatedPhoto.IsEmpty());
  CHECK(copy.photo.Width() == 32);
  CHECK(Ascii(cached->text[ContactField::FirstName]) == "Copied");
  CHECK(cached->photo.Width() == 32);

  // A new photo put in: it is the one to save.
  const int stride = ((10 * 3) + 3) & ~3;
  std::vector<BYTE> pixels(static_cast<size_t>(stride * 10), 0x22);
  copy.photo = ContactPhoto(10, 10, stride, 24, pixels.data());
  Events().clear();
  REQUIRE(s.source.UpdateContact(copy));
  CHECK(Events().front() == "UpdateContact 41 photo 1");
  CHECK(s.manager->updatedPhoto.Width() == 10);

  // The photo taken out: saved so, the stored one goes.
  copy.photo.Empty();
  Events().clear();
  REQUIRE(s.source.UpdateContact(copy));
  CHECK(Events().front() == "UpdateContact 41 photo 1");
  CHECK(s.manager->updatedPhoto.IsEmpty());

  // A contact that isn't cached carries its photo as it is to be.
  Contact other;
  other.oid = 42;
  other.photo = ContactPhoto(10, 10, stride, 24, pixels.data());
  Events().clear();
  REQUIRE(s.source.UpdateContact(other));
  CHECK(Events().front() == "UpdateContact 42 photo 1");
  CHECK(s.manager->updatedPhoto.Width() == 10);
}

TEST_CASE(
    "UpdateDefaultItem without coordinator stores through the manager and puts the value into the cached "
    "contact") {
  ScriptedSource s;
  s.manager->plain = {8};
  REQUIRE(s.source.SearchText(Str(), SortKindName, s.noFilter, s.noKeep, FALSE, nullptr));
  Contact* cached = nullptr;
  REQUIRE(s.source.GetCachedContact(0, 0, cached, 1));
  Events().clear();
  REQUIRE(s.source.UpdateDefaultItem(8, 0x4007001F));
  CHECK(Events() == std::vector<std::string>{"SetDefaultItem 8 1074200607"});
  CHECK(cached->defaultItem == 0x4007001Fu);
  // Not cached: stored, nothing else.
  REQUIRE(s.source.UpdateDefaultItem(9, 0));
  CHECK(s.source.FindCached(9) == nullptr);
  // Refused by the manager: false, the cache stays.
  s.manager->writeResult = FALSE;
  CHECK_FALSE(s.source.UpdateDefaultItem(8, 0x3A09001F));
  CHECK(cached->defaultItem == 0x4007001Fu);
}
