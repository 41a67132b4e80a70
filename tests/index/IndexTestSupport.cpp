#include "IndexTestSupport.h"

#include <algorithm>
#include <cstring>

#include "../mapped/ArenaWalk.h"
#include "Generator.h"
#include "LittleEndian.h"
#include "TestPaths.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/index/ContactIndex.h"
#include "storage/contact/ContactNames.h"
#include "storage/index/IndexStore.h"

namespace {

// The index tests keep to an object store file of their own.
testpaths::OwnObjectStore g_ownStore(indextest::kTestStoreFile);

}  // namespace

namespace indextest {

const wchar_t kTestStoreFile[] = L"\\windows\\test_index.cdb";

namespace {

// The model's letter groups are those the item's table holds after the fill.
wordmodel::WordModel g_model;

void FillGroups(const std::vector<std::wstring>& letters) {
  Array<Str> sets;
  for (const std::wstring& group : letters) sets.Add(Str(group.c_str()));
  g_keypadGroups.Fill(sets);
  std::vector<std::wstring> groups;
  for (int i = 0; i < g_keypadGroups.GetCount(); ++i)
    groups.push_back(static_cast<const wchar_t*>(g_keypadGroups.GetAt(i)));
  g_model = wordmodel::WordModel(groups);
}

}  // namespace

std::wstring TempPath(const std::wstring& name) {
  return testpaths::TempFolder() + L"pagemark_index_" + name;
}

int CompareKeys(const std::wstring& a, uint32_t oidA, const std::wstring& b, uint32_t oidB) {
  int order = CompareStringW(0x800, 0, a.c_str(), -1, b.c_str(), -1) - 2;
  if (order != 0) return order;
  return oidA < oidB ? -1 : (oidA > oidB ? 1 : 0);
}

void UseEnglishRussianGroups() {
  FillGroups(
      {L"ABCабвг", L"DEFдеёжз", L"GHIийкл", L"JKLмноп", L"MNOрсту", L"PQRSфхцч", L"TUVшщъы", L"WXYZьэюя"});
}

void UseEnglishGroups() { FillGroups({L"ABC", L"DEF", L"GHI", L"JKL", L"MNO", L"PQRS", L"TUV", L"WXYZ"}); }

// --- raw reading ---------------------------------------------------------------------------------------

RawIndex ReadRaw(const uint8_t* data, uint32_t length) {
  RawIndex raw;
  auto inside = [&](uint32_t offset, uint32_t bytes) {
    return offset >= 36 && offset <= length && length - offset >= bytes;
  };
  if (data == nullptr || length < 36) {
    raw.error = "no data";
    return raw;
  }
  for (int t = 0; t < 2; ++t) {
    raw.root[t] = ReadWord32(data, 8 + 4 * t);
    raw.reverseMap[t] = ReadWord32(data, 16 + 4 * t);
    struct Pending {
      uint32_t node;
      std::wstring prefix;
    };
    std::vector<Pending> pending;
    if (raw.root[t] != 0) pending.push_back({raw.root[t], L""});
    while (!pending.empty()) {
      Pending item = pending.back();
      pending.pop_back();
      if (!inside(item.node, 24) || !raw.nodes[t].insert(item.node).second) {
        raw.error = "bad or repeated node " + std::to_string(item.node);
        return raw;
      }
      uint16_t ch;
      std::memcpy(&ch, data + item.node + 20, 2);
      const uint8_t flag = data[item.node + 22];
      std::wstring key = item.prefix + static_cast<wchar_t>(ch);
      std::wstring full = key;
      if (flag == 255) {
        uint32_t tail = ReadWord32(data, item.node + 24);
        if (!inside(tail, 2)) {
          raw.error = "bad tail";
          return raw;
        }
        for (uint32_t at = tail; inside(at, 2); at += 2) {
          uint16_t c;
          std::memcpy(&c, data + at, 2);
          if (c == 0) break;
          full += static_cast<wchar_t>(c);
        }
      }
      uint32_t list = ReadWord32(data, item.node + 16);
      if (list != 0) {
        if (!inside(list, 4) || !inside(list, 4 + 4 * ReadWord32(data, list))) {
          raw.error = "bad list";
          return raw;
        }
        std::vector<uint32_t>& ids = raw.keys[t][full];
        if (!ids.empty()) raw.error = "two nodes for one key " + U8(full);
        for (uint32_t k = 0; k < ReadWord32(data, list); ++k)
          ids.push_back(ReadWord32(data, list + 4 + 4 * k));
      }
      const uint32_t greater = ReadWord32(data, item.node + 4);
      const uint32_t equal = ReadWord32(data, item.node + 8);
      const uint32_t less = ReadWord32(data, item.node + 12);
      if (greater != 0) pending.push_back({greater, item.prefix});
      if (less != 0) pending.push_back({less, item.prefix});
      if (equal != 0) pending.push_back({equal, key});
    }
    const uint32_t map = raw.reverseMap[t];
    if (map != 0) {
      if (!inside(map, 4) || !inside(map, 4 + 8 * ReadWord32(data, map))) {
        raw.error = "bad reverse map";
        return raw;
      }
      for (uint32_t k = 0; k < ReadWord32(data, map); ++k) {
        const uint32_t oid = ReadWord32(data, map + 4 + 8 * k);
        const uint32_t head = ReadWord32(data, map + 8 + 8 * k);
        std::vector<uint32_t>& named = raw.chains[t][oid];
        uint32_t block = head;
        int blocks = 0;
        do {
          if (!inside(block, 92) || ++blocks > 100000) {
            raw.error = "bad chain";
            return raw;
          }
          const uint32_t used = ReadWord32(data, block + 8);
          for (uint32_t s = 0; s < used && s < 20; ++s) named.push_back(ReadWord32(data, block + 12 + 4 * s));
          block = ReadWord32(data, block);
        } while (block != head);
      }
    }
  }
  for (int s = 0; s < 2; ++s) {
    const uint32_t list = ReadWord32(data, 24 + 4 * s);
    if (list == 0) continue;
    if (!inside(list, 4) || !inside(list, 4 + 4 * ReadWord32(data, list))) {
      raw.error = "bad sorted list";
      return raw;
    }
    for (uint32_t k = 0; k < ReadWord32(data, list); ++k)
      raw.sorted[s].push_back(ReadWord32(data, list + 4 + 4 * k));
  }
  const uint32_t map = ReadWord32(data, 32);
  if (map != 0) {
    if (!inside(map, 4) || !inside(map, 4 + 8 * ReadWord32(data, map))) {
      raw.error = "bad contact map";
      return raw;
    }
    for (uint32_t k = 0; k < ReadWord32(data, map); ++k)
      raw.contactMap.push_back({ReadWord32(data, map + 4 + 8 * k), ReadWord32(data, map + 8 + 8 * k)});
  }
  return raw;
}

RawIndex ReadRaw(const IndexStore& store) { return ReadRaw(store.Data(), store.Length()); }

std::string ArenaProblem(const IndexStore& store) {
  if (store.Data() == nullptr) return "not open";
  ArenaWalk walk = WalkArena(store.Data() + 36, store.Length() - 36, false, 36);
  return walk.error;
}

std::vector<int32_t> UsedBlocks(const IndexStore& store) {
  std::vector<int32_t> sizes;
  if (store.Data() == nullptr) return sizes;
  ArenaWalk walk = WalkArena(store.Data() + 36, store.Length() - 36, false, 36);
  for (const WalkBlock& block : walk.blocks)
    if (block.size > 0) sizes.push_back(block.size);
  return sizes;
}

// --- the model -----------------------------------------------------------------------------------------

namespace {

std::wstring W(const Str& text) { return static_cast<const wchar_t*>(text); }

}  // namespace

ModelKeys KeysOfContact(const Contact& c, const std::wstring& note) { return g_model.OfContact(c, note); }

void Model::Put(uint32_t oid, const ModelKeys& keys) {
  Drop(oid);
  contacts[oid] = keys;
  for (const std::wstring& key : keys.word) holders[0][key].insert(oid);
  for (const std::wstring& key : keys.keypad) holders[1][key].insert(oid);
}

void Model::Drop(uint32_t oid) {
  auto found = contacts.find(oid);
  if (found == contacts.end()) return;
  for (int t = 0; t < 2; ++t) {
    const std::set<std::wstring>& keys = t == 0 ? found->second.word : found->second.keypad;
    for (const std::wstring& key : keys) {
      auto holder = holders[t].find(key);
      holder->second.erase(oid);
      if (holder->second.empty()) holders[t].erase(holder);
    }
  }
  contacts.erase(found);
}

std::vector<uint32_t> Model::Prefix(int tree, const std::wstring& prefix) const {
  std::set<uint32_t> ids;
  if (prefix.empty()) return {};
  for (auto at = holders[tree].lower_bound(prefix); at != holders[tree].end(); ++at) {
    if (at->first.compare(0, prefix.size(), prefix) != 0) break;
    ids.insert(at->second.begin(), at->second.end());
  }
  return std::vector<uint32_t>(ids.begin(), ids.end());
}

std::set<std::wstring> Model::AllPrefixes(int tree) const {
  std::set<std::wstring> prefixes;
  for (const auto& entry : holders[tree])
    for (size_t n = 1; n <= entry.first.size(); ++n) prefixes.insert(entry.first.substr(0, n));
  return prefixes;
}

// --- contacts --------------------------------------------------------------------------------------------

Contact Generated(uint64_t seed, int index, uint32_t oid, std::wstring* note) {
  ToolContact tool = GenerateContact(seed, index);
  Contact c;
  c.oid = oid;
  for (int f = 0; f < kContactTextCount; ++f) c.text[f] = tool.text[f].c_str();
  c.birthday.dwLowDateTime = static_cast<DWORD>(tool.birthday);
  c.birthday.dwHighDateTime = static_cast<DWORD>(tool.birthday >> 32);
  c.anniversary.dwLowDateTime = static_cast<DWORD>(tool.anniversary);
  c.anniversary.dwHighDateTime = static_cast<DWORD>(tool.anniversary >> 32);
  for (const LabelledValue& v : tool.phones)
    c.Phone.Add(LabelValue{Str(v.label.c_str()), Str(v.value.c_str())});
  for (const LabelledValue& v : tool.emails)
    c.Email.Add(LabelValue{Str(v.label.c_str()), Str(v.value.c_str())});
  for (const LabelledValue& v : tool.webPages)
    c.WebPage.Add(LabelValue{Str(v.label.c_str()), Str(v.value.c_str())});
  c.checksum = c.ComputeChecksum();
  if (note != nullptr) *note = tool.note;
  return c;
}

RandomContacts::RandomContacts(uint32_t seed) : state(seed * 0x9E3779B97F4A7C15ULL + 0x1234567ULL) {}

uint32_t RandomContacts::Below(uint32_t bound) {
  state ^= state << 13;
  state ^= state >> 7;
  state ^= state << 17;
  return bound == 0 ? 0 : static_cast<uint32_t>(state % bound);
}

std::wstring RandomContacts::Word() {
  static const wchar_t* const kStarts[] = {L"ab", L"abc",  L"abd",  L"a",  L"b",    L"ba",   L"ива", L"иван",
                                           L"ан", L"анна", L"x",    L"zz", L"abcd", L"ив",   L"Ab",  L"Иван",
                                           L"ёж", L"q1",   L"über", L"mn", L"mno",  L"abcde"};
  static const wchar_t kLetters[] = L"abcdxyzиванкё";
  std::wstring word = kStarts[Below(sizeof kStarts / sizeof kStarts[0])];
  uint32_t more = Below(5);
  for (uint32_t k = 0; k < more; ++k) word += kLetters[Below(static_cast<uint32_t>(wcslen(kLetters)))];
  return word;
}

std::wstring RandomContacts::Phone() {
  auto digits = [this](int n) {
    std::wstring s;
    for (int k = 0; k < n; ++k) s += static_cast<wchar_t>(L'0' + Below(10));
    return s;
  };
  switch (Below(6)) {
    case 0:
      return L"+7 (" + digits(3) + L") " + digits(3) + L"-" + digits(2) + L"-" + digits(2);
    case 1:
      return L"8 " + digits(3) + L" " + digits(3) + L" " + digits(2) + L" " + digits(2);
    case 2:
      return digits(3 + static_cast<int>(Below(5)));
    case 3:
      return digits(3) + L"-" + digits(4) + L", 8 800 " + digits(3) + L" " + digits(3);
    case 4:
      return L"work " + digits(6) + L" home " + digits(6);
    default:
      return L"+49 " + digits(2) + L" " + digits(7) + L" ext " + digits(3);
  }
}

Contact RandomContacts::Make(uint32_t oid, std::wstring* note) {
  Contact c;
  c.oid = oid;
  auto maybe = [this](uint32_t percent) { return Below(100) < percent; };
  if (maybe(85)) c.text[ContactField::LastName] = Word().c_str();
  if (maybe(80)) c.text[ContactField::FirstName] = Word().c_str();
  if (maybe(40)) c.text[ContactField::Company] = (Word() + L" " + Word()).c_str();
  if (maybe(15)) c.text[ContactField::Title] = Word().c_str();
  if (maybe(60)) c.text[ContactField::FileAs] = (Word() + L", " + Word()).c_str();
  if (maybe(50)) c.text[ContactField::Email1] = (Word() + L"@" + Word() + L".com").c_str();
  if (maybe(60)) c.text[ContactField::MobilePhone] = Phone().c_str();
  if (maybe(30)) c.text[ContactField::WorkPhone] = Phone().c_str();
  if (maybe(20)) c.text[ContactField::HomeCity] = Word().c_str();
  if (maybe(10)) c.text[ContactField::Spouse] = (Word() + L"-" + Word()).c_str();
  if (maybe(20)) c.Phone.Add(LabelValue{Str(L"Other"), Str(Phone().c_str())});
  if (maybe(15)) c.Email.Add(LabelValue{Str(L"Home"), Str((Word() + L"@" + Word() + L".ru").c_str())});
  if (maybe(10)) c.Messenger.Add(MessengerEntry{Str(L"icq"), Str(Word().c_str()), Str(L"note")});
  if (maybe(10)) {
    AddressEntry a;
    a.format = Below(3) == 0 ? 0 : 1 + Below(59);
    for (int p = 0; p < 5; ++p)
      if (maybe(60)) a.parts[p] = Word().c_str();
    a.label = L"Summer house";
    c.Address.Add(a);
  }
  if (maybe(15)) {
    FILETIME when;
    uint64_t value = 125000000000000000ULL + static_cast<uint64_t>(Below(40000)) * 864000000000ULL;
    when.dwLowDateTime = static_cast<DWORD>(value);
    when.dwHighDateTime = static_cast<DWORD>(value >> 32);
    c.birthday = when;
  }
  if (maybe(5)) c.HomeFormat = 1 + Below(59);
  std::wstring text;
  if (maybe(30)) {
    uint32_t words = 1 + Below(6);
    for (uint32_t k = 0; k < words; ++k) text += Word() + (Below(4) == 0 ? L".\r\n" : L" ");
  }
  if (note != nullptr) *note = text;
  c.checksum = c.ComputeChecksum();
  return c;
}

bool MapKeySource::ReadSortKey(int kind, CEOID oid, Str& key) {
  ++reads;
  auto found = keys.find(static_cast<uint32_t>(oid));
  if (found == keys.end()) return false;
  key = (kind == 1 ? found->second.second : found->second.first).c_str();
  return true;
}

void MapKeySource::Put(const Contact& contact) {
  keys[static_cast<uint32_t>(contact.oid)] = {
      W(ListName(contact.text[ContactField::LastName], contact.text[ContactField::FirstName],
                 contact.text[ContactField::Company], contact.text[ContactField::Title])),
      W(contact.text[ContactField::FileAs])};
}

std::string CheckReport(const ContactIndex& index) {
  Str report;
  index.Check(report);
  return U8(static_cast<const wchar_t*>(report));
}

}  // namespace indextest
