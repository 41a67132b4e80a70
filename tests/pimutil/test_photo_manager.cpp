// Photos through the contact manager and the data source, on the real database: an added contact's
// photo is written as its file, read back with the contact, and given to the rows scaled into their
// square; an update keeps, moves or deletes the file as the photo flag says.
#include <doctest/doctest.h>

#include <algorithm>

#include "ManagerTestSupport.h"
#include "PhotoTestSupport.h"
#include "TestPaths.h"
#include "WideText.h"
#include "foundation/Settings.h"
#include "manager/core/ContactManager.h"
#include "manager/datasource/ContactDataSource.h"
#include "extended/ContactNote.h"
#include "storage/contact/ContactDatabase.h"

using namespace phototest;
using pictures::Colours;

namespace {

const Colours kHalves = [](int x, int) { return x < 40 ? 0xFF0000u : 0x0000FFu; };
const Colours kGreen = [](int, int y) { return y < 5 ? 0x00FF00u : 0x008000u; };

// The data source of the process on a fresh database and a data folder of its own.
struct PhotoSource {
  CategoryFilter noFilter;
  Array<CEOID> noKeep;
  OwnDataFolder data;

  explicit PhotoSource(const wchar_t* folder) : data(folder) {
    managertest::FreshDevice();
    REQUIRE(g_dataSource.Open(GetModuleHandleW(nullptr), nullptr, nullptr));
  }
  ~PhotoSource() { g_dataSource.Close(); }
  ContactManager& Manager() { return *g_dataSource.GetManager(); }
  // The row of `id` in a search for everything.
  void Position(CEOID id, int& group, int& row) {
    REQUIRE(g_dataSource.SearchText(Str(), SortKindName, noFilter, noKeep, FALSE, nullptr));
    REQUIRE(g_dataSource.FindPosition(id, group, row));
  }
  CEOID Add(const wchar_t* first, const wchar_t* last, const ContactPhoto& photo) {
    Contact contact = NamedContact(first, L"", last);
    contact.photo = photo;
    int group = -1, row = -1;
    REQUIRE(g_dataSource.AddContact(contact, group, row));
    REQUIRE(contact.oid != 0);
    return contact.oid;
  }
  Contact Read(CEOID id) {
    Contact contact;
    REQUIRE(Manager().ReadContact(id, contact));
    return contact;
  }
};

// The photo's name as the record's own Note gives it, read past the index.
std::string NoteImage(CEOID id) {
  ContactDatabase database;
  REQUIRE(database.Open(nullptr));
  Contact stored;
  REQUIRE(database.LoadByOid(id, stored));
  ContactNote note;
  Str text;
  note.GetNoteText(stored, text);
  return U8(stored.Image);
}

}  // namespace

TEST_CASE("the Note of a contact written with a photo names the photo's file, also after a rename") {
  PhotoSource s(L"photo_source_note");
  // Added: the name is made once the record has its id, and the Note is written again with it.
  const CEOID ann = s.Add(L"Ann", L"Noted", MakePhoto(20, 10, kHalves));
  CHECK(NoteImage(ann) == "Ann_Noted.png");
  // Without names the record id names the file, which the first write of the Note couldn't know.
  Contact nameless;
  nameless.photo = MakePhoto(8, 8, kGreen);
  REQUIRE(s.Manager().AddContact(nameless));
  const std::string byId = std::to_string(nameless.oid) + ".png";
  CHECK(NoteImage(nameless.oid) == byId);
  const std::vector<std::wstring> files = s.data.Files();
  CHECK(std::count(files.begin(), files.end(), std::wstring(byId.begin(), byId.end())) == 1);
  // Renamed: the photo moves to the file of the new name, and the Note follows.
  Contact change = s.Read(ann);
  change.text[ContactField::LastName] = L"Moved";
  REQUIRE(s.Manager().UpdateContact(change, TRUE));
  CHECK(NoteImage(ann) == "Ann_Moved.png");
  // A contact without a photo names none.
  const CEOID bob = s.Add(L"Bob", L"Bare", ContactPhoto());
  CHECK(NoteImage(bob).empty());
}

TEST_CASE(
    "an added contact's photo is its file, read back whole, and scaled for the rows by GetCachedContact") {
  PhotoSource s(L"photo_source_rows");
  const CEOID ann = s.Add(L"Ann", L"Photo", MakePhoto(80, 40, kHalves));
  const CEOID bob = s.Add(L"Bob", L"Plain", ContactPhoto());
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Photo.png"});

  // Read whole: the photo as it was given, named in Image.
  Contact read = s.Read(ann);
  CHECK(read.photoLoaded);
  CHECK(U8(read.Image) == "Ann_Photo.png");
  CHECK(PhotoPixels(read.photo) == ColoursOf(80, 40, kHalves));
  Contact plain = s.Read(bob);
  CHECK(plain.photoLoaded);
  CHECK(plain.photo.IsEmpty());
  CHECK(plain.Image.IsEmpty());

  int group = -1, row = -1;
  s.Position(ann, group, row);
  // A two-line row of 32 pixels: 32 x 16, red left and blue right.
  Contact* contact = nullptr;
  REQUIRE(g_dataSource.GetCachedContact(group, row, contact, 32));
  REQUIRE(contact != nullptr);
  CHECK(contact->photo.Width() == 32);
  CHECK(contact->photo.Height() == 16);
  CHECK(contact->photo.BitsPerPixel() == 24);
  std::vector<uint32_t> pixels = PhotoPixels(contact->photo);
  REQUIRE(pixels.size() == 32u * 16u);
  CHECK(pixels[8 * 32 + 4] == 0xFF0000u);
  CHECK(pixels[8 * 32 + 27] == 0x0000FFu);
  // The same size again is the cached contact itself.
  Contact* again = nullptr;
  REQUIRE(g_dataSource.GetCachedContact(group, row, again, 32));
  CHECK(again == contact);
  // A page's head of 64: 64 x 32.
  REQUIRE(g_dataSource.GetCachedContact(group, row, contact, 64));
  CHECK(contact->photo.Width() == 64);
  CHECK(contact->photo.Height() == 32);
  // A single-line row: the 1 x 1 placeholder of 24 bits.
  REQUIRE(g_dataSource.GetCachedContact(group, row, contact, 1));
  CHECK(contact->photo.Width() == 1);
  CHECK(contact->photo.Height() == 1);
  CHECK(contact->photo.BitsPerPixel() == 24);
  // A contact without a photo has none at any size.
  s.Position(bob, group, row);
  for (int size : {1, 32, 64}) {
    REQUIRE(g_dataSource.GetCachedContact(group, row, contact, size));
    CHECK(contact->photo.IsEmpty());
  }
}

TEST_CASE("a picture put in the data folder under the contact's names is the contact's photo") {
  PhotoSource s(L"photo_source_dropped");
  const CEOID cid = s.Add(L"Cy", L"Dropped", ContactPhoto());
  WriteBmpFile(s.data.File(L"Cy_Dropped.bmp"), 10, 10, kGreen);
  Contact read = s.Read(cid);
  CHECK(PhotoPixels(read.photo) == ColoursOf(10, 10, kGreen));
  CHECK(U8(read.Image) == "Cy_Dropped.png");
  int group = -1, row = -1;
  s.Position(cid, group, row);
  Contact* contact = nullptr;
  REQUIRE(g_dataSource.GetCachedContact(group, row, contact, 20));
  CHECK(contact->photo.Width() == 20);
  CHECK(contact->photo.Height() == 20);
}

TEST_CASE(
    "UpdateContact: without photoAuthoritative the stored photo survives; with it, the photo in hand is the "
    "photo") {
  PhotoSource s(L"photo_source_update");
  const CEOID ann = s.Add(L"Ann", L"Photo", MakePhoto(80, 40, kHalves));
  ContactManager& manager = s.Manager();

  // A contact in hand without its photo read (as a change from elsewhere comes), flag false: the
  // stored photo is read first and written again with the contact.
  Contact change = s.Read(ann);
  change.photo.Empty();
  change.photoLoaded = false;
  change.text[ContactField::Company] = L"Lenses Ltd";
  REQUIRE(manager.UpdateContact(change, FALSE));
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Photo.png"});
  Contact read = s.Read(ann);
  CHECK(U8(read.text[ContactField::Company]) == "Lenses Ltd");
  CHECK(PhotoPixels(read.photo) == ColoursOf(80, 40, kHalves));

  // The same with a new name: the photo moves to the file of the new name.
  change = s.Read(ann);
  change.photo.Empty();
  change.photoLoaded = false;
  change.text[ContactField::LastName] = L"Renamed";
  REQUIRE(manager.UpdateContact(change, FALSE));
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Renamed.png"});
  read = s.Read(ann);
  CHECK(U8(read.Image) == "Ann_Renamed.png");
  CHECK(PhotoPixels(read.photo) == ColoursOf(80, 40, kHalves));

  // An edit that carries a new photo: that photo is written.
  change = s.Read(ann);
  change.photo = MakePhoto(10, 10, kGreen);
  REQUIRE(manager.UpdateContact(change, TRUE));
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Renamed.png"});
  CHECK(PhotoPixels(s.Read(ann).photo) == ColoursOf(10, 10, kGreen));

  // An edit whose photo was taken away, flag true: the file is deleted and the contact has none, even
  // though its photo was never read into the contact in hand.
  change = s.Read(ann);
  change.photo.Empty();
  change.photoLoaded = false;
  REQUIRE(manager.UpdateContact(change, TRUE));
  CHECK(s.data.Files().empty());
  read = s.Read(ann);
  CHECK(read.photo.IsEmpty());
  CHECK(read.Image.IsEmpty());

  // The data source's update is an edit: the photo in hand is the photo.
  change = s.Read(ann);
  change.photo = MakePhoto(80, 40, kHalves);
  REQUIRE(g_dataSource.UpdateContact(change));
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Renamed.png"});
  change = s.Read(ann);
  change.photo.Empty();
  REQUIRE(g_dataSource.UpdateContact(change));
  CHECK(s.data.Files().empty());
}

TEST_CASE("a photo file that can't be written fails the add, but the contact is stored and found") {
  PhotoSource s(L"photo_source_unwritable");
  REQUIRE(SetSettingString(SECTION_SETTINGS, L"FolderPath", (s.data.Path() + L"\\no\\such").c_str(), TRUE));
  Contact contact = NamedContact(L"Dee", L"", L"Lost");
  contact.photo = MakePhoto(8, 8, kGreen);
  SetLastError(0);
  CHECK_FALSE(s.Manager().AddContact(contact));
  CHECK(GetLastError() != 0);
  REQUIRE(contact.oid != 0);
  int group = -1, row = -1;
  s.Position(contact.oid, group, row);
  Contact* cached = nullptr;
  REQUIRE(g_dataSource.GetCachedContact(group, row, cached, 32));
  CHECK(U8(cached->text[ContactField::LastName]) == "Lost");
  CHECK(cached->photo.IsEmpty());
}

TEST_CASE("a deleted contact's photo file goes with it; another contact's of the same name stays") {
  PhotoSource s(L"photo_source_delete");
  const CEOID ann = s.Add(L"Ann", L"Lee", MakePhoto(6, 6, kGreen));
  const CEOID plainTwin = s.Add(L"Ann", L"Lee", ContactPhoto());
  const CEOID photoTwin = s.Add(L"Ann", L"Lee", MakePhoto(4, 4, kHalves));
  const std::wstring twinFile = L"Ann_Lee_" + std::to_wstring(photoTwin) + L".png";
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Lee.png", twinFile});
  ContactManager& manager = s.Manager();
  // The twin without a photo names no file: the one its names would give is the first Ann's.
  REQUIRE(manager.DeleteContact(plainTwin));
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Lee.png", twinFile});
  REQUIRE(manager.DeleteContact(photoTwin));
  CHECK(s.data.Files() == std::vector<std::wstring>{L"Ann_Lee.png"});
  CHECK(PhotoPixels(s.Read(ann).photo) == ColoursOf(6, 6, kGreen));
  REQUIRE(manager.DeleteContact(ann));
  CHECK(s.data.Files().empty());
}
