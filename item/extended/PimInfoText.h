// PimInfoText: the words and characters of the block of extended data that a contact's Note carries:
// its marker lines, its section names and the characters that are escaped in it.
#pragma once

#include <windows.h>

extern const wchar_t kPimStartMarker[];  // "== start pim information =="
extern const wchar_t kPimEndMarker[];    // "== end pim information =="

// Section names as the writer writes them.
extern const wchar_t kPimPhone[];      // "Phone"
extern const wchar_t kPimEmail[];      // "Email"
extern const wchar_t kPimMessenger[];  // "Messenger"
extern const wchar_t kPimWebPage[];    // "WebPage"
extern const wchar_t kPimAddress[];    // "Address"
extern const wchar_t kPimPeople[];     // "People"
extern const wchar_t kPimDate[];       // "Date"
extern const wchar_t kPimLink[];       // "Link"
extern const wchar_t kPimOtherProp[];  // "OtherProp"
extern const wchar_t kPimImage[];      // "Image"

// Labels of the entries that carry the address formats of the fixed fields.
extern const wchar_t kPimHomeFormat[];      // "Home"
extern const wchar_t kPimBusinessFormat[];  // "Business"
extern const wchar_t kPimOtherFormat[];     // "Other"

// One of "[];:\": preceded by a backslash in every label, value, kind, id, address part and image name.
bool IsPimEscaped(wchar_t ch);
// One of "[];:": a character at which the scanner stops unless a backslash stands before it.
bool IsPimStop(wchar_t ch);
// White space as the scanner and the trimming know it.
bool IsPimBlank(wchar_t ch);
// A letter or a digit, with which labels, kinds and section names must begin.
bool IsPimAlnum(wchar_t ch);
bool IsPimLetter(wchar_t ch);
bool IsPimDigit(wchar_t ch);
