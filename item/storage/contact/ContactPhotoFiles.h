// The files of contacts' photos. A photo is a PNG or BMP file in the user's data folder whose name
// stands in `Image` of the contact's extended block; these calls find, read, write and delete it.
#pragma once

#include "foundation/Str.h"

class Contact;

// The file name a photo of `contact` takes: the cleaned first, middle and last names joined by "_",
// with ".png". With `unique`, a name whose file exists already isn't taken. Without names, or when
// that name is taken, the title (or, without one, the record id in decimal) is added, and with
// `unique` a counter from 1 after one more "_" until a free name is found. Cleaning leaves out what a
// file name can't hold (control characters and \ / : * ? " < > |) and blanks and dots at either end.
Str MakePhotoName(const Contact& contact, bool unique);
// The same with the data folder given, for a caller that has read it once.
Str MakePhotoName(const Contact& contact, bool unique, const Str& folder);

// Each call without a folder reads the data folder (GetDataFolder) itself: a setting and a look at the
// folder, dearer than the rest for a contact without a photo. A caller that reads many contacts reads
// the folder once and gives it.

// Reads the contact's photo: clears it and sets `photoLoaded`, then tries the file `Image` names (a
// missing one as the same name with ".bmp"), and then the name MakePhotoName(contact, false) makes
// when that differs. A picture found under the made name puts that name in `Image`. Never fails: a
// picture that can't be read leaves the photo empty.
void LoadPhoto(Contact& contact);
void LoadPhoto(Contact& contact, const Str& folder);

// Writes the contact's photo: the file `Image` names is deleted; a contact with pixels gets a new
// unique name in `Image` and its pixels written there as PNG (false with the last error when that
// fails); one without pixels has no photo file and no name any more, which is true.
bool SavePhoto(Contact& contact);
bool SavePhoto(Contact& contact, const Str& folder);

// Deletes the file `Image` names, or the one MakePhotoName(contact, false) makes when `Image` is
// empty. True only when that file was there and is deleted.
bool DeletePhoto(const Contact& contact);
bool DeletePhoto(const Contact& contact, const Str& folder);

// True when `name` names a file right in the data folder: not empty, no folder, no drive, not "." or
// "..". Other names in `Image` (the Note comes from anywhere) are never read, written or deleted.
bool IsPhotoFileName(const Str& name);
