// The tool's way to the device's contacts: tool contacts written through the item's own contact
// record, and contacts read back for printing.
#pragma once
#include <string>
#include "ToolCategories.h"
#include "ToolContact.h"
#include "storage/Contact.h"
#include "storage/ContactDatabase.h"

// Fills a contact record from a tool contact: texts, dates, the category mask (categories are made
// when missing) and the Note as plain wide text.
void ToContactRecord(const ToolContact& source, ToolCategories& categories, Contact& contact);

// The Note of a contact as readable text: plain wide or 8-bit text as it is; a rich document by size.
std::wstring NoteText(const Contact& contact);

// "yyyy-mm-dd" of a file time, or an empty text for 0.
std::wstring DateText(const FILETIME& time);
