// A second process for the index tests. Commands:
//   lookup INDEX PROPS QUERIES OUT   opens both files as a contact index and writes to OUT (UTF-8):
//                                    the check's findings ("check ok" when none), for each line
//                                    "<tree> <key>" of QUERIES the oids found, both sorted lists, and
//                                    each contact's props record with its checksum. Exit 2: refused.
//   resave INDEX PROPS               opens both files and saves them again at once.
#include <windows.h>

#include <string>
#include <vector>

#include "IndexTestSupport.h"
#include "Output.h"
#include "storage/index/ContactIndex.h"

namespace {

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
  for (const std::string& line : testpaths::ReadFileLines(queries)) {
    if (line.size() < 3) continue;
    Array<CEOID> ids;
    index.FindPrefix(line[0] == '1' ? KeypadTree : WordTree, FromUtf8(line.substr(2)).c_str(), ids);
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
  index.CloseStores();
  return testpaths::WriteFileText(out, result) ? 0 : 3;
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
  const std::vector<std::wstring> args = testpaths::ProgramArguments();
  if (args.size() == 6 && args[1] == L"lookup")
    return Lookup(args[2].c_str(), args[3].c_str(), args[4].c_str(), args[5].c_str());
  if (args.size() == 4 && args[1] == L"resave") return Resave(args[2].c_str(), args[3].c_str());
  return 1;
}
