// Helpers of the photo tests: a data folder of the test's own, photos of known pixels, and the pixels
// of a photo read back.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

#include "PictureFiles.h"
#include "storage/contact/Contact.h"

namespace phototest {

// Points the data folder (FolderPath of Settings) at an empty folder of the temporary folder for the
// life of the object; afterwards the setting is gone again.
class OwnDataFolder {
 public:
  explicit OwnDataFolder(const std::wstring& name);
  ~OwnDataFolder();
  // The folder, without a trailing backslash.
  const std::wstring& Path() const { return folder; }
  std::wstring File(const std::wstring& name) const { return folder + L"\\" + name; }
  // The names of the files in it, sorted.
  std::vector<std::wstring> Files() const;
  // Deletes every file in it.
  void Empty() const;

 private:
  std::wstring folder;
};

// A photo of width x height with these colours, made as the library's pictures are made.
ContactPhoto MakePhoto(int width, int height, const pictures::Colours& colours);
// The photo's pixels as 0x00RRGGBB, rows from the top; empty for an empty photo.
std::vector<uint32_t> PhotoPixels(const ContactPhoto& photo);
// The colours as a list in the same order.
std::vector<uint32_t> ColoursOf(int width, int height, const pictures::Colours& colours);

// A contact with these names (any may be empty).
Contact NamedContact(const wchar_t* first, const wchar_t* middle, const wchar_t* last,
                     const wchar_t* title = L"", CEOID oid = 0);

// A picture's file: PNG of 24 bits made by the library, or BMP of 24 bits written by the test.
void WritePngFile(const std::wstring& path, int width, int height, const pictures::Colours& colours);
void WriteBmpFile(const std::wstring& path, int width, int height, const pictures::Colours& colours);

}  // namespace phototest
