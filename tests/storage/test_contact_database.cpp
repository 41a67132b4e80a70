#include "StorageTestSupport.h"

#include "storage/contact/ContactDatabase.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

using namespace storetest;

namespace {

// A clean pair of platform databases, opened through a ContactDatabase.
struct Store {
  ContactDatabase db;
  RecordingCounter counter;

  explicit Store(bool withCompanySort = true) {
    MakeEmptyContactDatabases(withCompanySort);
    REQUIRE(db.Open(nullptr));
  }
  ~Store() { db.Close(); }

  CEOID Add(Contact contact, bool withNote = true) {
    REQUIRE(db.AddContact(contact, withNote));
    return contact.oid;
  }

  CEOID AddNamed(const wchar_t* last, const wchar_t* first, const wchar_t* company, const wchar_t* title,
                 const std::string& categories) {
    Contact contact;
    contact.text[ContactField::LastName] = last;
    contact.text[ContactField::FirstName] = first;
    contact.text[ContactField::Company] = company;
    contact.text[ContactField::Title] = title;
    contact.categories = BufferOf(categories);
    return Add(contact);
  }

  std::map<CEPROPID, RawValue> Raw(CEOID oid) { return RawRecord(db.Contacts().GetHandle(), oid); }
};

std::vector<CEOID> OidsOf(const Array<ListEntry>& entries) {
  std::vector<CEOID> oids;
  for (int i = 0; i < entries.GetSize(); ++i) oids.push_back(entries[i].oid);
  std::sort(oids.begin(), oids.end());
  return oids;
}

std::vector<CEOID> Sorted(std::vector<CEOID> oids) {
  std::sort(oids.begin(), oids.end());
  return oids;
}

std::vector<CEOID> OidsOf(const Array<CEOID>& array) {
  std::vector<CEOID> oids;
  for (int i = 0; i < array.GetSize(); ++i) oids.push_back(array[i]);
  std::sort(oids.begin(), oids.end());
  return oids;
}

ListFilter OidFilter(const std::vector<CEOID>& oids) {
  ListFilter filter;
  filter.byOids = true;
  for (CEOID oid : oids) filter.oids.Add(oid);
  return filter;
}

std::wstring RandomText(std::mt19937& random, int maxLength) {
  static const wchar_t kChars[] = L"abcXYZ 0123-+()@.\u00e4\u00f6\u00df\u0416\u044f\u4e2d\u20ac";
  std::uniform_int_distribution<int> length(0, maxLength);
  std::uniform_int_distribution<int> pick(0, static_cast<int>(wcslen(kChars)) - 1);
  std::wstring text;
  int n = length(random);
  for (int i = 0; i < n; ++i) text += kChars[pick(random)];
  return text;
}

Contact RandomContact(std::mt19937& random) {
  Contact contact;
  std::uniform_int_distribution<int> coin(0, 2);
  for (int i = 0; i < kContactTextCount; ++i) {
    if (coin(random) == 0) contact.text[i] = RandomText(random, 40).c_str();
  }
  std::uniform_int_distribution<uint32_t> word;
  if (coin(random) != 0) contact.birthday = TimeOf(word(random) & 0x01FFFFFFu, word(random));
  if (coin(random) != 0) contact.anniversary = TimeOf(word(random) & 0x01FFFFFFu, word(random));
  if (coin(random) != 0)
    contact.defaultItem = coin(random) == 0 ? word(random) : ContactTextId(ContactField::WorkPhone);
  if (coin(random) != 0) {
    std::uniform_int_distribution<int> length(1, 300);
    std::string note(static_cast<size_t>(length(random)), '\0');
    for (char& c : note) c = static_cast<char>(word(random) & 0xFF);
    contact.noteBlob = BufferOf(note);
  }
  if (coin(random) != 0)
    contact.categories = BufferOf(std::string(1, static_cast<char>(word(random) & 0xFF)));
  return contact;
}

}  // namespace

TEST_CASE("Open needs both databases; Close closes both") {
  MakeEmptyContactDatabases();
  ContactDatabase db;
  REQUIRE(db.Open(nullptr));
  CHECK(db.Contacts().IsOpen());
  CHECK(db.Categories().IsOpen());
  db.Close();
  CHECK_FALSE(db.Contacts().IsOpen());
  CHECK_FALSE(db.Categories().IsOpen());

  DeleteDatabaseNamed(kCategoriesDatabaseName);
  CHECK_FALSE(db.Open(nullptr));
  db.Close();
  DeleteDatabaseNamed(kContactsDatabaseName);
  CHECK_FALSE(db.Open(nullptr));
}

TEST_CASE("GetCountAndTime: the record count and the last change; zeros and false when closed") {
  Store store;
  FILETIME time;
  DWORD count = 99;
  REQUIRE(store.db.GetCountAndTime(time, count));
  CHECK(count == 0u);
  FILETIME first = time;
  store.Add(FullContact(1));
  store.Add(FullContact(2));
  REQUIRE(store.db.GetCountAndTime(time, count));
  CHECK(count == 2u);
  CHECK(CompareFileTime(&time, &first) >= 0);
  CHECK((time.dwHighDateTime | time.dwLowDateTime) != 0u);

  store.db.Close();
  ContactDatabase closed;
  CHECK_FALSE(closed.GetCountAndTime(time, count));
  CHECK(count == 0u);
  CHECK(time.dwLowDateTime == 0u);
  CHECK(time.dwHighDateTime == 0u);
}

TEST_CASE("a contact with every field written and read back by oid is equal to itself") {
  Store store;
  Contact written = FullContact(5);
  REQUIRE(store.db.AddContact(written, true));
  CHECK(written.oid != 0u);

  Contact read;
  REQUIRE(store.db.LoadByOid(written.oid, read));
  CHECK(read.oid == written.oid);
  for (int i = 0; i < kContactTextCount; ++i) CHECK(U8(read.text[i]) == U8(written.text[i]));
  CHECK(CompareFileTime(&read.birthday, &written.birthday) == 0);
  CHECK(CompareFileTime(&read.anniversary, &written.anniversary) == 0);
  CHECK(read.defaultItem == written.defaultItem);
  CHECK(Bytes(read.categories) == Bytes(written.categories));
  CHECK(Bytes(read.noteBlob) == Bytes(written.noteBlob));
  CHECK(read.Equals(written));
  // The buffers are copies of their own, not the read's memory.
  CHECK(read.noteBlob.Block() != written.noteBlob.Block());
}

TEST_CASE("the property map: each property goes to its field; unknown ones are ignored; 0x0102 is carried") {
  Store store;
  DbDatabase& contacts = store.db.Contacts();
  DbRecord record;
  DbProperty last(L"Ivanov", 0x3A11);
  DbProperty fileAs(L"Ivanov, Ivan", 0x4013);
  DbProperty unknownText(L"ignored", 0x4317);
  DbProperty unknownNumber(static_cast<int32_t>(5), 0x7777);
  DbProperty flag(true, kPropFlag102);
  DbProperty item(static_cast<uint32_t>(0x3A1C001Fu), kPropDefaultItem);
  record.Add(&last);
  record.Add(&fileAs);
  record.Add(&unknownText);
  record.Add(&unknownNumber);
  record.Add(&flag);
  record.Add(&item);
  CEOID oid = contacts.WriteRecord(record, DbWriteNew);
  REQUIRE(oid != 0u);
  record.Clear();

  Contact contact;
  REQUIRE(store.db.LoadByOid(oid, contact));
  CHECK(U8(contact.text[ContactField::LastName]) == "Ivanov");
  CHECK(U8(contact.text[ContactField::FileAs]) == "Ivanov, Ivan");
  CHECK(contact.flag102 == 1u);
  CHECK(contact.defaultItem == 0x3A1C001Fu);  // an unsigned default item reads the same
  CHECK(Bytes(contact.categories) == std::string(1, '\0'));
  int filled = 0;
  for (int i = 0; i < kContactTextCount; ++i) filled += contact.text[i].IsEmpty() ? 0 : 1;
  CHECK(filled == 2);

  // The display read leaves 0x0102 out, and asks for the default item by its id of type 3.
  Contact display;
  REQUIRE(store.db.LoadDisplayFields(oid, display));
  CHECK(display.flag102 == 0u);
  CHECK(U8(display.text[ContactField::FileAs]) == "Ivanov, Ivan");
  CHECK(display.defaultItem == 0u);
}

TEST_CASE("LoadDisplayFields reads the texts, dates, default item and categories, not the Note") {
  Store store;
  Contact written = FullContact(6);
  CEOID oid = store.Add(written);
  Contact display;
  display.noteBlob = BufferOf("stale");
  REQUIRE(store.db.LoadDisplayFields(oid, display));
  CHECK(display.oid == oid);
  CHECK(display.noteBlob.IsEmpty());
  for (int i = 0; i < kContactTextCount; ++i) CHECK(Str::IsEqual(display.text[i], written.text[i]));
  CHECK(CompareFileTime(&display.birthday, &written.birthday) == 0);
  CHECK(display.defaultItem == written.defaultItem);
  CHECK(Bytes(display.categories) == Bytes(written.categories));
}

TEST_CASE("a load that fails leaves the contact as it was cleared") {
  Store store;
  Contact contact = FullContact(7);
  contact.oid = 12;
  CHECK_FALSE(store.db.LoadByOid(0x7FFF0001u, contact));
  CHECK(contact.IsEmpty());
  CHECK(contact.oid == 0u);
  contact = FullContact(8);
  CHECK_FALSE(store.db.LoadDisplayFields(0x7FFF0001u, contact));
  CHECK(contact.IsEmpty());
}

TEST_CASE("LoadCurrent reads each record in turn and steps on, to the end of the table") {
  Store store;
  std::set<CEOID> added;
  for (int i = 0; i < 4; ++i) added.insert(store.Add(FullContact(10 + i)));
  DbDatabase& contacts = store.db.Contacts();
  contacts.SetAtEnd(false);
  REQUIRE(contacts.SeekIndex(0) != 0u);
  std::set<CEOID> loaded;
  Contact contact;
  while (!contacts.IsAtEnd()) {
    REQUIRE(store.db.LoadCurrent(contact));
    loaded.insert(contact.oid);
    CHECK(contact.text[ContactField::Email1].GetLength() > 0);
  }
  CHECK(loaded == added);
  CHECK_FALSE(store.db.LoadCurrent(contact));
  CHECK(GetLastError() == 38u);
  CHECK(contact.IsEmpty());
  CHECK_FALSE(contacts.GetStep());  // the step flag is put back
}

TEST_CASE("partial reads by oid") {
  Store store;
  Contact contact;
  contact.text[ContactField::LastName] = L"Doe";
  contact.text[ContactField::FirstName] = L"Jane";
  contact.text[ContactField::Company] = L"Acme";
  contact.text[ContactField::Title] = L"Dr.";
  contact.text[ContactField::MiddleName] = L"Q";
  contact.text[ContactField::FileAs] = L"Doe, Jane";
  contact.text[ContactField::AssistantPhone] = L"11";
  contact.text[ContactField::MobilePhone] = L"10";
  contact.text[ContactField::WorkFax] = L"3";
  contact.text[ContactField::WorkPhone] = L"1";
  contact.text[ContactField::HomePhone] = L"4";
  contact.categories = BufferOf(std::string("\x05\x00\x00\x00", 4));
  CEOID oid = store.Add(contact);

  Str last, first, company, title;
  REQUIRE(store.db.ReadNameFields(oid, last, first, company, title));
  CHECK(U8(last) == "Doe");
  CHECK(U8(first) == "Jane");
  CHECK(U8(company) == "Acme");
  CHECK(U8(title) == "Dr.");

  Str last3, first3, company3;
  REQUIRE(store.db.ReadNameFields(oid, last3, first3, company3));
  CHECK(U8(last3 + L"|" + first3 + L"|" + company3) == "Doe|Jane|Acme");

  Contact parts;
  parts.text[ContactField::Company] = L"untouched";
  REQUIRE(store.db.ReadNameParts(oid, parts));
  CHECK(U8(parts.text[ContactField::LastName]) == "Doe");
  CHECK(U8(parts.text[ContactField::FirstName]) == "Jane");
  CHECK(U8(parts.text[ContactField::Title]) == "Dr.");
  CHECK(U8(parts.text[ContactField::MiddleName]) == "Q");
  CHECK(U8(parts.text[ContactField::Company]) == "untouched");

  Str fileAs;
  REQUIRE(store.db.ReadFileAs(oid, fileAs));
  CHECK(U8(fileAs) == "Doe, Jane");

  Array<Str> phones;
  REQUIRE(store.db.ReadPhones(oid, phones));
  std::vector<std::string> got;
  for (int i = 0; i < phones.GetSize(); ++i) got.push_back(U8(phones[i]));
  // work, work 2, work fax, home, home 2, home fax, pager, car, radio, mobile, assistant.
  CHECK(got == std::vector<std::string>{"1", "3", "4", "10", "11"});

  ByteBuffer categories;
  REQUIRE(store.db.ReadCategories(oid, categories));
  CHECK(Bytes(categories) == std::string("\x05\x00\x00\x00", 4));

  // Absent properties read as empty texts.
  Contact bare;
  bare.text[ContactField::Email1] = L"only@example.com";
  CEOID bareOid = store.Add(bare);
  REQUIRE(store.db.ReadFileAs(bareOid, fileAs));
  CHECK(fileAs.IsEmpty());
  REQUIRE(store.db.ReadNameFields(bareOid, last, first, company, title));
  CHECK((last.IsEmpty() && first.IsEmpty() && company.IsEmpty() && title.IsEmpty()));
  REQUIRE(store.db.ReadPhones(bareOid, phones));
  CHECK(phones.GetSize() == 0);
  REQUIRE(store.db.ReadCategories(bareOid, categories));
  CHECK(Bytes(categories) == std::string(1, '\0'));

  CHECK_FALSE(store.db.ReadFileAs(0x7FFF0001u, fileAs));
}

TEST_CASE("adding a contact never writes an empty property") {
  Store store;
  Contact contact;
  contact.text[ContactField::LastName] = L"Only";
  contact.text[ContactField::MobilePhone] = L"";
  contact.noteBlob.Empty();
  contact.categories.Empty();
  CEOID oid = store.Add(contact);
  std::map<CEPROPID, RawValue> raw = store.Raw(oid);
  REQUIRE(raw.size() == 1u);
  CHECK(U8(raw.begin()->second.text) == "Only");
  CHECK(raw.begin()->first == 0x3A11001Fu);
}

TEST_CASE(
    "AddContact writes the Note only with withNote, and the categories, dates and default item when set") {
  Store store;
  Contact contact;
  contact.text[ContactField::FirstName] = L"Note";
  contact.noteBlob = BufferOf("the note");
  contact.categories = BufferOf("\x01");
  contact.defaultItem = 0xF1234567u;
  contact.birthday = TimeOf(0x01C00000u, 1);
  CEOID without = store.Add(contact, false);
  std::map<CEPROPID, RawValue> raw = store.Raw(without);
  CHECK_FALSE(HasNumber(raw, kPropNote));
  CHECK(raw[kIdCategories].blob == "\x01");
  CHECK(raw[kIdDefaultItem].number == 0xF1234567u);
  CHECK(raw[kIdBirthday].time.dwHighDateTime == 0x01C00000u);
  CHECK_FALSE(HasNumber(raw, kPropAnniversary));

  CEOID with = store.Add(contact, true);
  raw = store.Raw(with);
  CHECK(raw[kIdNote].blob == "the note");
}

TEST_CASE("updating a contact whose Mobile was cleared deletes the property") {
  Store store;
  Contact contact = FullContact(9);
  CEOID oid = store.Add(contact);
  contact.oid = oid;
  REQUIRE(store.Raw(oid).count(0x3A1C001Fu) == 1u);

  contact.text[ContactField::MobilePhone].Empty();
  contact.text[ContactField::Spouse] = L"New spouse";
  REQUIRE(store.db.UpdateContact(contact, true));
  std::map<CEPROPID, RawValue> raw = store.Raw(oid);
  CHECK(raw.count(0x3A1C001Fu) == 0u);
  CHECK(U8(raw[0x400A001Fu].text) == "New spouse");
  CHECK(raw.count(0x3A08001Fu) == 1u);

  Contact read;
  REQUIRE(store.db.LoadByOid(oid, read));
  CHECK(read.Equals(contact));
}

TEST_CASE("an update deletes cleared dates, default item and Note, and leaves the Note without withNote") {
  Store store;
  Contact contact = FullContact(11);
  CEOID oid = store.Add(contact);
  contact.oid = oid;

  contact.noteBlob.Empty();
  REQUIRE(store.db.UpdateContact(contact, false));
  CHECK(store.Raw(oid).count(kIdNote) == 1u);

  REQUIRE(store.db.UpdateContact(contact, true));
  CHECK(store.Raw(oid).count(kIdNote) == 0u);

  contact.birthday = TimeOf(0, 0);
  contact.defaultItem = 0;
  contact.categories.Empty();  // an empty mask is not written: the old one stays
  REQUIRE(store.db.UpdateContact(contact, true));
  std::map<CEPROPID, RawValue> raw = store.Raw(oid);
  CHECK_FALSE(HasNumber(raw, kPropBirthday));
  CHECK(HasNumber(raw, kPropAnniversary));
  CHECK_FALSE(HasNumber(raw, kPropDefaultItem));
  CHECK(raw[kIdCategories].blob == Bytes(FullContact(11).categories));

  for (int i = 0; i < kContactTextCount; ++i) contact.text[i].Empty();
  contact.text[ContactField::Office] = L"Only office";
  REQUIRE(store.db.UpdateContact(contact, true));
  raw = store.Raw(oid);
  int texts = 0;
  for (const auto& entry : raw) texts += TypeFromPropID(entry.first) == CEVT_LPWSTR ? 1 : 0;
  CHECK(texts == 1);
}

TEST_CASE("an update of a record that is gone fails") {
  Store store;
  Contact contact = FullContact(12);
  contact.oid = 0x7FFF0001u;
  CHECK_FALSE(store.db.UpdateContact(contact, true));
  contact.oid = 0;
  CHECK_FALSE(store.db.UpdateContact(contact, true));
}

TEST_CASE("writes tell the category counter: count on add, recount on update, uncount on delete") {
  Store store;
  store.db.SetCategoryCounter(&store.counter);
  Contact contact;
  contact.text[ContactField::LastName] = L"Counted";
  contact.categories = BufferOf(std::string("\x03\x00\x00\x00", 4));
  REQUIRE(store.db.AddContact(contact, true));
  contact.categories = BufferOf("\x04");
  REQUIRE(store.db.UpdateContact(contact, true));
  REQUIRE(store.db.DeleteContact(contact.oid));
  CHECK(store.counter.calls ==
        std::vector<std::string>{"count 03000000", "recount 03000000 04", "uncount 04"});

  // A contact stored without categories uncounts an empty mask.
  Contact plain;
  plain.text[ContactField::LastName] = L"Plain";
  plain.categories.Empty();
  store.counter.calls.clear();
  REQUIRE(store.db.AddContact(plain, true));
  REQUIRE(store.db.DeleteContact(plain.oid));
  CHECK(store.counter.calls == std::vector<std::string>{"count -", "uncount -"});

  // Without a counter nothing is counted and the writes work the same.
  store.db.SetCategoryCounter(nullptr);
  store.counter.calls.clear();
  REQUIRE(store.db.AddContact(contact, true));
  REQUIRE(store.db.DeleteContact(contact.oid));
  CHECK(store.counter.calls.empty());
}

TEST_CASE("DeleteContact removes the record; oid 0 deletes the current record; a missing one fails") {
  Store store;
  CEOID a = store.Add(FullContact(1));
  CEOID b = store.Add(FullContact(2));
  CEOID c = store.Add(FullContact(3));
  REQUIRE(store.db.DeleteContact(b));
  Contact contact;
  CHECK_FALSE(store.db.LoadByOid(b, contact));
  FILETIME time;
  DWORD count = 0;
  store.db.GetCountAndTime(time, count);
  CHECK(count == 2u);

  REQUIRE(store.db.Contacts().SeekOid(c) == c);
  REQUIRE(store.db.DeleteContact(0));
  CHECK_FALSE(store.db.LoadByOid(c, contact));
  CHECK(store.db.LoadByOid(a, contact));
  CHECK_FALSE(store.db.DeleteContact(b));
}

TEST_CASE("SetDefaultItem writes the default item alone, and deletes it for 0") {
  Store store;
  Contact contact = FullContact(13);
  CEOID oid = store.Add(contact);
  REQUIRE(store.db.SetDefaultItem(oid, 0xF00D0001u));
  std::map<CEPROPID, RawValue> raw = store.Raw(oid);
  CHECK(raw[kIdDefaultItem].number == 0xF00D0001u);
  CHECK(raw.size() == 43u + 5u);
  REQUIRE(store.db.SetDefaultItem(oid, 0));
  CHECK_FALSE(HasNumber(store.Raw(oid), kPropDefaultItem));
  CHECK_FALSE(store.db.SetDefaultItem(0x7FFF0001u, 5));
}

TEST_CASE(
    "the checksum of a Contact and the quick checksum of its raw record agree, on many random contacts") {
  Store store;
  std::mt19937 random(20240607);
  std::vector<Contact> written;
  for (int i = 0; i < 120; ++i) {
    Contact contact = RandomContact(random);
    REQUIRE(store.db.AddContact(contact, true));
    written.push_back(contact);
  }
  for (const Contact& contact : written) {
    REQUIRE(store.db.Contacts().SeekOid(contact.oid) == contact.oid);
    uint32_t quick = 0;
    CEOID oid = 0;
    REQUIRE(store.db.QuickChecksum(quick, oid));
    CHECK(oid == contact.oid);
    CHECK(store.db.Contacts().CurrentOid() == contact.oid);  // the position stays
    Contact read;
    REQUIRE(store.db.LoadByOid(contact.oid, read));
    CHECK(read.ComputeChecksum() == quick);
    CHECK(contact.ComputeChecksum() == quick);
  }
}

TEST_CASE("the quick checksum fails at the end of the table with the platform's error") {
  Store store;
  uint32_t checksum = 1;
  CEOID oid = 1;
  CHECK_FALSE(store.db.QuickChecksum(checksum, oid));
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
  CHECK(oid == 0u);
}

TEST_CASE("the enumeration without a filter yields every record with its company and list name") {
  Store store;
  CEOID a = store.AddNamed(L"Smith", L"John", L"Acme", L"Dr.", "\x01");
  CEOID b = store.AddNamed(L"", L"", L"Solo Corp", L"", "");
  CEOID c = store.AddNamed(L"", L"", L"Titled Inc", L"Prof.", "\x02");
  Contact bare;
  bare.text[ContactField::Email1] = L"nobody@example.com";
  bare.categories.Empty();
  CEOID d = store.Add(bare);

  Array<ListEntry> entries;
  REQUIRE(store.db.EnumerateContacts(ListFilter(), entries));
  REQUIRE(entries.GetSize() == 4);
  std::map<CEOID, std::string> names;
  std::map<CEOID, std::string> companies;
  for (int i = 0; i < entries.GetSize(); ++i) {
    names[entries[i].oid] = U8(entries[i].name);
    companies[entries[i].oid] = U8(entries[i].company);
  }
  CHECK(names[a] == "Smith, John");
  CHECK(companies[a] == "Acme");
  CHECK(names[b] == "");  // the enumerations fall back on the title only
  CHECK(companies[b] == "Solo Corp");
  CHECK(names[c] == "Prof.");
  CHECK(names[d] == "");
  CHECK(companies[d] == "");
}

TEST_CASE("an enumeration of an empty table succeeds with an empty result") {
  Store store;
  Array<ListEntry> entries;
  entries.Add(ListEntry());
  CHECK(store.db.EnumerateContacts(ListFilter(), entries));
  CHECK(entries.GetSize() == 0);
  Array<CEOID> oids;
  CHECK(store.db.EnumerateOids(ListFilter(), oids));
  CHECK(oids.GetSize() == 0);
}

TEST_CASE("the category filters: no category, a mask over the shorter length, a mask of zeros") {
  Store store;
  CEOID absent = store.AddNamed(L"Absent", L"", L"", L"", "");
  CEOID zero = store.AddNamed(L"Zero", L"", L"", L"", std::string(1, '\0'));
  CEOID zeros = store.AddNamed(L"Zeros", L"", L"", L"", std::string(4, '\0'));
  CEOID bit0 = store.AddNamed(L"Bit0", L"", L"", L"", "\x01");
  CEOID bit1 = store.AddNamed(L"Bit1", L"", L"", L"", "\x02");
  CEOID both = store.AddNamed(L"Both", L"", L"", L"", "\x03");
  CEOID bit8 = store.AddNamed(L"Bit8", L"", L"", L"", std::string("\x00\x01", 2));
  // A categories property of length 0, written as it stands.
  DbRecord record;
  DbProperty name(L"EmptyBlob", 0x3A11);
  DbProperty blob("", 0, kPropCategories, DbBorrow);
  record.Add(&name);
  record.Add(&blob);
  CEOID emptyBlob = store.db.Contacts().WriteRecord(record, DbWriteNew);
  REQUIRE(emptyBlob != 0u);
  record.Clear();

  ListFilter noCategory;
  noCategory.category = ListNoCategory;
  Array<ListEntry> entries;
  REQUIRE(store.db.EnumerateContacts(noCategory, entries));
  // Four zero bytes are not "no category": only an empty mask or a single zero byte is.
  CHECK(OidsOf(entries) == Sorted({absent, zero, emptyBlob}));

  ListFilter mask;
  mask.category = ListCategoryMask;
  mask.mask = BufferOf("\x01");
  REQUIRE(store.db.EnumerateContacts(mask, entries));
  CHECK(OidsOf(entries) == Sorted({bit0, both}));

  mask.mask = BufferOf(std::string("\x02\x01", 2));
  REQUIRE(store.db.EnumerateContacts(mask, entries));
  CHECK(OidsOf(entries) == Sorted({bit1, both, bit8}));

  mask.mask = BufferOf(std::string("\x00\x01\xff", 3));
  REQUIRE(store.db.EnumerateContacts(mask, entries));
  CHECK(OidsOf(entries) == Sorted({bit8}));

  // A mask of zeros is the no-category filter.
  mask.mask = BufferOf(std::string(2, '\0'));
  REQUIRE(store.db.EnumerateContacts(mask, entries));
  CHECK(OidsOf(entries) == Sorted({absent, zero, emptyBlob}));

  Array<CEOID> oids;
  REQUIRE(store.db.EnumerateOids(noCategory, oids));
  CHECK(OidsOf(oids) == Sorted({absent, zero, emptyBlob}));
  mask.mask = BufferOf("\x02");
  REQUIRE(store.db.EnumerateOids(mask, oids));
  CHECK(OidsOf(oids) == Sorted({bit1, both}));
  REQUIRE(store.db.EnumerateOids(ListFilter(), oids));
  CHECK(oids.GetSize() == 8);
  CHECK(std::find(oids.GetData(), oids.GetData() + oids.GetSize(), zeros) != oids.GetData() + oids.GetSize());
}

TEST_CASE("the oid filter walks the table for a long list and seeks each oid for a short one") {
  Store store;
  std::vector<CEOID> all;
  for (int i = 0; i < 16; ++i) {
    std::string categories = (i % 2 == 0) ? std::string("\x01") : std::string();
    wchar_t last[16];
    _snwprintf(last, 15, L"Person%02d", i);
    last[15] = 0;
    all.push_back(store.AddNamed(last, L"", L"", L"", categories));
  }
  const CEOID gone = 0x7FFF0001u;

  // Short list (2 + 1 of 16 records): sought one by one, the missing one skipped, in the list's order.
  ListFilter shortList = OidFilter({all[5], gone, all[2]});
  Array<ListEntry> entries;
  REQUIRE(store.db.EnumerateContacts(shortList, entries));
  REQUIRE(entries.GetSize() == 2);
  CHECK(entries[0].oid == all[5]);
  CHECK(entries[1].oid == all[2]);
  CHECK(U8(entries[0].name) == "Person05");

  // Long list (at least the count minus 10), unsorted: the table is walked.
  std::vector<CEOID> many(all.rbegin(), all.rbegin() + 7);
  many.push_back(gone);
  ListFilter longList = OidFilter(many);
  REQUIRE(store.db.EnumerateContacts(longList, entries));
  CHECK(OidsOf(entries) == Sorted(std::vector<CEOID>(all.rbegin(), all.rbegin() + 7)));

  // With a category filter as well, in both ways.
  shortList.category = ListCategoryMask;
  shortList.mask = BufferOf("\x01");
  REQUIRE(store.db.EnumerateContacts(shortList, entries));
  CHECK(OidsOf(entries) == Sorted({all[2]}));
  longList.category = ListNoCategory;
  REQUIRE(store.db.EnumerateContacts(longList, entries));
  CHECK(OidsOf(entries) == Sorted({all[15], all[13], all[11], all[9]}));
  longList.category = ListCategoryMask;
  longList.mask = BufferOf("\x01");
  REQUIRE(store.db.EnumerateContacts(longList, entries));
  CHECK(OidsOf(entries) == Sorted({all[14], all[12], all[10]}));
  shortList.category = ListNoCategory;
  REQUIRE(store.db.EnumerateContacts(shortList, entries));
  CHECK(OidsOf(entries) == Sorted({all[5]}));

  Array<CEOID> oids;
  REQUIRE(store.db.EnumerateOids(OidFilter({all[1], all[3]}), oids));
  CHECK(OidsOf(oids) == Sorted({all[1], all[3]}));

  // An empty list yields nothing.
  REQUIRE(store.db.EnumerateContacts(OidFilter({}), entries));
  CHECK(entries.GetSize() == 0);
}

TEST_CASE("AllCompanies gives the distinct non-empty company names in order") {
  for (bool companySort : {true, false}) {
    CAPTURE(companySort);
    Store store(companySort);
    store.AddNamed(L"A", L"", L"Zeta", L"", "");
    store.AddNamed(L"B", L"", L"Acme", L"", "");
    store.AddNamed(L"C", L"", L"", L"", "");
    store.AddNamed(L"D", L"", L"Middle", L"", "");
    store.AddNamed(L"E", L"", L"Acme", L"", "");
    store.AddNamed(L"F", L"", L"Zeta", L"", "");
    Array<Str> companies;
    companies.Add(Str(L"stale"));
    REQUIRE(store.db.AllCompanies(companies));
    std::vector<std::string> got;
    for (int i = 0; i < companies.GetSize(); ++i) got.push_back(U8(companies[i]));
    CHECK(got == std::vector<std::string>{"Acme", "Middle", "Zeta"});
  }
}

TEST_CASE("whole reads through the kept buffer give what the property map of a record gives") {
  Store store;
  std::mt19937 random(7031);
  std::vector<CEOID> oids;
  for (int i = 0; i < 60; ++i) {
    Contact contact = RandomContact(random);
    // Records that grow and shrink from one to the next, so the buffer is grown and filled again.
    if (i % 7 == 3) contact.noteBlob = BufferOf(std::string(3000 + 97 * i, static_cast<char>('a' + i % 26)));
    if (i % 5 == 1) contact.flag102 = 1;
    oids.push_back(store.Add(contact));
  }
  DbDatabase& contacts = store.db.Contacts();
  auto byRecord = [&](CEOID oid) {
    Contact expected;
    DbRecord record;
    REQUIRE(contacts.SeekOid(oid) == oid);
    REQUIRE(contacts.ReadRecord(record) == oid);
    ContactDatabase::MapProperties(record, expected);
    expected.oid = oid;
    return expected;
  };
  auto same = [](const Contact& a, const Contact& b) {
    CHECK(a.Equals(b));
    CHECK(a.flag102 == b.flag102);
    CHECK(Bytes(a.noteBlob) == Bytes(b.noteBlob));
    CHECK(Bytes(a.categories) == Bytes(b.categories));
  };
  // In table order, stepping on.
  contacts.SetAtEnd(false);
  REQUIRE(contacts.SeekIndex(0) != 0u);
  std::vector<Contact> walked;
  Contact contact;
  while (!contacts.IsAtEnd()) {
    REQUIRE(store.db.LoadCurrent(contact));
    walked.push_back(contact);
  }
  REQUIRE(walked.size() == oids.size());
  for (size_t k = 0; k < walked.size(); ++k) {
    CHECK(walked[k].oid == oids[k]);
    same(walked[k], byRecord(oids[k]));
  }
  // By oid, from the end back.
  for (size_t k = oids.size(); k-- > 0;) {
    REQUIRE(store.db.LoadByOid(oids[k], contact));
    CHECK(contacts.CurrentOid() == oids[k]);  // the position stays on the record
    same(contact, byRecord(oids[k]));
  }
}
