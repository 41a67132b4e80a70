// add, update and delete: contacts written through the item's contact manager, so that the index
// follows at once.
#include <cstring>
#include <string>

#include "DeviceContacts.h"
#include "IndexVerbs.h"
#include "Output.h"
#include "ToolCategories.h"
#include "ToolContact.h"
#include "ToolManager.h"

namespace {

// The field of a short name such as "LastName"; -1 for none.
int FieldByName(const std::wstring& name) {
  const std::string narrow = ToUtf8(name);
  for (int f = 0; f < ToolFieldCount; ++f) {
    if (_stricmp(kFieldName[f], narrow.c_str()) == 0) return f;
  }
  return -1;
}

// FIELD=VALUE arguments from `first` on into `contact`; "Note=" sets the Note's text. False, with a
// message, on an argument that isn't one.
bool ReadAssignments(int argc, wchar_t** argv, int first, ToolContact& contact, bool& any) {
  any = false;
  for (int i = first; i < argc; ++i) {
    std::wstring arg = argv[i];
    const size_t equals = arg.find(L'=');
    if (equals == std::wstring::npos || equals == 0) {
      PrintError(L"pimtool: expected FIELD=VALUE, not " + arg);
      return false;
    }
    const std::wstring name = arg.substr(0, equals);
    const std::wstring value = arg.substr(equals + 1);
    if (_wcsicmp(name.c_str(), L"Note") == 0) {
      contact.note = value;
    } else {
      const int field = FieldByName(name);
      if (field < 0) {
        PrintError(L"pimtool: no field named " + name);
        return false;
      }
      contact.text[field] = value;
    }
    any = true;
  }
  return true;
}

// A contact stored but left out of the index, which has no room for it, is said to be so.
void ReportIfNotIndexed(ContactManager& manager, CEOID id) {
  if (manager.Index().Find(id, nullptr)) return;
  PrintError(L"pimtool: " + HexId(id) + L" is stored but not indexed: " +
             std::wstring(static_cast<const wchar_t*>(manager.CapacityNote())));
}

}  // namespace

int AddVerb(int argc, wchar_t** argv) {
  ToolContact source;
  bool any = false;
  if (!ReadAssignments(argc, argv, 2, source, any)) return 2;
  if (!any) {
    PrintError(L"usage: pimtool add FIELD=VALUE ...");
    return 2;
  }
  ToolManager tool;
  if (!tool.Open(true)) return 1;
  ContactManager& manager = tool.Get();
  ToolCategories categories;
  if (!categories.Open()) return 1;
  Contact contact;
  if (!ToContactRecord(source, categories, manager.Note(), contact)) {
    PrintError(L"pimtool: the Note of the contact can't be made");
    return 1;
  }
  // The manager merges the extended data into the user's text of the Note itself.
  manager.Note().StripBlock(contact);
  if (!manager.AddContact(contact)) {
    PrintError(L"pimtool: adding the contact failed (error " + std::to_wstring(GetLastError()) + L")");
    return 1;
  }
  tool.Settle();
  PrintLine(HexId(contact.oid));
  ReportIfNotIndexed(manager, contact.oid);
  return 0;
}

int UpdateVerb(int argc, wchar_t** argv) {
  const CEOID id = argc >= 3 ? ParseId(argv[2]) : 0;
  ToolContact changes;
  bool any = false;
  if (id == 0 || !ReadAssignments(argc, argv, 3, changes, any) || !any) {
    PrintError(L"usage: pimtool update ID FIELD=VALUE ...");
    return 2;
  }
  ToolManager tool;
  if (!tool.Open(true)) return 1;
  ContactManager& manager = tool.Get();
  Contact contact;
  if (!manager.ReadContact(id, contact)) {
    PrintError(L"pimtool: no contact with the id " + std::wstring(argv[2]));
    return 1;
  }
  for (int f = 0; f < ToolFieldCount; ++f) {
    if (!changes.text[f].empty()) contact.text[f] = Str(changes.text[f].c_str());
  }
  if (!changes.note.empty()) {
    // A wide Note begins with the bytes FE FF.
    const std::wstring text = L"\xFFFE" + changes.note;
    contact.rawNote = ByteBuffer(reinterpret_cast<const BYTE*>(text.c_str()),
                                 static_cast<uint32_t>(text.size() * sizeof(wchar_t)));
  }
  if (!manager.UpdateContact(contact, FALSE)) {
    PrintError(L"pimtool: updating the contact failed (error " + std::to_wstring(GetLastError()) + L")");
    return 1;
  }
  tool.Settle();
  PrintLine(HexId(id));
  ReportIfNotIndexed(manager, id);
  return 0;
}

int DeleteVerb(int argc, wchar_t** argv) {
  const CEOID id = argc == 3 ? ParseId(argv[2]) : 0;
  if (id == 0) {
    PrintError(L"usage: pimtool delete ID");
    return 2;
  }
  ToolManager tool;
  if (!tool.Open(true)) return 1;
  if (!tool.Get().DeleteContact(id)) {
    PrintError(L"pimtool: no contact with the id " + std::wstring(argv[2]) + L" could be deleted");
    return 1;
  }
  tool.Settle();
  PrintLine(HexId(id));
  return 0;
}
