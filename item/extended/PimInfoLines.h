// PimInfoLines: the lines of the block of extended data, each encoded as the text of one rich Note
// paragraph (bytes in hexadecimal, text as it stands after escaping where that applies):
//
//   marker          E5 01 00 E6 08 00 E8 07 00 E9 01 EA 01, marker, E8 04 00 E9 00 EA 00 C4 00
//   section header  E5 01 00 E6 08 00 E8 07 00, name, 3A E8 04 00 C4 00
//   pair            E5 01 00 E6 08 00 5B E8 07 00, label, 3A E8 04 00 20, value, 5D C4 00
//   messenger       a pair of kind and "note; id" (the note isn't escaped)
//   address         a pair of label and "part0; part1; part2; part3; part4; format"
//   image           E5 01 00 E6 08 00 5B, name, 5D C4 00
//   plain           E5 01 00 E6 08 00, text, C4 00
//
// Every line is a new block of malloc'd bytes that the caller frees with FreeNoteLine.
#pragma once

#include "extended/NoteBlob.h"
#include "foundation/Str.h"
#include "storage/contact/ContactExtended.h"

#include <stdint.h>

NoteLine PimMarkerLine(const wchar_t* marker);
NoteLine PimSectionLine(const wchar_t* name);
NoteLine PimPairLine(const Str& label, const Str& value);
NoteLine PimMessengerLine(const MessengerEntry& entry);
NoteLine PimAddressLine(const Str& label, const Str* parts, uint32_t format);
// A format entry of the fixed fields' addresses, [Home: n] and its kin.
NoteLine PimFormatLine(const wchar_t* label, uint32_t format);
NoteLine PimImageLine(const Str& name);
NoteLine PimPlainLine(const wchar_t* text, int count);
void FreeNoteLine(NoteLine& line);
