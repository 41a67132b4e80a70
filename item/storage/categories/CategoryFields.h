// Reading and building the fields of a categories record.
#pragma once

#include "foundation/Str.h"
#include "storage/db/DbRecord.h"

#include <stdint.h>

// The 16-bit value of property `number`; false when the record lacks it or holds another type.
bool CategoryI2(const DbRecord& record, WORD number, int16_t& value);
// A 16-bit counter: its value, or 0 when the record lacks it.
int CategoryCount(const DbRecord& record, WORD number);
// The text of property `number`; false when the record lacks it or holds another type.
bool CategoryText(const DbRecord& record, WORD number, Str& text);
// Appends a 16-bit property that the record owns.
void AddCategoryI2(DbRecord& record, WORD number, int16_t value);
// Appends a text property that the record owns, with a copy of `text`.
void AddCategoryText(DbRecord& record, WORD number, const wchar_t* text);
