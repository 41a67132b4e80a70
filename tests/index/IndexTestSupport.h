// Helpers of the index tests: files of their own, the keypad groups they feed with, an independent
// reading of the index file, an independent model of the keys a contact puts into the trees, random
// and generated contacts, and a key source kept beside them as the database would be.
#pragma once

#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "ArrayVectors.h"
#include "NamedContact.h"
#include "WideText.h"
#include "WordModel.h"
#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/contact/Contact.h"
#include "storage/index/ContactKeySource.h"

class ContactIndex;
class IndexStore;
class KeypadGroups;

namespace indextest {

// The object store file of the index tests, unless PAGEMARK_OBJECT_STORE names one.
extern const wchar_t kTestStoreFile[];

// A path in the temporary folder for this test program's files.
std::wstring TempPath(const std::wstring& name);
using testpaths::ReadFileBytes;

// The order of the index's sorted lists for two keys and their oids: the keys by the system's
// collation, then the oids; below zero when the first comes first.
int CompareKeys(const std::wstring& a, uint32_t oidA, const std::wstring& b, uint32_t oidB);

// The process-wide keypad groups of the English/Russian letter set: abcабвг, defдеёжз, ghiийкл,
// jklмноп, mnoрсту, pqrsфхцч, tuvшщъы, wxyzьэюя.
void UseEnglishRussianGroups();
void UseEnglishGroups();

template <typename E>
std::vector<uint32_t> Ids(const Array<E>& ids) {
  return VectorOf<uint32_t>(ids);
}

// --- an independent reading of the index file -------------------------------------------------------
// Everything below reads the file's structures by their layout only, without the item's code.
struct RawIndex {
  // key -> oids of its list, for each tree, as found by walking the tree.
  std::map<std::wstring, std::vector<uint32_t>> keys[2];
  std::set<uint32_t> nodes[2];
  // oid -> nodes named in its chain, for each tree.
  std::map<uint32_t, std::vector<uint32_t>> chains[2];
  std::vector<uint32_t> sorted[2];  // name list, File As list
  std::vector<std::pair<uint32_t, uint32_t>> contactMap;
  uint32_t root[2] = {0, 0};
  uint32_t reverseMap[2] = {0, 0};
  std::string error;  // the first thing that didn't read as expected
};
RawIndex ReadRaw(const uint8_t* data, uint32_t length);
RawIndex ReadRaw(const IndexStore& store);

// What a walk of the arena (tests/mapped's own reading) says about the store: empty when sound.
std::string ArenaProblem(const IndexStore& store);
// Payload sizes of the arena's blocks in use, in address order.
std::vector<int32_t> UsedBlocks(const IndexStore& store);

// --- the model of the feed ---------------------------------------------------------------------------
// The keys of a contact, worked out from the rules of the feed by the test itself, under the keypad
// groups last set by UseEnglishRussianGroups or UseEnglishGroups.
using ModelKeys = wordmodel::Keys;
ModelKeys KeysOfContact(const Contact& contact, const std::wstring& note);

// Who holds which key: key -> oids, for each tree.
struct Model {
  std::map<uint32_t, ModelKeys> contacts;
  std::map<uint32_t, std::wstring> notes;
  std::map<std::wstring, std::set<uint32_t>> holders[2];

  void Put(uint32_t oid, const ModelKeys& keys);
  void Drop(uint32_t oid);
  // The oids of every key that begins with `prefix`, ascending.
  std::vector<uint32_t> Prefix(int tree, const std::wstring& prefix) const;
  // Every distinct prefix of every key of the tree.
  std::set<std::wstring> AllPrefixes(int tree) const;
};

// --- contacts ----------------------------------------------------------------------------------------
// A contact with the given names (the rest empty).
inline Contact Named(uint32_t oid, const wchar_t* last, const wchar_t* first, const wchar_t* company = L"",
                     const wchar_t* fileAs = L"") {
  Contact c = NamedContact(last, first, company, fileAs);
  c.oid = oid;
  return c;
}
// The contact number `index` of the pimtool generator for `seed`, and its Note text.
Contact Generated(uint64_t seed, int index, uint32_t oid, std::wstring* note);

// Random contacts for the model tests: words of a small alphabet with shared beginnings, Latin and
// Cyrillic, phones with one or two numbers, mails, addresses, dates, and Note text.
class RandomContacts {
 public:
  explicit RandomContacts(uint32_t seed);
  Contact Make(uint32_t oid, std::wstring* note);
  std::wstring Word();
  uint32_t Below(uint32_t bound);

 private:
  std::wstring Phone();
  uint64_t state;
};

// Keys of contacts as the database would give them, kept by the test.
class MapKeySource : public ContactKeySource {
 public:
  bool ReadSortKey(int kind, CEOID oid, Str& key) override;
  void Put(const Contact& contact);
  void Drop(uint32_t oid) { keys.erase(oid); }
  std::map<uint32_t, std::pair<std::wstring, std::wstring>> keys;  // oid -> {name key, File As}
  int reads = 0;
};

// The check of the whole index; empty when nothing is broken.
std::string CheckReport(const ContactIndex& index);

}  // namespace indextest
