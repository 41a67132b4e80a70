#include "PhotoTestSupport.h"

#include <doctest/doctest.h>

#include <algorithm>

#include "TestPaths.h"
#include "foundation/Settings.h"
#include "pimutil/PimUtil.h"

namespace phototest {

OwnDataFolder::OwnDataFolder(const std::wstring& name) {
  folder = testpaths::TempFolder() + name;
  CreateDirectoryW(folder.c_str(), nullptr);
  Empty();
  REQUIRE(SetSettingString(SECTION_SETTINGS, L"FolderPath", folder.c_str(), TRUE));
}

OwnDataFolder::~OwnDataFolder() {
  Empty();
  RemoveDirectoryW(folder.c_str());
  DeleteSettingValue(SECTION_SETTINGS, L"FolderPath");
}

std::vector<std::wstring> OwnDataFolder::Files() const {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) names.push_back(found.cFileName);
  } while (FindNextFileW(search, &found));
  FindClose(search);
  std::sort(names.begin(), names.end());
  return names;
}

void OwnDataFolder::Empty() const {
  for (const std::wstring& name : Files()) DeleteFileW(File(name).c_str());
}

ContactPhoto MakePhoto(int width, int height, const pictures::Colours& colours) {
  ContactPhoto photo;
  REQUIRE(CopyToPhoto(pictures::MakeBitmap(width, height, colours), photo));
  return photo;
}

std::vector<uint32_t> PhotoPixels(const ContactPhoto& photo) {
  if (photo.IsEmpty()) return {};
  HBITMAP bitmap = MakePhotoBitmap(photo);
  REQUIRE(bitmap != nullptr);
  std::vector<uint32_t> pixels = pictures::PixelsOf(bitmap);
  DeleteObject(bitmap);
  return pixels;
}

std::vector<uint32_t> ColoursOf(int width, int height, const pictures::Colours& colours) {
  std::vector<uint32_t> list;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) list.push_back(colours(x, y));
  return list;
}

Contact NamedContact(const wchar_t* first, const wchar_t* middle, const wchar_t* last, const wchar_t* title,
                     CEOID oid) {
  Contact contact;
  contact.text[ContactField::FirstName] = first;
  contact.text[ContactField::MiddleName] = middle;
  contact.text[ContactField::LastName] = last;
  contact.text[ContactField::Title] = title;
  contact.oid = oid;
  return contact;
}

void WritePngFile(const std::wstring& path, int width, int height, const pictures::Colours& colours) {
  HBITMAP bitmap = pictures::MakeBitmap(width, height, colours);
  REQUIRE(bitmap != nullptr);
  REQUIRE(Util_SavePNG(bitmap, path.c_str()));
  DeleteObject(bitmap);
}

void WriteBmpFile(const std::wstring& path, int width, int height, const pictures::Colours& colours) {
  pictures::BmpLayout layout;
  layout.width = width;
  layout.height = height;
  layout.bitsPerPixel = 24;
  layout.value = colours;
  REQUIRE(testpaths::WriteFileBytes(path, pictures::MakeBmp(layout)));
}

}  // namespace phototest
