// A second process for the index tests. Commands:
//   lookup INDEX PROPS QUERIES OUT   opens both files as a contact index and writes to OUT (UTF-8):
//                                    the check's findings ("check ok" when none), for each line
//                                    "<tree> <key>" of QUERIES the oids found, both sorted lists, and
//                                    each contact's props record with its checksum. Exit 2: refused.
//   resave INDEX PROPS               opens both files and saves them again at once.
#include <windows.h>
#include <shellapi.h>

#include <string>
#include <vector>

#include "IndexTestSupport.h"
#include "storage/index/ContactIndex.h"

namespace {

std::wstring FromU8(const std::string& text) {
  if (text.empty()) return std::wstring();
  int n = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring out(n, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &out[0], n);
  return out;
}

std::string Numbers(const Array<CEOID>& ids) {
  std::string text;
  for (int k = 0; k < ids.GetSize(); ++k)
    text += (k ? " " : "") + std::to_string(static_cast<uint32_t>(ids[k]));
  return text;
}

bool Open(ContactIndex& index, const wchar_t* indexPath, const wchar_t* propsPath) {
  index.Store().SetPath(indexPath);
  index.Props().SetPath(propsPath);
  return index.OpenStores() != FALSE;
}

int Lookup(const wchar_t* indexPath, const wchar_t* propsPath, const wchar_t* queries, const wchar_t* out) {
  ContactIndex index;
  if (!Open(index, indexPath, propsPath)) return 2;
  std::string result;
  Str report;
  result += index.Check(report) ? "check ok\n" : "check: " + U8(static_cast<const wchar_t*>(report));
  std::vector<uint8_t> bytes = indextest::ReadFileBytes(queries);
  std::string text(bytes.begin(), bytes.end());
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(at, end - at);
    at = end + 1;
    if (line.size() < 3) continue;
    Array<CEOID> ids;
    index.FindPrefix(line[0] == '1' ? KeypadTree : WordTree, FromU8(line.substr(2)).c_str(), ids);
    result += line + ": " + Numbers(ids) + "\n";
  }
  for (int kind = 0; kind < 2; ++kind) {
    Array<CEOID> ids;
    index.ListAll(kind, ids);
    result += "list " + std::to_string(kind) + ": " + Numbers(ids) + "\n";
    for (int k = 0; k < ids.GetSize() && kind == 0; ++k) {
      uint32_t record = 0;
      Contact contact;
      if (!index.Find(ids[k], &record) || !index.Props().GetRecord(record, contact)) {
        result += "no record for " + std::to_string(static_cast<uint32_t>(ids[k])) + "\n";
        continue;
      }
      result += "record " + std::to_string(static_cast<uint32_t>(ids[k])) + " " +
                std::to_string(contact.checksum) + " phones " + std::to_string(contact.Phone.GetSize()) +
                "\n";
    }
  }
  HANDLE file = CreateFileW(out, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 3;
  DWORD written = 0;
  WriteFile(file, result.data(), static_cast<DWORD>(result.size()), &written, nullptr);
  CloseHandle(file);
  index.CloseStores();
  return written == result.size() ? 0 : 3;
}

int Resave(const wchar_t* indexPath, const wchar_t* propsPath) {
  ContactIndex index;
  if (!Open(index, indexPath, propsPath)) return 2;
  int code = index.Save(FALSE) ? 0 : 3;
  index.CloseStores();
  return code;
}

}  // namespace

int main() {
  int count = 0;
  wchar_t** args = CommandLineToArgvW(GetCommandLineW(), &count);
  if (args == nullptr || count < 2) return 1;
  std::wstring command = args[1];
  if (command == L"lookup" && count == 6) return Lookup(args[2], args[3], args[4], args[5]);
  if (command == L"resave" && count == 4) return Resave(args[2], args[3]);
  return 1;
}
