#include "SearchTestSupport.h"

#include <algorithm>
#include <cstdio>
#include <cwctype>

#include "ToolCategories.h"
#include "WordModel.h"
#include "extended/ContactNote.h"
#include "foundation/Settings.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/index/ContactFeed.h"
#include "storage/index/ContactIndex.h"
#include "storage/index/IndexFormat.h"
#include "storage/categories/PPC2003CategoryDBManager.h"

namespace searchtest {

using wordmodel::DigitsOnly;
using wordmodel::Lower;
using wordmodel::Words;

namespace {

// The reference's words and keys follow the rules under the English letter groups.
const wordmodel::WordModel& English() {
  static const wordmodel::WordModel model(wordmodel::EnglishGroups());
  return model;
}

std::wstring W(const Str& text) { return static_cast<const wchar_t*>(text); }

// The phones in the order of their properties 0x3A08, 0x4007, 0x3A24, 0x3A09, 0x3A2F, 0x3A25, 0x4009,
// 0x3A1E, 0x3A1D, 0x3A1C, 0x4004, then the further phones.
void AddPhones(RefContact& r, const Contact& c) {
  const int order[] = {ContactField::WorkPhone,   ContactField::WorkPhone2,    ContactField::WorkFax,
                       ContactField::HomePhone,   ContactField::HomePhone2,    ContactField::HomeFax,
                       ContactField::Pager,       ContactField::CarPhone,      ContactField::RadioPhone,
                       ContactField::MobilePhone, ContactField::AssistantPhone};
  std::vector<std::wstring> all;
  for (int f : order) all.push_back(W(c.text[f]));
  for (int k = 0; k < c.Phone.GetSize(); ++k) all.push_back(W(c.Phone[k].value));
  for (const std::wstring& phone : all) {
    std::wstring digits = DigitsOnly(phone);
    if (!digits.empty()) r.phones.push_back(digits);
  }
}

int Collate(const std::wstring& a, const std::wstring& b) {
  return CompareStringW(LOCALE_SYSTEM_DEFAULT, 0, a.c_str(), -1, b.c_str(), -1) - 2;
}

bool BeginsWith(const std::wstring& text, const std::wstring& prefix) {
  return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

bool AllDigits(const std::wstring& text) {
  if (text.empty()) return false;
  for (wchar_t c : text)
    if (!std::iswdigit(c)) return false;
  return true;
}

std::wstring Trim(const std::wstring& text) {
  size_t first = 0, last = text.size();
  while (first < last && std::iswspace(text[first])) ++first;
  while (last > first && std::iswspace(text[last - 1])) --last;
  return text.substr(first, last - first);
}

std::set<CEOID> Common(const std::set<CEOID>& a, const std::set<CEOID>& b) {
  std::set<CEOID> out;
  for (CEOID id : a)
    if (b.count(id)) out.insert(id);
  return out;
}

std::wstring SettingBefore;
bool HadSetting = false;
bool SettingSaved = false;

}  // namespace

// --- the device ------------------------------------------------------------------------------------------

void FreshEnglishDevice() {
  if (!SettingSaved) {
    const DWORD none = 0xFFFFFFFFu;
    DWORD type = GetSettingDword(SECTION_ABC, L"Type", none);
    HadSetting = type != none;
    SettingBefore = std::to_wstring(type);
    SettingSaved = true;
  }
  SetSettingDword(SECTION_ABC, L"Type", 1, TRUE);
  managertest::FreshDevice();
}

void ForgetLetterSetting() {
  if (!SettingSaved) return;
  if (HadSetting)
    SetSettingDword(SECTION_ABC, L"Type", static_cast<DWORD>(std::stoul(SettingBefore)), TRUE);
  else
    DeleteSettingValue(SECTION_ABC, L"Type");
}

CEOID WriteContact(Contact& contact) {
  ContactDatabase database;
  if (!database.Open(nullptr)) return 0;
  if (!database.AddContact(contact, true)) return 0;
  return contact.oid;
}

CEOID CategoryId(const wchar_t* name) {
  CategoriesDBManager categories;
  if (!categories.Open()) return 0;
  CEOID oid = 0;
  categories.FindOrAdd(Str(name), oid);
  return oid;
}

std::vector<uint8_t> CategoryMask(const std::vector<std::wstring>& names) {
  ToolCategories categories;
  std::vector<uint8_t> mask;
  if (!categories.Open()) return mask;
  for (const std::wstring& name : names) {
    int position = categories.FindOrAdd(name);
    if (position < 0) continue;
    if (mask.size() < static_cast<size_t>(position / 8 + 1)) mask.resize(position / 8 + 1);
    mask[position / 8] |= static_cast<uint8_t>(1u << (position % 8));
  }
  return mask;
}

std::vector<CEOID> Among(const std::vector<CEOID>& list, const std::set<CEOID>& keep) {
  std::vector<CEOID> out;
  for (CEOID id : list)
    if (keep.count(id)) out.push_back(id);
  return out;
}

std::string Show(const std::vector<CEOID>& ids) {
  std::string text = "[";
  for (size_t i = 0; i < ids.size(); ++i) text += (i ? " " : "") + managertest::Hex(ids[i]);
  return text + "]";
}

std::string Show(const std::wstring& text) { return U8(text); }

// --- the reference ---------------------------------------------------------------------------------------

bool Reference::Load(ContactIndex& index) {
  contacts.clear();
  byOid.clear();
  holders[0].clear();
  holders[1].clear();
  ContactDatabase database;
  if (!database.Open(nullptr)) return false;
  Array<CEOID> oids;
  if (!database.EnumerateOids(ListFilter(), oids)) return false;
  ContactNote note;
  for (int i = 0; i < oids.GetSize(); ++i) {
    Contact contact;
    if (!database.LoadByOid(oids[i], contact)) return false;
    Str text;
    note.GetNoteText(contact, text);
    RefContact r;
    r.oid = oids[i];
    r.last = W(contact.text[ContactField::LastName]);
    r.first = W(contact.text[ContactField::FirstName]);
    r.company = W(contact.text[ContactField::Company]);
    r.title = W(contact.text[ContactField::Title]);
    r.categories.assign(contact.categories.GetData(),
                        contact.categories.GetData() + contact.categories.GetLength());
    AddPhones(r, contact);
    wordmodel::Keys keys = English().OfContact(contact, W(text));
    r.wordKeys = keys.word;
    r.keypadKeys = keys.keypad;
    byOid[r.oid] = contacts.size();
    for (const std::wstring& key : r.wordKeys) holders[WordTree][key].insert(r.oid);
    for (const std::wstring& key : r.keypadKeys) holders[KeypadTree][key].insert(r.oid);
    contacts.push_back(r);
  }
  for (int kind = 0; kind < 2; ++kind) {
    Array<CEOID> list;
    if (!index.ListAll(kind, list)) return false;
    sorted[kind] = Ids(list);
  }
  return true;
}

std::set<CEOID> Reference::Prefix(int tree, const std::wstring& prefix) const {
  std::set<CEOID> ids;
  if (prefix.empty()) return ids;
  for (auto at = holders[tree].lower_bound(prefix);
       at != holders[tree].end() && BeginsWith(at->first, prefix); ++at)
    ids.insert(at->second.begin(), at->second.end());
  return ids;
}

std::set<CEOID> Reference::TextMatch(const std::wstring& query) const {
  std::wstring text = Trim(query);
  std::set<CEOID> result;
  if (text.empty()) return result;
  bool first = true;
  for (const std::wstring& word : Words(Lower(text))) {
    std::set<CEOID> found = Prefix(WordTree, word);
    if (found.empty()) return {};
    result = first ? found : Common(result, found);
    first = false;
  }
  return result;
}

std::set<int> Reference::Positions(const RefFilter& filter) const {
  std::set<int> positions;
  ToolCategories categories;
  if (!categories.Open()) return positions;
  for (const std::wstring& name : filter.names) {
    for (int id = 0; id < 256; ++id)
      if (categories.NameOf(id) == name) positions.insert(id);
  }
  return positions;
}

std::set<CEOID> Reference::Allowed(const RefFilter& filter) const {
  std::set<int> positions = Positions(filter);
  std::set<CEOID> allowed;
  for (const RefContact& c : contacts) {
    // A record without categories: no blob, an empty one, or one zero byte. (A longer blob of zeros
    // shares no bit with anything.)
    bool noCategory = c.categories.empty() || (c.categories.size() == 1 && c.categories[0] == 0);
    if (positions.empty()) {
      if (noCategory) allowed.insert(c.oid);
      continue;
    }
    for (int p : positions) {
      if (static_cast<size_t>(p / 8) < c.categories.size() && (c.categories[p / 8] & (1u << (p % 8))) != 0) {
        allowed.insert(c.oid);
        break;
      }
    }
  }
  return allowed;
}

std::vector<CEOID> Reference::PlainOrder(bool emptyQuery, const std::set<CEOID>& match, int sortKind,
                                         const RefFilter& filter) const {
  if (sortKind != 0 && sortKind != 1) return {};
  const std::vector<CEOID>& list = sorted[sortKind];
  std::set<CEOID> keep = match;
  if (emptyQuery) keep = std::set<CEOID>(list.begin(), list.end());
  if (filter.active) keep = Common(keep, Allowed(filter));
  return Among(list, keep);
}

std::vector<CEOID> Reference::Widen(const std::wstring& query, const std::vector<CEOID>& list,
                                    const std::vector<CEOID>& hits) const {
  std::set<CEOID> found(hits.begin(), hits.end());
  std::vector<CEOID> out;
  for (CEOID id : list) {
    bool take = found.count(id) > 0;
    if (!take) {
      for (const std::wstring& phone : contacts[byOid.at(id)].phones)
        if (phone.find(query) != std::wstring::npos) take = true;
    }
    if (take) out.push_back(id);
  }
  return out;
}

void Reference::Reorder(const std::wstring& query, bool keypad, std::vector<CEOID>& out) const {
  if (query.size() < 2 || out.size() < 2) return;
  const std::wstring wanted = keypad ? query : Lower(query);
  auto begins = [&](const std::wstring& name) {
    for (const std::wstring& word : Words(name)) {
      std::wstring lower = Lower(word);
      if (BeginsWith(keypad ? English().Keypad(lower) : lower, wanted)) return true;
    }
    return false;
  };
  std::vector<CEOID> parts[4];
  for (CEOID id : out) {
    const RefContact& c = contacts[byOid.at(id)];
    std::wstring last = c.last, first = c.first;
    if (last.empty()) std::swap(last, first);
    int part = begins(last) ? 0 : begins(first) ? 1 : begins(c.company) ? 2 : 3;
    parts[part].push_back(id);
  }
  out.clear();
  for (const std::vector<CEOID>& part : parts) out.insert(out.end(), part.begin(), part.end());
}

std::vector<CEOID> Reference::Search(const std::wstring& query, int sortKind, const RefFilter& filter) const {
  std::vector<CEOID> out = PlainOrder(query.empty(), TextMatch(query), sortKind, filter);
  if (AllDigits(query)) {
    std::vector<CEOID> list = PlainOrder(true, {}, sortKind, filter);
    out = Widen(query, list, out);
  }
  Reorder(query, false, out);
  return out;
}

std::vector<CEOID> Reference::KeypadSearch(const std::wstring& query, int sortKind,
                                           const RefFilter& filter) const {
  std::vector<CEOID> out = PlainOrder(query.empty(), Prefix(KeypadTree, query), sortKind, filter);
  Reorder(query, true, out);
  return out;
}

void Reference::Grouped(const std::wstring& query, bool keypad, const RefFilter& filter,
                        std::vector<uint32_t>& flat, std::vector<std::wstring>& titles) const {
  flat.clear();
  titles.clear();
  std::set<CEOID> ids;
  if (query.empty()) {
    for (const RefContact& c : contacts) ids.insert(c.oid);
  } else {
    ids = keypad ? Prefix(KeypadTree, query) : TextMatch(query);
    if (!keypad && AllDigits(query)) {
      std::vector<CEOID> widened = Widen(query, sorted[0], std::vector<CEOID>(ids.begin(), ids.end()));
      ids = std::set<CEOID>(widened.begin(), widened.end());
    }
  }
  if (filter.active) ids = Common(ids, Allowed(filter));

  struct Entry {
    CEOID oid;
    std::wstring company, name;
  };
  std::vector<Entry> entries;
  for (CEOID id : ids) {
    const RefContact& c = contacts[byOid.at(id)];
    std::wstring name = !c.last.empty() && !c.first.empty() ? c.last + L", " + c.first
                        : !c.last.empty()                   ? c.last
                        : !c.first.empty()                  ? c.first
                                                            : c.title;
    entries.push_back({id, c.company, name});
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    int order = Collate(a.company, b.company);
    if (order == 0) order = Collate(a.name, b.name);
    if (order != 0) return order < 0;
    return a.oid < b.oid;
  });
  size_t start = 0;
  while (start < entries.size()) {
    size_t end = start + 1;
    while (end < entries.size() && Collate(entries[end].company, entries[start].company) == 0) ++end;
    titles.push_back(entries[start].company);
    flat.push_back(static_cast<uint32_t>(end - start));
    for (size_t k = start; k < end; ++k) flat.push_back(entries[k].oid);
    start = end;
  }
}

std::vector<CEOID> Reference::FindByPhone(const std::wstring& number, std::vector<std::wstring>* numbers,
                                          int minDigits) const {
  std::vector<CEOID> ids;
  if (numbers != nullptr) numbers->clear();
  const std::wstring digits = DigitsOnly(number);
  if (digits.empty()) return ids;
  std::wstring query = L"~" + std::wstring(digits.rbegin(), digits.rend());
  std::vector<CEOID> candidates;
  for (;;) {
    candidates = Among(sorted[0], TextMatch(query));
    if (!candidates.empty()) break;
    query.pop_back();
    if (query.empty() || static_cast<int>(query.size()) <= minDigits) break;
  }
  for (CEOID id : candidates) {
    for (const std::wstring& phone : contacts[byOid.at(id)].phones) {
      std::wstring compared = phone;
      bool hit;
      if (digits.size() >= 6) {
        if (compared.size() > 7) compared = compared.substr(compared.size() - 7);
        hit = compared.size() <= digits.size() &&
              digits.compare(digits.size() - compared.size(), compared.size(), compared) == 0;
      } else {
        hit = phone == digits;
      }
      if (hit) {
        ids.push_back(id);
        if (numbers != nullptr) numbers->push_back(compared);
        break;
      }
    }
  }
  return ids;
}

}  // namespace searchtest
