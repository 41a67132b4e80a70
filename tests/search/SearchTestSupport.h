// Helpers of the search tests: a manager opened on the test's own databases with the English keypad
// groups, contacts written with any fields and categories, and a reference search that works out
// every result from the rules alone, over its own copy of the contacts: their words and keypad keys
// as the feed cuts them, their names, phones and categories.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "ArrayVectors.h"
#include "ManagerTestSupport.h"
#include "NamedContact.h"
#include "manager/core/ContactManager.h"
#include "storage/contact/Contact.h"

namespace searchtest {

// The English letter set for the keypad groups (setting ABC\Type = 1), fresh databases and no index.
void FreshEnglishDevice();
// Puts the letter set setting back as it was before the tests.
void ForgetLetterSetting();

// Writes `contact` straight into the database; gives its id.
CEOID WriteContact(Contact& contact);
// The id of the category `name` in the categories database, made when missing.
CEOID CategoryId(const wchar_t* name);
// The mask of categories `names` as a contact stores it: bit p % 8 of byte p / 8 for position p.
std::vector<uint8_t> CategoryMask(const std::vector<std::wstring>& names);

using managertest::OpenedManager;

inline std::vector<CEOID> Ids(const Array<CEOID>& ids) { return VectorOf<CEOID>(ids); }
// The ids of `list` that are in `keep`, in the order of `list`.
std::vector<CEOID> Among(const std::vector<CEOID>& list, const std::set<CEOID>& keep);
inline std::vector<uint32_t> Flat(const Array<uint32_t>& flat) { return VectorOf<uint32_t>(flat); }
inline std::vector<std::wstring> Titles(const Array<Str>& titles) { return VectorOf<std::wstring>(titles); }
std::string Show(const std::vector<CEOID>& ids);
std::string Show(const std::wstring& text);

// A cancel that gives up after `allowed` polls.
class CountingCancel : public SearchCancel {
 public:
  explicit CountingCancel(int allowedPolls) : allowed(allowedPolls) {}
  bool IsCancelled() override { return ++polls > allowed; }
  int allowed;
  int polls = 0;
};

// --- the reference ----------------------------------------------------------------------------------

// One contact as the reference knows it.
struct RefContact {
  CEOID oid = 0;
  std::wstring last, first, company, title;
  // The digits of each phone: the eleven phone properties in their order, then the further phones.
  std::vector<std::wstring> phones;
  std::vector<uint8_t> categories;
  std::set<std::wstring> wordKeys, keypadKeys;
};

struct RefFilter {
  bool active = false;
  std::vector<std::wstring> names;  // categories by name
};

class Reference {
 public:
  // Reads every record of the database (its fields, the Note's text and extended block) and takes the
  // sorted lists as the index has them.
  bool Load(ContactIndex& index);

  std::vector<CEOID> Search(const std::wstring& query, int sortKind, const RefFilter& filter) const;
  std::vector<CEOID> KeypadSearch(const std::wstring& query, int sortKind, const RefFilter& filter) const;
  void Grouped(const std::wstring& query, bool keypad, const RefFilter& filter, std::vector<uint32_t>& flat,
               std::vector<std::wstring>& titles) const;
  std::vector<CEOID> FindByPhone(const std::wstring& number, std::vector<std::wstring>* numbers,
                                 int minDigits) const;

  // The contacts under every key of a tree that begins with `prefix`, ascending.
  std::set<CEOID> Prefix(int tree, const std::wstring& prefix) const;
  std::set<CEOID> TextMatch(const std::wstring& query) const;
  std::set<CEOID> Allowed(const RefFilter& filter) const;

  std::vector<RefContact> contacts;
  std::map<CEOID, size_t> byOid;
  std::map<std::wstring, std::set<CEOID>> holders[2];
  std::vector<CEOID> sorted[2];

 private:
  std::vector<CEOID> PlainOrder(bool emptyQuery, const std::set<CEOID>& match, int sortKind,
                                const RefFilter& filter) const;
  std::vector<CEOID> Widen(const std::wstring& query, const std::vector<CEOID>& list,
                           const std::vector<CEOID>& hits) const;
  void Reorder(const std::wstring& query, bool keypad, std::vector<CEOID>& out) const;
  std::set<int> Positions(const RefFilter& filter) const;
};

}  // namespace searchtest
