#include "storage/contact/ContactPhotoFiles.h"

#include "foundation/DataFolder.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ImageLibrary.h"

namespace {

const wchar_t kNotInFileNames[] = L"\\/:*?\"<>|";

Str Clean(const Str& text) {
  Str clean;
  for (int i = 0; i < text.GetLength(); ++i) {
    const wchar_t ch = text[i];
    if (ch < 0x20 || wcschr(kNotInFileNames, ch) != nullptr) continue;
    clean += ch;
  }
  clean.TrimLeft(L" .");
  clean.TrimRight(L" .");
  return clean;
}

void AddPart(Str& base, const Str& part) {
  if (part.IsEmpty()) return;
  if (!base.IsEmpty()) base += L'_';
  base += part;
}

Str PathOf(const Str& folder, const Str& name) { return folder + L"\\" + name; }

bool IsFile(const Str& path) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool Exists(const Str& path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

// The extension of a file name, lowered; empty when it has none.
Str ExtensionOf(const Str& name, int dot) {
  Str extension = dot >= 0 ? name.Mid(dot + 1) : Str();
  extension.MakeLower();
  return extension;
}

// The picture `name` stands for in `folder` into `photo`: the file itself as PNG or BMP by its
// extension, or, when it is missing, the same name with ".bmp" as BMP.
void LoadNamed(const Str& folder, const Str& name, ContactPhoto& photo) {
  if (!IsPhotoFileName(name)) return;
  const int dot = name.ReverseFind(L'.');
  Str path = PathOf(folder, name);
  HBITMAP bitmap = nullptr;
  if (!IsFile(path)) {
    Str bmp = PathOf(folder, (dot >= 0 ? name.Left(dot) : name) + L".bmp");
    if (IsFile(bmp)) bitmap = ImageLoadBmp(bmp, nullptr, nullptr);
  } else {
    const Str extension = ExtensionOf(name, dot);
    if (extension == L"png") {
      bitmap = ImageLoadPng(path, nullptr, nullptr);
    } else if (extension == L"bmp") {
      bitmap = ImageLoadBmp(path, nullptr, nullptr);
    }
  }
  if (bitmap != nullptr) CopyToPhoto(bitmap, photo);
}

}  // namespace

bool IsPhotoFileName(const Str& name) {
  if (name.IsEmpty() || name.FindOneOf(L"\\/:") >= 0) return false;
  return name != L"." && name != L"..";
}

Str MakePhotoName(const Contact& contact, bool unique) {
  return MakePhotoName(contact, unique, unique ? GetDataFolder() : Str());
}

Str MakePhotoName(const Contact& contact, bool unique, const Str& folder) {
  Str base;
  AddPart(base, Clean(contact.text[ContactField::FirstName]));
  AddPart(base, Clean(contact.text[ContactField::MiddleName]));
  AddPart(base, Clean(contact.text[ContactField::LastName]));
  if (!base.IsEmpty()) {
    Str name = base + L".png";
    if (!unique || !Exists(PathOf(folder, name))) return name;
  }
  Str title = Clean(contact.text[ContactField::Title]);
  if (title.IsEmpty()) title.Format(L"%lu", static_cast<unsigned long>(contact.oid));
  AddPart(base, title);
  Str name = base + L".png";
  if (!unique) return name;
  for (unsigned long counter = 1; Exists(PathOf(folder, name)) && counter != 0; ++counter)
    name.Format(L"%s_%lu.png", static_cast<const wchar_t*>(base), counter);
  return name;
}

void LoadPhoto(Contact& contact) { LoadPhoto(contact, GetDataFolder()); }

void LoadPhoto(Contact& contact, const Str& folder) {
  contact.photo.Empty();
  contact.photoLoaded = true;
  if (!contact.Image.IsEmpty()) LoadNamed(folder, contact.Image, contact.photo);
  if (!contact.photo.IsEmpty()) return;
  // The name the photo would have now: a file given its name by the contact's names, or a name that
  // no longer matches them. `Image` takes it only when a picture is there, so that a contact without
  // one doesn't carry the name of a file that isn't there into its Note.
  const Str made = MakePhotoName(contact, false, folder);
  if (made.IsEmpty() || made == contact.Image) return;
  LoadNamed(folder, made, contact.photo);
  if (!contact.photo.IsEmpty()) contact.Image = made;
}

bool SavePhoto(Contact& contact) { return SavePhoto(contact, GetDataFolder()); }

bool SavePhoto(Contact& contact, const Str& folder) {
  if (IsPhotoFileName(contact.Image)) DeleteFileW(PathOf(folder, contact.Image));
  if (contact.photo.IsEmpty()) {
    // No name either: a name without its file could later stand for another contact's photo, and a
    // save would then delete that.
    contact.Image.Empty();
    return true;
  }
  contact.Image = MakePhotoName(contact, true, folder);
  HBITMAP bitmap = MakePhotoBitmap(contact.photo);
  if (bitmap == nullptr) return false;
  const bool saved = ImageSavePng(bitmap, PathOf(folder, contact.Image));
  const DWORD error = GetLastError();
  DeleteObject(bitmap);
  if (!saved) SetLastError(error ? error : ERROR_WRITE_FAULT);
  return saved;
}

bool DeletePhoto(const Contact& contact) { return DeletePhoto(contact, GetDataFolder()); }

bool DeletePhoto(const Contact& contact, const Str& folder) {
  const Str name = contact.Image.IsEmpty() ? MakePhotoName(contact, false, folder) : contact.Image;
  if (!IsPhotoFileName(name)) {
    SetLastError(ERROR_INVALID_NAME);
    return false;
  }
  const Str path = PathOf(folder, name);
  if (!IsFile(path)) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return false;
  }
  return DeleteFileW(path) != 0;
}
