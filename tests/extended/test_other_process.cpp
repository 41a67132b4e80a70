// A contact written with a block of extended data through the device's database is read back whole by
// another process, from its Note alone.
#include "ExtendedTestSupport.h"

#include "NewDatabase.h"
#include "TestPaths.h"
#include "extended/ContactNote.h"
#include "extended/PimInfoText.h"
#include "storage/contact/ContactDatabase.h"

#include <doctest/doctest.h>

#include <random>

using namespace exttest;

namespace {

const wchar_t kStoreFile[] = L"\\windows\\test_extended.cdb";

// This program keeps to a store file of its own.
testpaths::OwnObjectStore g_ownStore(kStoreFile);

void MakeCleanStore() {
  RequireNewDatabase(kContactsDatabaseName, ContactSortOrders());
  RequireNewDatabase(kCategoriesDatabaseName, CategorySortOrders());
}

// Every kind of entry, with escaped characters and Cyrillic.
void FullBlock(ContactExtended& block) {
  block.Phone.Add(Pair(L"Дача", L"+7 (812) 555-01-02"));
  block.Phone.Add(Pair(L"Work 3", L"555-0103 ext [7]"));
  block.Email.Add(Pair(L"Old", L"old@example.org"));
  block.WebPage.Add(Pair(L"Blog", L"http://blog.example.org/a;b"));
  block.People.Add(Pair(L"Сын", L"Петя"));
  block.Link.Add(Pair(L"Contract", L"\\\\server\\share\\c.doc"));
  block.OtherProp.Add(Pair(L"Blood", L"A[II]+"));
  MessengerEntry messenger;
  messenger.kind = L"ICQ";
  messenger.note = L"evenings";
  messenger.id = L"123:456";
  block.Messenger.Add(messenger);
  AddressEntry address;
  address.label = L"Dacha";
  address.parts[0] = L"Лесная ул., 5";
  address.parts[1] = L"Сосново";
  address.parts[3] = L"188731";
  address.parts[4] = L"Россия";
  address.format = 7;
  block.Address.Add(address);
  block.HomeFormat = 2;
  block.WorkFormat = 11;
  DateEntry date;
  date.label = L"Wedding";
  date.value = Midnight(1999, 6, 30);
  block.Date.Add(date);
  block.Image = L"Петров [1].jpg";
}

std::wstring Hex32(CEOID oid) {
  wchar_t text[16];
  swprintf(text, 16, L"%08x", static_cast<unsigned>(oid));
  return text;
}

}  // namespace

TEST_CASE("a contact written with an extended block is read back whole by another process from its Note") {
  MakeCleanStore();
  ContactDatabase database;
  REQUIRE(database.Open(nullptr));
  ContactNote note;
  std::mt19937 random(4242);

  struct Written {
    CEOID oid;
    std::string expected;
  };
  std::vector<Written> written;
  for (int i = 0; i < 4; ++i) {
    Contact contact;
    contact.text[ContactField::LastName] = (L"Petrov " + std::to_wstring(i)).c_str();
    std::vector<std::wstring> userText;
    switch (i) {
      case 0:
        FullBlock(contact);
        contact.rawNote = WideNote(L"Позвонить после 18:00\r\nКод: [42]");
        userText = {L"Позвонить после 18:00", L"Код: [42]"};
        break;
      case 1:
        FullBlock(contact);
        contact.rawNote = BufferOf(
            DocumentBuilder().Text(L"Rich user text").Record(67, 80, Bytes(16, 3)).Text(L"second").Build());
        userText = {L"Rich user text", L"second"};
        break;
      case 2:
        FullBlock(contact);
        break;
      default:
        RandomExtended(random, contact);
        contact.Image = L"random.png";
        contact.rawNote = AnsiNote("plain 8-bit note");
        userText = {L"plain 8-bit note"};
        break;
    }
    REQUIRE(note.MergeIntoNote(contact));
    Bytes raw = BytesOf(contact.rawNote);
    REQUIRE(database.AddContact(contact, true));
    REQUIRE(contact.oid != 0);

    // What this process expects the other to find: the block as written, less what no reader keeps.
    Contact expected;
    expected.noteBlob = contact.noteBlob;
    Str text;
    REQUIRE(note.GetNoteText(expected, text));
    CHECK(U8(text) == U8(JoinedTexts(userText)));
    if (i < 3) CHECK(static_cast<const ContactExtended&>(expected).Equals(contact));
    note.StripBlock(expected);
    std::string dump = "understood: yes\ntext: " + U8(JoinedTexts(userText)) + "\n" + DumpExtended(expected) +
                       "raw: " + Hex(BytesOf(expected.rawNote)) + "\n";
    written.push_back({contact.oid, dump});
    if (i == 1) CHECK(Hex(BytesOf(expected.rawNote)) == Hex(raw));
  }
  database.Close();

  wchar_t folder[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  std::wstring output = std::wstring(folder) + L"extended_reader.txt";
  for (const Written& contact : written) {
    CAPTURE(contact.oid);
    DeleteFileW(output.c_str());
    int code = testpaths::RunAndWait(testpaths::BinDir() + L"extended_reader.exe",
                                     Hex32(contact.oid) + L" \"" + output + L"\"", 60000);
    REQUIRE(code == 0);
    CHECK(testpaths::ReadFileText(output) == contact.expected);
  }
  CHECK(written[0].expected.find("Phone: Дача = +7 (812) 555-01-02\n") != std::string::npos);
  CHECK(written[0].expected.find("Image: Петров [1].jpg\n") != std::string::npos);
  CHECK(testpaths::RunAndWait(testpaths::BinDir() + L"extended_reader.exe", L"7fffff00 \"" + output + L"\"",
                              60000) == 1);
}
