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

}  // namespace

int SearchVerb(int argc, wchar_t** argv) {
  std::wstring keypad, text;
  bool byKeypad = false, byText = false;
  int sort = 0;
  std::vector<std::wstring> categories;
  for (int i = 2; i < argc; ++i) {
    std::wstring arg = argv[i];
    if (arg == L"--keypad" && i + 1 < argc) {
      keypad = argv[++i];
      byKeypad = true;
    } else if (arg == L"--text" && i + 1 < argc) {
      text = argv[++i];
      byText = true;
    } else if (arg == L"--sort" && i + 1 < argc) {
      sort = _wtoi(argv[++i]);
    } else if (arg == L"--category" && i + 1 < argc) {
      categories.push_back(argv[++i]);
    } else {
      PrintError(L"usage: pimtool search --keypad DIGITS | --text TEXT [--sort 0|1|2] [--category NAME ...]");
      return 2;
    }
  }
  if (byKeypad == byText || sort < 0 || sort > 2) {
    PrintError(L"usage: pimtool search --keypad DIGITS | --text TEXT [--sort 0|1|2] [--category NAME ...]");
    return 2;
  }
  ToolManager tool;
  if (!tool.Open()) return 1;
  ContactManager& manager = tool.Get();
  CategoryFilter filter;
  if (!categories.empty() && !CategoryIds(manager, categories, filter)) return 1;

  Str query;
  if (byKeypad) {
    // The query is made as the item makes it from the picked cells: each group's key.
    for (wchar_t digit : keypad) {
      const int group = GroupOfDigit(digit);
      const wchar_t key = group >= 0 ? GroupKeyOf(group) : 0;
      if (key == 0) {
        PrintError(std::wstring(L"pimtool: the key ") + digit + L" picks no letter group");
        return 2;
      }
      const wchar_t one[2] = {key, 0};
      query += Str(one);
    }
  } else {
    query = Str(text.c_str());
  }

  BOOL done;
  if (sort == SortKindGrouped) {
    Array<uint32_t> flat;
    Array<Str> titles;
    done = byKeypad ? manager.GroupedKeypadSearch(query, filter, flat, titles)
                    : manager.GroupedSearch(query, filter, flat, titles, nullptr);
    if (done) PrintGroups(manager, flat, titles);
  } else {
    Array<CEOID> ids;
    done = byKeypad ? manager.KeypadSearch(query, sort, filter, ids)
                    : manager.Search(query, sort, filter, ids, nullptr);
    if (done) PrintRows(manager, ids);
  }
  if (!done) {
    PrintError(L"pimtool: the search failed (error " + std::to_wstring(GetLastError()) + L")");
    return 1;
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
