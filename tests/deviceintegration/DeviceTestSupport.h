// Shared pieces of the device bridge tests: registry trees saved and put back, the journal read from a
// mark, and calls of the platform that a test can take away from the code under test.
#pragma once
#include <windows.h>
#include <string>
#include <vector>

namespace devicetest {

// Every value of a key and of its subkeys, kept at construction and put back at destruction (the tree
// is made again exactly, also when it was absent), so that a test may change the device's own keys.
class SavedTree {
 public:
  SavedTree(HKEY root, const std::wstring& path);
  ~SavedTree();

 private:
  struct Value {
    std::wstring key;  // relative to the tree's root, empty for the root itself
    std::wstring name;
    DWORD type;
    std::vector<BYTE> data;
  };
  void Collect(const std::wstring& relative);

  HKEY root;
  std::wstring path;
  bool existed;
  std::vector<std::wstring> keys;
  std::vector<Value> values;
};

// The journal's line count now, and the events of `source` written after such a mark, in order.
size_t JournalMark();
std::vector<std::string> EventsSince(size_t mark, const std::string& source);

// A REG_SZ value, or "<absent>" when there is none (or of another type).
std::wstring Text(HKEY root, const std::wstring& path, const wchar_t* name);
bool HasValue(HKEY root, const std::wstring& path, const wchar_t* name);

// While one lives, LoadLibraryW of the code under test fails for the library `name`, as it does on a
// device without it, with ERROR_MOD_NOT_FOUND.
class MissingLibrary {
 public:
  explicit MissingLibrary(const wchar_t* name);
  ~MissingLibrary();
  // Whether the code under test imports LoadLibraryW, so that the library is really missing for it.
  bool Active() const;
};

// While one lives, GetProcAddress of the code under test gives `replacement` for `function` (null:
// the export is missing).
class ReplacedExport {
 public:
  ReplacedExport(const char* function, FARPROC replacement);
  ~ReplacedExport();
  bool Active() const;
};

}  // namespace devicetest
