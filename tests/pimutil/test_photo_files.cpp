// Contacts' photo files in the data folder: the names they take, the photo read from the name in
// `Image` (PNG, BMP, the BMP beside a missing PNG, the name the contact's names give), written as PNG
// under a unique name, deleted; pictures that can't be read leave an empty photo; names that would
// leave the data folder are never used.
#include <doctest/doctest.h>

#include "PhotoTestSupport.h"
#include "TestPaths.h"
#include "WideText.h"
#include "foundation/Settings.h"
#include "storage/contact/ContactPhotoFiles.h"

using namespace phototest;
using pictures::Colours;

namespace {

const Colours kStripes = [](int x, int y) { return ((x / 2 + y) % 2) ? 0xC02010u : 0x1050E0u; };
const Colours kRamp = [](int x, int y) {
  return static_cast<uint32_t>((x * 9 & 0xFF) << 16 | (y * 13 & 0xFF) << 8 | 0x40);
};

void Touch(const std::wstring& path) { REQUIRE(testpaths::WriteFileBytes(path, {1, 2, 3})); }

}  // namespace

TEST_CASE("MakePhotoName: the cleaned names joined by \"_\", else the title or the record id") {
  OwnDataFolder data(L"photo_names");
  CHECK(U8(MakePhotoName(NamedContact(L"Ann", L"", L"Lee"), false)) == "Ann_Lee.png");
  CHECK(U8(MakePhotoName(NamedContact(L"Ann", L"Marie", L"Lee"), false)) == "Ann_Marie_Lee.png");
  CHECK(U8(MakePhotoName(NamedContact(L"", L"", L"Lee"), false)) == "Lee.png");
  CHECK(U8(MakePhotoName(NamedContact(L"", L"Marie", L""), false)) == "Marie.png");
  // What a file name can't hold goes, and blanks and dots at the ends.
  CHECK(U8(MakePhotoName(NamedContact(L" A/n:n*? ", L"\"<>|", L"..Lee\\\t."), false)) == "Ann_Lee.png");
  // Letters of any script stay.
  CHECK(U8(MakePhotoName(NamedContact(L"J\u00F6rg", L"", L"\u0141uk"), false)) ==
        "J\xC3\xB6rg_\xC5\x81uk.png");
  // Without names: the title, cleaned; without a title, the record id in decimal.
  CHECK(U8(MakePhotoName(NamedContact(L"", L"", L"", L"Dr."), false)) == "Dr.png");
  CHECK(U8(MakePhotoName(NamedContact(L"", L"", L"", L"", 0x1234), false)) == "4660.png");
  CHECK(U8(MakePhotoName(NamedContact(L"", L"", L"", L"/:", 77), false)) == "77.png");
  // A name made only of what cleaning removes counts as none.
  CHECK(U8(MakePhotoName(NamedContact(L"??", L"", L" . "), false)) == "0.png");
}

TEST_CASE("MakePhotoName with unique: a taken name gets the title or the id, then a counter") {
  OwnDataFolder data(L"photo_unique");
  Contact ann = NamedContact(L"Ann", L"", L"Lee", L"Dr", 99);
  CHECK(U8(MakePhotoName(ann, true)) == "Ann_Lee.png");
  Touch(data.File(L"Ann_Lee.png"));
  CHECK(U8(MakePhotoName(ann, true)) == "Ann_Lee_Dr.png");
  // Without unique the taken name is the name.
  CHECK(U8(MakePhotoName(ann, false)) == "Ann_Lee.png");
  Touch(data.File(L"Ann_Lee_Dr.png"));
  CHECK(U8(MakePhotoName(ann, true)) == "Ann_Lee_Dr_1.png");
  Touch(data.File(L"Ann_Lee_Dr_1.png"));
  Touch(data.File(L"Ann_Lee_Dr_2.png"));
  CHECK(U8(MakePhotoName(ann, true)) == "Ann_Lee_Dr_3.png");
  // No title: the id.
  ann.text[ContactField::Title] = L"";
  CHECK(U8(MakePhotoName(ann, true)) == "Ann_Lee_99.png");
  // No names: the id, with a counter when taken.
  Contact nameless = NamedContact(L"", L"", L"", L"", 5);
  CHECK(U8(MakePhotoName(nameless, true)) == "5.png");
  Touch(data.File(L"5.png"));
  CHECK(U8(MakePhotoName(nameless, true)) == "5_1.png");
  // A folder of that name takes the name too.
  CreateDirectoryW(data.File(L"5_1.png").c_str(), nullptr);
  CHECK(U8(MakePhotoName(nameless, true)) == "5_2.png");
  RemoveDirectoryW(data.File(L"5_1.png").c_str());
}

TEST_CASE("SavePhoto writes the pixels as PNG under a new name in Image; LoadPhoto reads them back exactly") {
  OwnDataFolder data(L"photo_save");
  Contact contact = NamedContact(L"Ann", L"", L"Lee");
  contact.photo = MakePhoto(21, 13, kRamp);
  REQUIRE(SavePhoto(contact));
  CHECK(U8(contact.Image) == "Ann_Lee.png");
  CHECK(data.Files() == std::vector<std::wstring>{L"Ann_Lee.png"});

  Contact read = NamedContact(L"Ann", L"", L"Lee");
  read.Image = contact.Image;
  LoadPhoto(read);
  CHECK(read.photoLoaded);
  REQUIRE_FALSE(read.photo.IsEmpty());
  CHECK(read.photo.Width() == 21);
  CHECK(read.photo.Height() == 13);
  CHECK(read.photo.BitsPerPixel() == 24);
  CHECK(read.photo.Planes() == 1);
  CHECK(read.photo.Stride() == (21 * 3 + 3) / 4 * 4);
  CHECK(read.photo.Pixels().GetLength() == static_cast<uint32_t>(read.photo.Stride() * 13));
  CHECK(PhotoPixels(read.photo) == ColoursOf(21, 13, kRamp));
  CHECK(read.photo.SameAs(contact.photo));
}

TEST_CASE("SavePhoto: the old file goes; a renamed contact's photo takes the new name; no pixels, no file") {
  OwnDataFolder data(L"photo_resave");
  Contact contact = NamedContact(L"Ann", L"", L"Lee");
  contact.photo = MakePhoto(8, 8, kStripes);
  REQUIRE(SavePhoto(contact));
  // Saved again unchanged: the same name, one file.
  REQUIRE(SavePhoto(contact));
  CHECK(U8(contact.Image) == "Ann_Lee.png");
  CHECK(data.Files() == std::vector<std::wstring>{L"Ann_Lee.png"});
  // Renamed: the old file is deleted and the new one written.
  contact.text[ContactField::LastName] = L"Smyth";
  REQUIRE(SavePhoto(contact));
  CHECK(U8(contact.Image) == "Ann_Smyth.png");
  CHECK(data.Files() == std::vector<std::wstring>{L"Ann_Smyth.png"});
  // Another contact of the same name doesn't take the first one's file.
  Contact twin = NamedContact(L"Ann", L"", L"Smyth", L"", 42);
  twin.photo = MakePhoto(4, 4, kRamp);
  REQUIRE(SavePhoto(twin));
  CHECK(U8(twin.Image) == "Ann_Smyth_42.png");
  Contact first = NamedContact(L"Ann", L"", L"Smyth");
  first.Image = contact.Image;
  LoadPhoto(first);
  CHECK(PhotoPixels(first.photo) == ColoursOf(8, 8, kStripes));
  // Without pixels: the file is deleted, the contact keeps no name, and that is success.
  contact.photo.Empty();
  CHECK(SavePhoto(contact));
  CHECK(contact.Image.IsEmpty());
  CHECK(data.Files() == std::vector<std::wstring>{L"Ann_Smyth_42.png"});
  // Nothing to delete and nothing to write is success too.
  Contact none = NamedContact(L"Bob", L"", L"");
  CHECK(SavePhoto(none));
  CHECK(none.Image.IsEmpty());
  CHECK(data.Files() == std::vector<std::wstring>{L"Ann_Smyth_42.png"});
}

TEST_CASE("SavePhoto reports a file that can't be written") {
  OwnDataFolder data(L"photo_unwritable");
  // A folder where the file would go.
  Contact contact = NamedContact(L"Ann", L"", L"Lee");
  contact.photo = MakePhoto(3, 3, kStripes);
  SetSettingString(SECTION_SETTINGS, L"FolderPath", (data.Path() + L"\\no\\such\\folder").c_str(), TRUE);
  SetLastError(0);
  CHECK_FALSE(SavePhoto(contact));
  CHECK(GetLastError() != 0);
  // A photo whose pixels make no bitmap.
  SetSettingString(SECTION_SETTINGS, L"FolderPath", data.Path().c_str(), TRUE);
  contact.photo = ContactPhoto(4, 4, 2, 24, "\x01\x02\x03\x04\x05\x06\x07\x08");
  CHECK_FALSE(SavePhoto(contact));
  CHECK(data.Files().empty());
}

TEST_CASE("LoadPhoto: PNG and BMP by the extension in Image, and the BMP beside a missing PNG") {
  OwnDataFolder data(L"photo_kinds");
  WritePngFile(data.File(L"pic.png"), 6, 5, kRamp);
  WriteBmpFile(data.File(L"other.BMP"), 7, 3, kStripes);
  WriteBmpFile(data.File(L"gone.bmp"), 2, 9, kRamp);
  struct Case {
    const wchar_t* image;
    int width, height;
    Colours colours;
  } cases[] = {{L"pic.png", 6, 5, kRamp},
               {L"PIC.PNG", 6, 5, kRamp},
               {L"other.BMP", 7, 3, kStripes},
               {L"gone.png", 2, 9, kRamp},
               {L"gone", 2, 9, kRamp}};
  for (const Case& c : cases) {
    CAPTURE(U8(c.image));
    Contact contact = NamedContact(L"Nobody", L"", L"Here");
    contact.Image = c.image;
    LoadPhoto(contact);
    REQUIRE_FALSE(contact.photo.IsEmpty());
    CHECK(contact.photo.Width() == c.width);
    CHECK(contact.photo.Height() == c.height);
    CHECK(PhotoPixels(contact.photo) == ColoursOf(c.width, c.height, c.colours));
    // The name found stays as it was.
    CHECK(U8(contact.Image) == U8(c.image));
  }
  // A picture under another extension isn't read, nor a PNG named as BMP.
  WritePngFile(data.File(L"pic.jpg"), 6, 5, kRamp);
  WritePngFile(data.File(L"png.bmp"), 6, 5, kRamp);
  for (const wchar_t* image : {L"pic.jpg", L"png.bmp"}) {
    CAPTURE(U8(image));
    Contact contact = NamedContact(L"Nobody", L"", L"Here");
    contact.Image = image;
    LoadPhoto(contact);
    CHECK(contact.photo.IsEmpty());
    CHECK(contact.photoLoaded);
  }
}

TEST_CASE("LoadPhoto: the name the contact's names give is tried next, and taken into Image when found") {
  OwnDataFolder data(L"photo_made");
  WritePngFile(data.File(L"Ann_Lee.png"), 5, 4, kRamp);
  // Image empty, or naming a file that is gone: the made name is read and stands in Image after.
  for (const wchar_t* image : {L"", L"Ann_Old.png"}) {
    CAPTURE(U8(image));
    Contact contact = NamedContact(L"Ann", L"", L"Lee");
    contact.Image = image;
    LoadPhoto(contact);
    CHECK(PhotoPixels(contact.photo) == ColoursOf(5, 4, kRamp));
    CHECK(U8(contact.Image) == "Ann_Lee.png");
  }
  // The made name's BMP beside it.
  DeleteFileW(data.File(L"Ann_Lee.png").c_str());
  WriteBmpFile(data.File(L"Ann_Lee.bmp"), 3, 3, kStripes);
  Contact viaBmp = NamedContact(L"Ann", L"", L"Lee");
  LoadPhoto(viaBmp);
  CHECK(PhotoPixels(viaBmp.photo) == ColoursOf(3, 3, kStripes));
  CHECK(U8(viaBmp.Image) == "Ann_Lee.png");
  // Nothing under either name: the photo is empty and Image stays as it was.
  DeleteFileW(data.File(L"Ann_Lee.bmp").c_str());
  Contact none = NamedContact(L"Ann", L"", L"Lee");
  none.Image = L"Ann_Old.png";
  LoadPhoto(none);
  CHECK(none.photo.IsEmpty());
  CHECK(none.photoLoaded);
  CHECK(U8(none.Image) == "Ann_Old.png");
  // A photo loaded before is cleared by a load that finds nothing.
  none.photo = MakePhoto(2, 2, kRamp);
  LoadPhoto(none);
  CHECK(none.photo.IsEmpty());
}

TEST_CASE("LoadPhoto: damaged, cut, empty and missing pictures leave an empty photo, never a failure") {
  OwnDataFolder data(L"photo_damaged");
  WritePngFile(data.File(L"whole.png"), 30, 20, kRamp);
  const std::vector<uint8_t> png = testpaths::ReadFileBytes(data.File(L"whole.png"));
  WriteBmpFile(data.File(L"whole.bmp"), 30, 20, kRamp);
  const std::vector<uint8_t> bmp = testpaths::ReadFileBytes(data.File(L"whole.bmp"));
  REQUIRE(png.size() > 60);
  REQUIRE(bmp.size() > 60);
  struct Damage {
    const wchar_t* name;
    std::vector<uint8_t> bytes;
  };
  std::vector<Damage> damages = {
      {L"empty.png", {}},
      {L"empty.bmp", {}},
      {L"signature.png", std::vector<uint8_t>(png.begin(), png.begin() + 8)},
      {L"header.png", std::vector<uint8_t>(png.begin(), png.begin() + 33)},
      {L"half.png", std::vector<uint8_t>(png.begin(), png.begin() + png.size() / 2)},
      {L"nofile.bmp", std::vector<uint8_t>(bmp.begin(), bmp.begin() + 14)},
      {L"half.bmp", std::vector<uint8_t>(bmp.begin(), bmp.begin() + 54)},
      {L"text.png", {'n', 'o', 't', ' ', 'a', ' ', 'p', 'i', 'c', 't', 'u', 'r', 'e'}},
      {L"text.bmp", {'B', 'M', 'n', 'o', 't', ' ', 'a', ' ', 'p', 'i', 'c', 't', 'u', 'r', 'e'}},
  };
  // A PNG whose pixel data is damaged, its check words left as they are.
  std::vector<uint8_t> flipped = png;
  for (size_t i = 41; i < flipped.size() - 16; i += 7) flipped[i] ^= 0x5A;
  damages.push_back({L"flipped.png", flipped});
  // A BMP that claims a size far larger than its bytes.
  std::vector<uint8_t> claims = bmp;
  claims[18] = 0xFF;
  claims[19] = 0x7F;
  damages.push_back({L"claims.bmp", claims});
  for (const Damage& damage : damages) {
    CAPTURE(U8(damage.name));
    REQUIRE(testpaths::WriteFileBytes(data.File(damage.name), damage.bytes));
    Contact contact = NamedContact(L"Nobody", L"", L"Here");
    contact.Image = damage.name;
    LoadPhoto(contact);
    CHECK(contact.photoLoaded);
    // Whatever a damaged file still gives has the size the file claims, or there is none.
    if (!contact.photo.IsEmpty()) {
      CHECK(contact.photo.Width() == 30);
      CHECK(contact.photo.Height() == 20);
    }
  }
  // Cut and empty files give none at all.
  for (const wchar_t* name : {L"empty.png", L"empty.bmp", L"signature.png", L"header.png", L"nofile.bmp",
                              L"text.png", L"text.bmp"}) {
    CAPTURE(U8(name));
    Contact contact = NamedContact(L"Nobody", L"", L"Here");
    contact.Image = name;
    LoadPhoto(contact);
    CHECK(contact.photo.IsEmpty());
  }
  // A missing file, and a folder where the file should be.
  CreateDirectoryW(data.File(L"folder.png").c_str(), nullptr);
  for (const wchar_t* name : {L"missing.png", L"folder.png"}) {
    CAPTURE(U8(name));
    Contact contact = NamedContact(L"Nobody", L"", L"Here");
    contact.Image = name;
    LoadPhoto(contact);
    CHECK(contact.photo.IsEmpty());
    CHECK(contact.photoLoaded);
  }
  RemoveDirectoryW(data.File(L"folder.png").c_str());
}

TEST_CASE("DeletePhoto: true only when the file named, or made from the names, was there and is gone") {
  OwnDataFolder data(L"photo_delete");
  Contact contact = NamedContact(L"Ann", L"", L"Lee");
  contact.Image = L"mine.png";
  CHECK_FALSE(DeletePhoto(contact));
  Touch(data.File(L"mine.png"));
  Touch(data.File(L"Ann_Lee.png"));
  CHECK(DeletePhoto(contact));
  CHECK_FALSE(testpaths::FileExists(data.File(L"mine.png")));
  CHECK(testpaths::FileExists(data.File(L"Ann_Lee.png")));
  CHECK_FALSE(DeletePhoto(contact));
  // Without Image: the made name.
  contact.Image = L"";
  CHECK(DeletePhoto(contact));
  CHECK(data.Files().empty());
  CHECK_FALSE(DeletePhoto(contact));
}

TEST_CASE("names in Image that point out of the data folder are never read, written or deleted") {
  OwnDataFolder data(L"photo_escape");
  CreateDirectoryW(data.File(L"inner").c_str(), nullptr);
  WritePngFile(data.File(L"outside.png"), 4, 4, kRamp);
  WritePngFile(data.File(L"inner\\deep.png"), 4, 4, kRamp);
  for (const wchar_t* image : {L"..\\photo_escape\\outside.png", L"inner\\deep.png", L"inner/deep.png",
                               L"C:\\windows\\outside.png", L"..", L"."}) {
    CAPTURE(U8(image));
    CHECK_FALSE(IsPhotoFileName(image));
    Contact contact = NamedContact(L"", L"", L"", L"", 7);
    contact.Image = image;
    LoadPhoto(contact);
    CHECK(contact.photo.IsEmpty());
    contact.Image = image;
    CHECK_FALSE(DeletePhoto(contact));
    contact.Image = image;
    CHECK(SavePhoto(contact));
  }
  CHECK(testpaths::FileExists(data.File(L"outside.png")));
  CHECK(testpaths::FileExists(data.File(L"inner\\deep.png")));
  DeleteFileW(data.File(L"inner\\deep.png").c_str());
  RemoveDirectoryW(data.File(L"inner").c_str());
  CHECK(IsPhotoFileName(L"Ann_Lee.png"));
  CHECK(IsPhotoFileName(L"..png"));
}
