// How a contact's name is put together for the lists and the contact page.
#pragma once

#include "foundation/Str.h"

// `name` from the name parts, else the company, the title or the suffix; `second` is the company
// unless the company already became the name.
void BuildName(const wchar_t* last, const wchar_t* first, const wchar_t* company, const wchar_t* middle,
               const wchar_t* title, const wchar_t* suffix, Str& name, Str& second);

// "Last, First", or the one that exists, else the title, else the company, else "".
Str ListName(const wchar_t* last, const wchar_t* first, const wchar_t* company, const wchar_t* title);
// The same without a company: the title alone is the fallback.
Str ListName(const wchar_t* last, const wchar_t* first, const wchar_t* title);
