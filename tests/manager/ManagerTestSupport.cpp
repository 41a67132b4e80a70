#include "ManagerTestSupport.h"

#include <algorithm>
#include <cstdio>

#include "ArrayVectors.h"
#include "DeviceContacts.h"
#include "DeviceDatabases.h"
#include "Generator.h"
#include "TestPaths.h"
#include "ToolCategories.h"
#include "WordModel.h"
#include "foundation/Settings.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"

namespace {

// The manager tests keep to an object store file of their own.
testpaths::OwnObjectStore g_ownStore(L"\\windows\\test_manager.cdb");

}  // namespace

namespace managertest {

void ResetDatabases() { MakeEmptyContactDatabases(); }

void ResetIndexFiles() {
  Str index = IndexStore::DefaultPath();
  Str props = PropsStore::DefaultPath();
  DeleteFileW(index);
  DeleteFileW(props);
  ClearDirtyMark(index);
  ClearDirtyMark(props);
}

void FreshDevice() {
  ResetDatabases();
  ResetIndexFiles();
  Array<Str> letters;
  for (const std::wstring& group : wordmodel::EnglishGroups()) letters.Add(Str(group.c_str()));
  g_keypadGroups.Fill(letters);
}

std::vector<CEOID> WriteGenerated(int count, uint64_t seed, int first) {
  std::vector<CEOID> ids;
  ContactDatabase database;
  ToolCategories categories;
  if (!database.Open(nullptr) || !categories.Open()) return ids;
  ContactNote note;
  for (int i = first; i < first + count; ++i) {
    Contact contact;
    if (!ToContactRecord(GenerateContact(seed, i), categories, note, contact)) break;
    if (!database.AddContact(contact, true)) break;
    ids.push_back(contact.oid);
  }
  categories.Flush();
  return ids;
}

CEOID WriteNamed(const wchar_t* last, const wchar_t* first, const wchar_t* company, const wchar_t* mobile) {
  ContactDatabase database;
  if (!database.Open(nullptr)) return 0;
  Contact contact;
  contact.text[ContactField::LastName] = Str(last);
  contact.text[ContactField::FirstName] = Str(first);
  contact.text[ContactField::Company] = Str(company);
  contact.text[ContactField::MobilePhone] = Str(mobile);
  if (!database.AddContact(contact, true)) return 0;
  return contact.oid;
}

bool TouchRecord(CEOID oid, const wchar_t* company) {
  ContactDatabase database;
  if (!database.Open(nullptr)) return false;
  Contact contact;
  if (!database.LoadByOid(oid, contact)) return false;
  contact.text[ContactField::Company] = Str(company);
  return database.UpdateContact(contact, true);
}

bool DeleteRecord(CEOID oid) {
  ContactDatabase database;
  return database.Open(nullptr) && database.DeleteContact(oid);
}

std::vector<CEOID> AllRecordIds() {
  ContactDatabase database;
  Array<CEOID> ids;
  if (!database.Open(nullptr) || !database.EnumerateOids(ListFilter(), ids)) return {};
  return VectorOf<CEOID>(ids);
}

std::string Hex(CEOID oid) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(oid));
  return text;
}

void RecordingListener::OnContactAdded(CEOID id) { calls.push_back("added " + Hex(id)); }
void RecordingListener::OnContactChanged(CEOID id) { calls.push_back("changed " + Hex(id)); }
void RecordingListener::OnContactDeleted(CEOID id) { calls.push_back("deleted " + Hex(id)); }
void RecordingListener::OnReloaded() { calls.push_back("reloaded"); }
void RecordingListener::OnListEvent(DWORD a, DWORD b) {
  calls.push_back("list " + std::to_string(a) + " " + std::to_string(b));
}
void RecordingListener::OnKeypadRebuildProgress(int step) {
  calls.push_back("keypad " + std::to_string(step));
}
void RecordingListener::SetDataReady(BOOL ready) {
  calls.push_back(std::string("ready ") + (ready ? "1" : "0"));
}
void RecordingListener::SetUpdatePending(BOOL pending) {
  calls.push_back(std::string("pending ") + (pending ? "1" : "0"));
}
void RecordingListener::OnListEvent2(DWORD a, DWORD b) {
  calls.push_back("list2 " + std::to_string(a) + " " + std::to_string(b));
}

int RecordingListener::Count(const std::string& prefix) const {
  int n = 0;
  for (const std::string& call : calls) n += call.compare(0, prefix.size(), prefix) == 0 ? 1 : 0;
  return n;
}

std::vector<CEOID> FreshIndexedDevice(int count) {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(count);
  OpenedManager m;
  if (!m.opened || !m.manager.Index().Save(FALSE)) return {};
  return ids;
}

bool ListsEveryRecord(ContactManager& manager) {
  Array<CEOID> listed;
  if (!manager.Index().ListAll(SortByName, listed)) return false;
  std::vector<CEOID> indexed = VectorOf<CEOID>(listed);
  std::vector<CEOID> records = AllRecordIds();
  std::sort(indexed.begin(), indexed.end());
  std::sort(records.begin(), records.end());
  return indexed == records;
}

std::string StartOf(const IndexOpenReport& report) {
  std::string text = report.state == IndexInStep  ? "in step"
                     : report.state == IndexStale ? "stale"
                                                  : "unusable";
  if (report.inspected) text += ", inspected";
  if (report.rebuilt) text += ", rebuilt";
  if (report.inspected && !report.rebuilt)
    text += ": removed " + std::to_string(report.removed) + ", added " + std::to_string(report.added) +
            ", changed " + std::to_string(report.changed);
  return text;
}

std::string CheckIndex(ContactManager& manager) {
  Str report;
  if (manager.Index().Check(report)) return std::string();
  return U8(static_cast<const wchar_t*>(report));
}

}  // namespace managertest
