// The tool's way to the device's contacts: tool contacts written through the item's own contact
// record and Note writer, and contacts read back for printing.
#pragma once
#include <string>
#include <vector>
#include "ToolCategories.h"
#include "ToolContact.h"
#include "extended/ContactNote.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactDatabase.h"

// The texts, the two dates and the extended block of a tool contact in a contact record, without
// categories and Note.
void ToContactFields(const ToolContact& source, Contact& contact);

// Fills a contact record from a tool contact: texts, dates, the category mask (categories are made
// when missing), the extended block, and the Note: the user's text as plain wide text or as a rich
// document, with the extended block merged into it by the item's writer. False (with the last error)
// when the Note can't be made.
bool ToContactRecord(const ToolContact& source, ToolCategories& categories, ContactNote& note,
                     Contact& contact);

// The user's text as a rich document: the item's empty Note with one paragraph for each non-empty line.
bool RichNoteOf(const std::wstring& text, ByteBuffer& document);

// The Note of a contact as the item shows it: the user's text, with the block of extended data taken
// out into the contact's extended block. `understood` is false when the block is damaged.
std::wstring NoteText(ContactNote& note, Contact& contact, bool& understood);

// The extended block as lines for printing, "Phone (Dacha): +7 ...", in the order of the block.
std::vector<std::wstring> ExtendedLines(const ContactExtended& block);

// "yyyy-mm-dd" of a file time, or an empty text for 0.
std::wstring DateText(const FILETIME& time);

// Why the database refused to write `contact`: the value or the record that is too large for it, or
// else the error number.
std::wstring WhyRefused(const Contact& contact, DWORD error);

// Stores the photo of a contact just added as the item stores photos: a PNG file in the data folder
// under the name the item gives it (MakePhotoName), that name in `Image`, and the record written again
// so that its Note names the file. False with the reason; no file is then left behind and the record
// names none.
bool StorePhoto(Contact& contact, const Str& folder, ContactDatabase& database, ContactNote& note,
                std::wstring& why);

// Takes back the uses ToContactRecord counted for the contact's categories (after a refused write).
void UncountCategories(ToolCategories& categories, const Contact& contact);
