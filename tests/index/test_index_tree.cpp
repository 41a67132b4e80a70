// The trees of the index file: node layout, tails and their splits, prefix lookups, lists, removal with
// pruning, the keys a contact puts in, and the header's mark and version.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>

#include "IndexFixture.h"
#include "storage/index/ContactFeed.h"
#include "storage/index/SearchTree.h"

using namespace indextest;

namespace {

typedef std::vector<uint32_t> Ids_;

const TreeNode* NodeAt(IndexFixture& f, uint32_t offset) { return f.index.Store().Node(offset); }

std::wstring TailText(IndexFixture& f, uint32_t node) {
  const TreeNode* n = NodeAt(f, node);
  if (n->tailFlag != 255) return L"";
  return reinterpret_cast<const wchar_t*>(f.index.Store().Data() + n->tail);
}

std::vector<uint32_t> ListAt(IndexFixture& f, uint32_t list) {
  std::vector<uint32_t> ids;
  if (list == 0) return ids;
  const uint32_t* words = f.index.Store().Words(list);
  for (uint32_t k = 0; k < words[0]; ++k) ids.push_back(words[1 + k]);
  return ids;
}

uint32_t AddKey(IndexFixture& f, const wchar_t* key, uint32_t oid) {
  uint32_t node = 0xFFFFFFFF;
  REQUIRE(f.index.Tree(WordTree).Add(key, static_cast<int>(wcslen(key)), oid, &node));
  return node;
}

// Adds whole contacts that hold nothing but `text` in their Note.
void AddNote(IndexFixture& f, uint32_t oid, const wchar_t* text) {
  Contact c;
  c.oid = oid;
  f.Add(c, text);
}

}  // namespace

TEST_CASE("a first key makes a root without a tail and a node with the rest as its tail") {
  IndexFixture f(L"tree_first");
  AddKey(f, L"abc", 1);
  const uint32_t root = f.Header(kWordRootSlot);
  REQUIRE(root != 0);
  const TreeNode* a = NodeAt(f, root);
  CHECK(a->ch == L'a');
  CHECK(a->parent == 0);
  CHECK(a->tailFlag == 0);
  CHECK(a->list == 0);
  REQUIRE(a->equal != 0);
  const TreeNode* b = NodeAt(f, a->equal);
  CHECK(b->ch == L'b');
  CHECK(b->parent == root);
  CHECK(b->tailFlag == 255);
  CHECK(TailText(f, a->equal) == L"c");
  CHECK(ListAt(f, b->list) == Ids_{1});
  // A 24-byte node for the root, a 28-byte node with its tail, and a tail of one character and its NUL.
  CHECK(*reinterpret_cast<const int32_t*>(f.index.Store().Data() + root - 4) == 24);
  CHECK(*reinterpret_cast<const int32_t*>(f.index.Store().Data() + a->equal - 4) == 28);
  CHECK(*reinterpret_cast<const int32_t*>(f.index.Store().Data() + b->tail - 4) == 8);
  CHECK(f.Prefix(WordTree, L"abc") == Ids_{1});
}

TEST_CASE("abc, then abd: the tail splits into a chain, both keys find their ids, and ab finds both") {
  IndexFixture f(L"tree_abd");
  const uint32_t first = AddKey(f, L"abc", 1);
  const uint32_t second = AddKey(f, L"abd", 2);
  const uint32_t root = f.Header(kWordRootSlot);
  const TreeNode* a = NodeAt(f, root);
  const uint32_t bOffset = a->equal;
  CHECK(bOffset == first);
  const TreeNode* b = NodeAt(f, bOffset);
  CHECK(b->ch == L'b');
  CHECK(b->tailFlag == 0);
  CHECK(b->tail == 0);
  CHECK(b->list == 0);
  REQUIRE(b->equal != 0);
  const TreeNode* c = NodeAt(f, b->equal);
  CHECK(c->ch == L'c');
  CHECK(c->tailFlag == 0);
  CHECK(c->parent == bOffset);
  CHECK(ListAt(f, c->list) == Ids_{1});
  REQUIRE(c->greater == second);
  const TreeNode* d = NodeAt(f, second);
  CHECK(d->ch == L'd');
  CHECK(d->parent == b->equal);
  CHECK(ListAt(f, d->list) == Ids_{2});

  CHECK(f.Prefix(WordTree, L"abc") == Ids_{1});
  CHECK(f.Prefix(WordTree, L"abd") == Ids_{2});
  CHECK(f.Prefix(WordTree, L"ab") == Ids_{1, 2});
  CHECK(f.Prefix(WordTree, L"a") == Ids_{1, 2});
  CHECK(f.Prefix(WordTree, L"abe").empty());
}

TEST_CASE("a longer shared run splits into a chain of nodes, one for each shared character") {
  IndexFixture f(L"tree_chain");
  AddKey(f, L"xabcdef", 1);
  AddKey(f, L"xabcdzz", 2);
  // x, a (tail bcdef) -> x, a, b, c, d, then e (tail f) and z (tail z) beside it.
  RawIndex raw = ReadRaw(f.index.Store());
  REQUIRE(raw.error.empty());
  CHECK(raw.nodes[0].size() == 7);
  CHECK(raw.keys[0][L"xabcdef"] == Ids_{1});
  CHECK(raw.keys[0][L"xabcdzz"] == Ids_{2});
  CHECK(f.Prefix(WordTree, L"xabcd") == Ids_{1, 2});
  CHECK(f.Prefix(WordTree, L"xabcde") == Ids_{1});
  CHECK(f.Prefix(WordTree, L"xabcdz") == Ids_{2});
  CHECK(CheckReport(f.index).find("tail") == std::string::npos);
}

TEST_CASE("the key ab after abc: the node of b gets the list, and what followed moves to a child") {
  IndexFixture f(L"tree_ab");
  const uint32_t first = AddKey(f, L"abc", 1);
  const uint32_t second = AddKey(f, L"ab", 2);
  CHECK(second == first);  // the node of b
  const TreeNode* b = NodeAt(f, second);
  CHECK(b->tailFlag == 0);
  CHECK(ListAt(f, b->list) == Ids_{2});
  REQUIRE(b->equal != 0);
  const TreeNode* c = NodeAt(f, b->equal);
  CHECK(c->ch == L'c');
  CHECK(c->tailFlag == 0);
  CHECK(ListAt(f, c->list) == Ids_{1});
  CHECK(f.Prefix(WordTree, L"ab") == Ids_{1, 2});
  CHECK(f.Prefix(WordTree, L"abc") == Ids_{1});
}

TEST_CASE("a key equal to a tail's whole key finds that node and changes nothing") {
  IndexFixture f(L"tree_same");
  const uint32_t first = AddKey(f, L"abcdef", 1);
  const uint32_t second = AddKey(f, L"abcdef", 2);
  CHECK(second == first);
  CHECK(ListAt(f, NodeAt(f, first)->list) == Ids_{1, 2});
  CHECK(TailText(f, first) == L"cdef");
}

TEST_CASE("a prefix longer than any key gives nothing; a prefix of a tail matches") {
  IndexFixture f(L"tree_prefix");
  AddKey(f, L"abcdef", 1);
  AddKey(f, L"abz", 3);
  CHECK(f.Prefix(WordTree, L"abcdefg").empty());
  CHECK(f.Prefix(WordTree, L"abcdefgh").empty());
  CHECK(f.Prefix(WordTree, L"abcd") == Ids_{1});
  CHECK(f.Prefix(WordTree, L"abcde") == Ids_{1});
  CHECK(f.Prefix(WordTree, L"abcdef") == Ids_{1});
  CHECK(f.Prefix(WordTree, L"abcx").empty());
  CHECK(f.Prefix(WordTree, L"ab") == Ids_{1, 3});
  CHECK(f.Prefix(WordTree, L"").empty());
  CHECK(f.Prefix(WordTree, L"q").empty());
}

TEST_CASE("a contact added twice to one key has one entry, and Add gives 0 the second time") {
  IndexFixture f(L"tree_twice");
  const uint32_t node = AddKey(f, L"word", 7);
  CHECK(node != 0);
  CHECK(AddKey(f, L"word", 7) == 0);
  AddKey(f, L"word", 3);
  AddKey(f, L"word", 9);
  CHECK(AddKey(f, L"word", 3) == 0);
  CHECK(ListAt(f, NodeAt(f, node)->list) == Ids_{3, 7, 9});

  // Through the feed: a word that stands twice in a contact is recorded once in its chain.
  IndexFixture g(L"tree_twice_feed");
  AddNote(g, 5, L"echo echo echo");
  RawIndex raw = ReadRaw(g.index.Store());
  CHECK(raw.keys[0][L"echo"] == Ids_{5});
  CHECK(raw.chains[0][5].size() == 1);
  CHECK(raw.chains[1][5].size() == 1);  // the keypad key of "echo"
}

TEST_CASE("lists stay ascending whatever the order of adds") {
  IndexFixture f(L"tree_ascending");
  const uint32_t ids[] = {50, 7, 1000, 3, 0x80000001u, 9, 0xFFFFFFFEu, 4};
  uint32_t node = 0;
  for (uint32_t id : ids) {
    uint32_t made = AddKey(f, L"same", id);
    if (made != 0) node = made;
  }
  CHECK(ListAt(f, NodeAt(f, node)->list) == Ids_{3, 4, 7, 9, 50, 1000, 0x80000001u, 0xFFFFFFFEu});
}

TEST_CASE("keys compare as unsigned 16-bit characters: less and greater branches") {
  IndexFixture f(L"tree_order");
  AddKey(f, L"m", 1);
  AddKey(f, L"a", 2);
  AddKey(f, L"z", 3);
  AddKey(f, L"\x0416", 4);  // Ж, above every Latin letter
  const TreeNode* m = NodeAt(f, f.Header(kWordRootSlot));
  REQUIRE(m->less != 0);
  REQUIRE(m->greater != 0);
  CHECK(NodeAt(f, m->less)->ch == L'a');
  CHECK(NodeAt(f, m->greater)->ch == L'z');
  CHECK(NodeAt(f, NodeAt(f, m->greater)->greater)->ch == 0x0416);
  CHECK(f.Prefix(WordTree, L"\x0416") == Ids_{4});
}

TEST_CASE("removing the last contact of a key prunes every node without other use, down to an empty tree") {
  IndexFixture f(L"tree_prune");
  AddNote(f, 1, L"abc");
  AddNote(f, 2, L"abd");
  AddNote(f, 3, L"abdxyz");
  CHECK(CheckReport(f.index).empty());

  f.Remove(3);
  CHECK(f.Prefix(WordTree, L"abdxyz").empty());
  CHECK(f.Prefix(WordTree, L"ab") == Ids_{1, 2});
  RawIndex raw = ReadRaw(f.index.Store());
  CHECK(raw.keys[0].count(L"abdxyz") == 0);
  CHECK(CheckReport(f.index).empty());

  f.Remove(1);
  // c held only contact 1, but it still leads to d: it stays, without a list.
  raw = ReadRaw(f.index.Store());
  CHECK(raw.keys[0].size() == 1);
  CHECK(raw.keys[0][L"abd"] == Ids_{2});
  CHECK(raw.nodes[0].size() == 4);
  CHECK(CheckReport(f.index).empty());

  f.Remove(2);
  CHECK(f.Header(kWordRootSlot) == 0);
  CHECK(f.Header(kKeypadRootSlot) == 0);
  raw = ReadRaw(f.index.Store());
  CHECK(raw.nodes[0].empty());
  CHECK(raw.nodes[1].empty());
  CHECK(f.Prefix(WordTree, L"a").empty());
  // What stays: the two reverse maps, now with a count of 0.
  CHECK(f.index.Store().Words(f.Header(kWordReverseSlot))[0] == 0);
  CHECK(f.index.Store().Words(f.Header(kKeypadReverseSlot))[0] == 0);
  CHECK(f.Header(kNameListSlot) == 0);
  CHECK(f.Header(kFileAsListSlot) == 0);
  CHECK(f.Header(kContactMapSlot) == 0);
  CHECK(CheckReport(f.index).empty());
  CHECK(ArenaProblem(f.index.Store()).empty());
  // Everything but the two empty reverse maps went back to the arena.
  // Each was made for one entry: a count and a pair, 12 bytes.
  std::vector<int32_t> used = UsedBlocks(f.index.Store());
  CHECK(used == std::vector<int32_t>{12, 12});

  // The empty tree takes keys again.
  AddNote(f, 4, L"again");
  CHECK(f.Prefix(WordTree, L"ag") == Ids_{4});
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("removal follows a contact's list down the equal branch when a split has moved it") {
  IndexFixture f(L"tree_moved");
  AddNote(f, 1, L"abcdef");
  AddNote(f, 2, L"abcdxy");  // moves contact 1's list from b down to e
  AddNote(f, 3, L"ab");      // and a third key ends at b
  RawIndex raw = ReadRaw(f.index.Store());
  CHECK(raw.keys[0][L"abcdef"] == Ids_{1});
  f.Remove(1);
  CHECK(f.Prefix(WordTree, L"abcdef").empty());
  CHECK(f.Prefix(WordTree, L"ab") == Ids_{2, 3});
  CHECK(f.Prefix(WordTree, L"abcd") == Ids_{2});
  CHECK(CheckReport(f.index).empty());
  f.Remove(2);
  f.Remove(3);
  CHECK(f.Header(kWordRootSlot) == 0);
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("a chain takes 20 nodes a block and adds blocks at the ring's end") {
  IndexFixture f(L"tree_chain_blocks");
  std::wstring text;
  for (int k = 0; k < 45; ++k) text += L"w" + std::to_wstring(1000 + k) + L" ";
  AddNote(f, 11, text.c_str());
  const uint32_t map = f.Header(kWordReverseSlot);
  REQUIRE(map != 0);
  const uint32_t* words = f.index.Store().Words(map);
  CHECK(words[0] == 1);
  CHECK(words[1] == 11);
  const uint32_t head = words[2];
  const ChainBlock* h = reinterpret_cast<const ChainBlock*>(f.index.Store().Data() + head);
  const ChainBlock* second = reinterpret_cast<const ChainBlock*>(f.index.Store().Data() + h->next);
  const ChainBlock* third = reinterpret_cast<const ChainBlock*>(f.index.Store().Data() + second->next);
  CHECK(h->used == 20);
  CHECK(second->used == 20);
  CHECK(third->used == 5);
  CHECK(third->next == head);
  CHECK(h->prev == second->next);
  CHECK(second->prev == head);
  // A second contact of one node links its block to itself.
  AddNote(f, 12, L"single");
  words = f.index.Store().Words(f.Header(kWordReverseSlot));
  CHECK(words[0] == 2);
  CHECK(words[3] == 12);
  const ChainBlock* alone = reinterpret_cast<const ChainBlock*>(f.index.Store().Data() + words[4]);
  CHECK(alone->next == words[4]);
  CHECK(alone->prev == words[4]);
  CHECK(alone->used == 1);
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("the phone +7 (495) 123-45-67: ~ and its eleven digits from last to first, and its words") {
  IndexFixture f(L"tree_phone");
  Contact c;
  c.oid = 21;
  c.text[ContactField::MobilePhone] = L"+7 (495) 123-45-67";
  f.Add(c);
  RawIndex raw = ReadRaw(f.index.Store());
  REQUIRE(raw.error.empty());
  std::set<std::wstring> keys;
  for (const auto& entry : raw.keys[0]) keys.insert(entry.first);
  // The plus isn't a separator, so the country code's word keeps it.
  CHECK(keys == std::set<std::wstring>{L"~76543215947", L"+7", L"495", L"123", L"45", L"67"});
  CHECK(raw.keys[0][L"~76543215947"] == Ids_{21});
  // No digit has a keypad group.
  CHECK(raw.keys[1].empty());
  // The end of the number is a prefix lookup.
  CHECK(f.Prefix(WordTree, L"~7654") == Ids_{21});
  CHECK(f.Prefix(WordTree, L"495") == Ids_{21});
}

TEST_CASE("a field with several numbers has each of them stored from its end") {
  IndexFixture f(L"tree_numbers");
  Contact c;
  c.oid = 22;
  c.text[ContactField::WorkPhone] = L"+7 (495) 123-45-67, 8 916 555-44-33";
  f.Add(c);
  CHECK(f.Prefix(WordTree, L"~3344555619") == Ids_{22});  // the whole field's digits end with the last number
  CHECK(f.Prefix(WordTree, L"~76543215947") == Ids_{22});  // the number before it
  CHECK(ContactFeed::CutLastNumber(Str(L"+7 (495) 123-45-67, 8 916 555-44-33")) ==
        Str(L"+7 (495) 123-45-67"));
  CHECK(ContactFeed::CutLastNumber(Str(L"+7 (495) 123-45-67")).IsEmpty());
  CHECK(ContactFeed::CutLastNumber(Str(L"work 123456 home 654321")) == Str(L"work 123456"));
  CHECK(ContactFeed::CutLastNumber(Str(L"work 123456")).IsEmpty());
  CHECK(ContactFeed::CutLastNumber(Str(L"12345x67")).IsEmpty());  // the number before is too near the start
  CHECK(ContactFeed::CutLastNumber(Str(L"123456x7")) == Str(L"123456"));  // ends at index 5
  CHECK(ContactFeed::CutLastNumber(Str(L"")).IsEmpty());
  CHECK(ContactFeed::NumberEndKey(L"(01) 23") == Str(L"~3210"));
  CHECK(ContactFeed::NumberEndKey(L"no digits").IsEmpty());
}

TEST_CASE("a word with a character that no group holds has a shortened keypad key, or none") {
  IndexFixture f(L"tree_keypad");
  AddNote(f, 31, L"abc1def");
  AddNote(f, 32, L"1abc");
  AddNote(f, 33, L"Ivanov");
  AddNote(f, 34, L"Иванов");
  RawIndex raw = ReadRaw(f.index.Store());
  CHECK(raw.keys[0][L"abc1def"] == Ids_{31});
  CHECK(raw.keys[0][L"1abc"] == Ids_{32});
  CHECK(raw.keys[1][L"aaa"] == Ids_{31});
  CHECK(raw.keys[1].count(L"") == 0);
  for (const auto& entry : raw.keys[1])
    CHECK(std::find(entry.second.begin(), entry.second.end(), 32u) == entry.second.end());
  // Lower case first, then the keys: ivanov -> gtammt; иванов -> gaajja (и ghi, в abc, а abc, н jkl, о jkl, в abc).
  CHECK(raw.keys[0][L"ivanov"] == Ids_{33});
  CHECK(raw.keys[1][L"gtammt"] == Ids_{33});
  CHECK(raw.keys[0][L"иванов"] == Ids_{34});
  CHECK(raw.keys[1][L"gaajja"] == Ids_{34});
  CHECK(f.Prefix(KeypadTree, L"ga") == Ids_{34});
  CHECK(f.Prefix(KeypadTree, L"g") == Ids_{33, 34});
}

TEST_CASE("the feed cuts at all 37 separators, and at nothing else") {
  IndexFixture f(L"tree_separators");
  std::wstring text = L"w0";
  const wchar_t* separators = L"\r\n\t `!@#$%^&*()_|{}:\"/<>?[];',./\u2116-=\\";
  int n = 1;
  for (const wchar_t* at = separators; *at != 0; ++at)
    text += std::wstring(1, *at) + L"w" + std::to_wstring(n++);
  text += L" a+b a~b a\u00ADb";
  AddNote(f, 41, text.c_str());
  RawIndex raw = ReadRaw(f.index.Store());
  CHECK(raw.keys[0].count(L"w0") == 1);
  for (int k = 1; k < n; ++k) CHECK(raw.keys[0].count(L"w" + std::to_wstring(k)) == 1);
  CHECK(raw.keys[0].count(L"a+b") == 1);
  CHECK(raw.keys[0].count(L"a~b") == 1);
  CHECK(raw.keys[0].count(L"a\u00ADb") == 1);
}

TEST_CASE("a header with mark 1 and version 4 is accepted; mark 2 and version 4 is refused") {
  struct Case {
    uint32_t mark;
    uint32_t version;
    bool accepted;
  };
  const Case cases[] = {{1, 5, true}, {1, 4, true}, {2, 5, true}, {2, 4, false}, {0, 0, false}};
  for (const Case& c : cases) {
    CAPTURE(c.mark);
    CAPTURE(c.version);
    IndexFixture f(L"tree_header");
    AddNote(f, 51, L"kept");
    f.index.Store().SetHeaderWord(kIndexMarkSlot, c.mark);
    f.index.Store().SetHeaderWord(kIndexVersionSlot, c.version);
    REQUIRE(f.index.Store().Save(FALSE));
    f.index.Close();
    CHECK(bool(f.index.Open()) == c.accepted);
    CHECK(bool(f.index.IsOpen()) == c.accepted);
    if (c.accepted) {
      CHECK(f.Prefix(WordTree, L"ke") == Ids_{51});
      uint32_t record = 0;
      CHECK(f.index.Find(51, &record));
      CHECK(record != 0);
    }
  }
}

TEST_CASE("a new index: 102444 bytes, mark 1, version 5, the rest of the header 0") {
  IndexFixture f(L"tree_new");
  CHECK(f.index.Store().Length() == 102444);
  CHECK(f.Header(kIndexMarkSlot) == 1);
  CHECK(f.Header(kIndexVersionSlot) == 5);
  for (uint32_t slot = 8; slot < 36; slot += 4) CHECK(f.Header(slot) == 0);
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("opening with a minimum length extends the data by the difference") {
  IndexFixture f(L"tree_minimum");
  AddNote(f, 61, L"grow");
  REQUIRE(f.index.Store().Save(FALSE));
  f.index.Close();
  REQUIRE(f.index.Store().Open(200000));
  CHECK(f.index.Store().Length() == 200000);
  CHECK(ArenaProblem(f.index.Store()).empty());
  f.index.Close();
  REQUIRE(f.index.Open());
  CHECK(f.Prefix(WordTree, L"gr") == Ids_{61});
  CHECK(CheckReport(f.index).empty());
}
