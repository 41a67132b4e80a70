// search and find-phone: the item's own searches on the device's contacts.
#include <cwchar>
#include <string>
#include <vector>

#include "IndexVerbs.h"
#include "Output.h"
#include "ToolManager.h"
#include "manager/letters/KeypadGroups.h"

namespace {

// The letter group that a keypad digit picks: '2' the first ... '9' the eighth, '1' the ninth.
int GroupOfDigit(wchar_t digit) {
  if (digit >= L'2' && digit <= L'9') return digit - L'2';
  if (digit == L'1') return 8;
  return -1;
}

bool CategoryIds(ContactManager& manager, const std::vector<std::wstring>& names, CategoryFilter& filter) {
  CategoryList list;
  if (!manager.Categories().LoadAll(list)) return false;
  for (const std::wstring& name : names) {
    bool found = false;
    for (int i = 0; i < list.GetSize(); ++i) {
      if (_wcsicmp(list[i].name, name.c_str()) == 0) {
        filter.categories.Add(list[i].oid);
        found = true;
        break;
      }
    }
    if (!found) {
      PrintError(L"pimtool: no category named " + name);
      return false;
    }
  }
  filter.active = 1;
  return true;
}

void PrintRows(ContactManager& manager, const Array<CEOID>& ids) {
  for (int i = 0; i < ids.GetSize(); ++i) PrintLine(HexId(ids[i]) + L"  " + ListNameOf(manager, ids[i]));
}

void PrintGroups(ContactManager& manager, const Array<uint32_t>& flat, const Array<Str>& titles) {
  int at = 0;
  for (int g = 0; at < flat.GetSize(); ++g) {
    const int size = static_cast<int>(flat[at++]);
    PrintLine(L"[" + std::wstring(g < titles.GetSize() ? static_cast<const wchar_t*>(titles[g]) : L"") +
              L"]");
    for (int k = 0; k < size && at < flat.GetSize(); ++k, ++at) {
      PrintLine(HexId(flat[at]) + L"  " + ListNameOf(manager, flat[at]));
    }
  }
}

// Runs one search and prints its result; false when the search failed.
bool PrintSearch(ContactManager& manager, const Str& query, bool byKeypad, int sort,
                 const CategoryFilter& filter) {
  if (sort == SortKindGrouped) {
    Array<uint32_t> flat;
    Array<Str> titles;
    const BOOL done = byKeypad ? manager.GroupedKeypadSearch(query, filter, flat, titles)
                               : manager.GroupedSearch(query, filter, flat, titles, nullptr);
    if (done) PrintGroups(manager, flat, titles);
    return done != FALSE;
  }
  Array<CEOID> ids;
  const BOOL done = byKeypad ? manager.KeypadSearch(query, sort, filter, ids)
                             : manager.Search(query, sort, filter, ids, nullptr);
  if (done) PrintRows(manager, ids);
  return done != FALSE;
}

}  // namespace

int SearchVerb(int argc, wchar_t** argv) {
  const wchar_t usage[] =
      L"usage: pimtool search (--keypad DIGITS ... | --text TEXT ...) [--sort 0|1|2 ...] "
      L"[--category NAME ...]";
  std::vector<std::wstring> queries, categories;
  std::vector<int> sorts;
  bool byKeypad = false, byText = false;
  for (int i = 2; i < argc; ++i) {
    std::wstring arg = argv[i];
    if (arg == L"--keypad" && i + 1 < argc) {
      queries.push_back(argv[++i]);
      byKeypad = true;
    } else if (arg == L"--text" && i + 1 < argc) {
      queries.push_back(argv[++i]);
      byText = true;
    } else if (arg == L"--sort" && i + 1 < argc) {
      sorts.push_back(_wtoi(argv[++i]));
    } else if (arg == L"--category" && i + 1 < argc) {
      categories.push_back(argv[++i]);
    } else {
      PrintError(usage);
      return 2;
    }
  }
  if (sorts.empty()) sorts.push_back(0);
  bool sortsValid = true;
  for (int sort : sorts) sortsValid = sortsValid && sort >= 0 && sort <= 2;
  if (byKeypad == byText || !sortsValid) {
    PrintError(usage);
    return 2;
  }

  ToolManager tool;
  if (!tool.Open()) return 1;
  ContactManager& manager = tool.Get();
  CategoryFilter filter;
  if (!categories.empty() && !CategoryIds(manager, categories, filter)) return 1;

  // The queries as the item makes them: the text as typed, or each picked cell's group key (the
  // letter groups are read as the manager opens).
  std::vector<Str> made;
  for (const std::wstring& query : queries) {
    if (byText) {
      made.push_back(Str(query.c_str()));
      continue;
    }
    Str keys;
    for (wchar_t digit : query) {
      const int group = GroupOfDigit(digit);
      const wchar_t key = group >= 0 ? GroupKeyOf(group) : 0;
      if (key == 0) {
        PrintError(std::wstring(L"pimtool: the key ") + digit + L" picks no letter group");
        return 2;
      }
      const wchar_t one[2] = {key, 0};
      keys += Str(one);
    }
    made.push_back(keys);
  }

  // One process answers many questions: every query in every sort, each result under its own line.
  const bool titled = made.size() * sorts.size() > 1;
  for (size_t q = 0; q < made.size(); ++q) {
    for (int sort : sorts) {
      if (titled)
        PrintLine(std::wstring(L"== ") + (byKeypad ? L"keypad " : L"text ") + queries[q] + L", sort " +
                  std::to_wstring(sort));
      if (!PrintSearch(manager, made[q], byKeypad, sort, filter)) {
        PrintError(L"pimtool: the search failed (error " + std::to_wstring(GetLastError()) + L")");
        return 1;
      }
    }
  }
  return 0;
}

int FindPhoneVerb(int argc, wchar_t** argv) {
  if (argc < 3) {
    PrintError(L"usage: pimtool find-phone NUMBER [--min-digits N]");
    return 2;
  }
  int minDigits = 4;
  for (int i = 3; i < argc; ++i) {
    if (wcscmp(argv[i], L"--min-digits") == 0 && i + 1 < argc) {
      minDigits = _wtoi(argv[++i]);
    } else {
      PrintError(L"usage: pimtool find-phone NUMBER [--min-digits N]");
      return 2;
    }
  }
  ToolManager tool;
  if (!tool.Open()) return 1;
  Array<CEOID> ids;
  Array<Str> numbers;
  const int found = tool.Get().FindByPhone(Str(argv[2]), ids, &numbers, minDigits, 0);
  for (int i = 0; i < found; ++i) {
    std::wstring line = HexId(ids[i]) + L"  " + ListNameOf(tool.Get(), ids[i]);
    if (i < numbers.GetSize()) line += L"  " + std::wstring(static_cast<const wchar_t*>(numbers[i]));
    PrintLine(line);
  }
  return 0;
}
