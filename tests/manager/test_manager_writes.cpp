// Contacts read, written and deleted through the manager, the default item, the keypad tree rebuilt
// alone, another program's changes while the item is away, and the fatal end of a failed event.
#include <doctest/doctest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "ManagerTestSupport.h"
#include "TestPaths.h"
#include "foundation/Settings.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/index/ContactFeed.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"

using namespace managertest;

namespace {

std::vector<CEOID> Found(ContactManager& manager, int tree, const wchar_t* key) {
  Array<CEOID> ids;
  manager.Index().FindPrefix(tree, key, ids);
  return std::vector<CEOID>(ids.GetData(), ids.GetData() + ids.GetSize());
}

Contact NewContact(const wchar_t* last, const wchar_t* first) {
  Contact contact;
  contact.text[ContactField::LastName] = Str(last);
  contact.text[ContactField::FirstName] = Str(first);
  LabelValue phone;
  phone.label = Str(L"Dacha");
  phone.value = Str(L"+7 812 555 0101");
  contact.Phone.Add(phone);
  LabelValue mail;
  mail.label = Str(L"Club");
  mail.value = Str(L"rower@example.org");
  contact.Email.Add(mail);
  return contact;
}

std::wstring HelperPath() { return testpaths::BinDir() + L"manager_helper.exe"; }

std::string ReadText(const wchar_t* path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

TEST_CASE("a contact added through the manager is found at once, with its extended data read back") {
  FreshDevice();
  WriteGenerated(10);
  OpenedManager m;
  REQUIRE(m.opened);
  Contact contact = NewContact(L"Quillfeather", L"Ottoline");
  contact.rawNote = ByteBuffer();
  REQUIRE(m.manager.AddContact(contact));
  REQUIRE(contact.oid != 0);
  CHECK(Found(m.manager, WordTree, L"quillf") == std::vector<CEOID>{contact.oid});
  CHECK(Found(m.manager, KeypadTree, MapToGroupKeys(L"quill")) == std::vector<CEOID>{contact.oid});
  // The extended phone is a phone of the index too.
  CHECK(Found(m.manager, WordTree, ContactFeed::NumberEndKey(L"+7 812 555 0101")) ==
        std::vector<CEOID>{contact.oid});
  CHECK(m.manager.EventsWindow().IsSaveTimerRunning());

  Contact read;
  REQUIRE(m.manager.ReadContact(contact.oid, read));
  CHECK(read.text[ContactField::LastName] == Str(L"Quillfeather"));
  REQUIRE(read.Phone.GetSize() == 1);
  CHECK(read.Phone[0].label == Str(L"Dacha"));
  CHECK(read.Phone[0].value == Str(L"+7 812 555 0101"));
  REQUIRE(read.Email.GetSize() == 1);
  CHECK(read.Email[0].value == Str(L"rower@example.org"));
  CHECK(read.noteBlob.IsEmpty());
  // The notification of the manager's own write comes through and finds the contact indexed already.
  Pump(1200);
  CHECK(m.manager.Index().ContactCount() == 11);
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE("an update through the manager changes the index and the stored extended data") {
  FreshDevice();
  OpenedManager m;
  REQUIRE(m.opened);
  Contact contact = NewContact(L"Brackenridge", L"Ilse");
  REQUIRE(m.manager.AddContact(contact));
  Contact edited;
  REQUIRE(m.manager.ReadContact(contact.oid, edited));
  edited.text[ContactField::LastName] = Str(L"Thornquist");
  edited.Phone[0].value = Str(L"+7 495 777 1234");
  REQUIRE(m.manager.UpdateContact(edited, TRUE));
  CHECK(Found(m.manager, WordTree, L"brackenridge").empty());
  CHECK(Found(m.manager, WordTree, L"thornq") == std::vector<CEOID>{contact.oid});
  CHECK(Found(m.manager, WordTree, ContactFeed::NumberEndKey(L"+7 812 555 0101")).empty());
  CHECK(Found(m.manager, WordTree, ContactFeed::NumberEndKey(L"+7 495 777 1234")) ==
        std::vector<CEOID>{contact.oid});
  Contact again;
  REQUIRE(m.manager.ReadContact(contact.oid, again));
  REQUIRE(again.Phone.GetSize() == 1);
  CHECK(again.Phone[0].value == Str(L"+7 495 777 1234"));
  uint32_t record = 0;
  uint32_t stored = 0;
  REQUIRE(m.manager.Index().Find(contact.oid, &record));
  REQUIRE(m.manager.Index().Props().GetChecksum(record, stored));
  Contact raw;
  REQUIRE(m.manager.LoadByOid(contact.oid, raw));
  CHECK(stored == raw.ComputeChecksum());
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE("a contact deleted through the manager leaves the database and the index") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(8);
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(m.manager.DeleteContact(ids[5]));
  uint32_t record = 0;
  CHECK_FALSE(m.manager.Index().Find(ids[5], &record));
  CHECK(AllRecordIds().size() == 7);
  CHECK(m.manager.Index().ContactCount() == 7);
  CHECK_FALSE(m.manager.DeleteContact(ids[5]));
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE("the default item is stored and restamps the index") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(6);
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(m.manager.SetDefaultItem(ids[2], 0x3A1C001F));
  Contact contact;
  REQUIRE(m.manager.ReadContact(ids[2], contact));
  CHECK(contact.defaultItem == 0x3A1C001F);
  FILETIME time;
  DWORD count = 0;
  REQUIRE(m.manager.GetCountAndTime(time, count));
  CHECK_FALSE(m.manager.Index().Props().IsNeedInspect(time, count, FALSE));
  REQUIRE(m.manager.SetDefaultItem(ids[2], 0));
  REQUIRE(m.manager.ReadContact(ids[2], contact));
  CHECK(contact.defaultItem == 0);
  CHECK_FALSE(m.manager.SetDefaultItem(0x7ffffff1, 1));
}

TEST_CASE("the keypad tree is made anew for changed letter groups, with its progress") {
  FreshDevice();
  const CEOID oid = WriteNamed(L"Zhukov", L"Boris");
  WriteGenerated(40);
  OpenedManager m;
  REQUIRE(m.opened);
  std::vector<CEOID> found = Found(m.manager, KeypadTree, L"wgtj");
  CHECK(std::find(found.begin(), found.end(), oid) != found.end());
  // The user's own groups, where z stands with a: "zhukov" now begins with the key of the first group.
  const std::wstring custom = L"ABCZ/abcz DEF/def GHI/ghi JKL/jkl MNO/mno PQRS/pqrs TUV/tuv WXY/wxy";
  REQUIRE(SetSettingDword(L"ABC", L"Type", 0, TRUE));
  REQUIRE(SetSettingBinary(L"ABC", L"Custom", reinterpret_cast<const BYTE*>(custom.data()),
                           static_cast<DWORD>(custom.size() * sizeof(wchar_t))));
  m.listener.calls.clear();
  const BOOL rebuilt = m.manager.RebuildKeypadTree();
  DeleteSettingValue(L"ABC", L"Custom");
  DeleteSettingValue(L"ABC", L"Type");
  REQUIRE(rebuilt);
  found = Found(m.manager, KeypadTree, L"agtj");
  CHECK(std::find(found.begin(), found.end(), oid) != found.end());
  found = Found(m.manager, KeypadTree, L"wgtj");
  CHECK(std::find(found.begin(), found.end(), oid) == found.end());
  REQUIRE(m.listener.calls.size() >= 3);
  CHECK(m.listener.calls.front() == "keypad 0");
  CHECK(m.listener.calls.back() == "keypad 20");
  CHECK(m.listener.Count("keypad ") == 20);  // 0, 1 to 18 and 20
  CHECK(IsDirtyMark(IndexStore::DefaultPath()));
  CHECK(CheckIndex(m.manager) == "");
  ClearDirtyMark(IndexStore::DefaultPath());
  ClearDirtyMark(PropsStore::DefaultPath());
  FreshDevice();
}

TEST_CASE("another program's changes while the item is away: ten are inspected, eleven rebuild") {
  for (int n : {10, 11}) {
    CAPTURE(n);
    FreshDevice();
    WriteGenerated(80);
    {
      OpenedManager m;
      REQUIRE(m.opened);
      m.manager.Index().Save(FALSE);
    }
    REQUIRE(testpaths::RunAndWait(HelperPath(), L"differences " + std::to_wstring(n), 60000,
                                  {{L"PAGEMARK_OBJECT_STORE", L"\\windows\\test_manager.cdb"}}) == 0);
    OpenedManager m;
    REQUIRE(m.opened);
    CHECK(m.manager.LastOpenReport().inspected);
    CHECK(m.manager.LastOpenReport().rebuilt == (n == 11));
    CHECK(m.manager.Index().ContactCount() == static_cast<int>(AllRecordIds().size()));
    CHECK(Found(m.manager, WordTree, L"elsewhere").size() == 4);
    CHECK(CheckIndex(m.manager) == "");
  }
}

TEST_CASE("a notified contact that the index can't take ends the process with the database error") {
  FreshDevice();
  WriteGenerated(3);
  {
    OpenedManager m;
    REQUIRE(m.opened);
    m.manager.Index().Save(FALSE);
  }
  const std::wstring log = HelperPath() + L".log";
  DeleteFileW(log.c_str());
  const int code = testpaths::RunAndWait(HelperPath(), L"fatal", 60000,
                                         {{L"PAGEMARK_OBJECT_STORE", L"\\windows\\test_manager.cdb"}});
  CHECK(static_cast<DWORD>(code) == 0xeffffffd);
  CHECK(ReadText(log.c_str()).find("Unable perform db operation!!!") != std::string::npos);
  CHECK(ReadText(log.c_str()).find("ContactManager") != std::string::npos);
}
