#include "storage/contact/ContactNames.h"

namespace {

bool Filled(const wchar_t* text) { return text != nullptr && text[0] != 0; }

}  // namespace

void BuildName(const wchar_t* last, const wchar_t* first, const wchar_t* company, const wchar_t* middle,
               const wchar_t* title, const wchar_t* suffix, Str& name, Str& second) {
  bool companyUsed = false;
  name.Empty();
  if (Filled(last)) {
    name = last;
    if (Filled(first)) {
      name += L", ";
      name += first;
    }
    if (Filled(middle)) {
      name += L" ";
      name += middle;
    }
  } else if (Filled(first) || Filled(middle)) {
    if (Filled(first)) name = first;
    if (Filled(first) && Filled(middle)) name += L" ";
    if (Filled(middle)) name += middle;
  } else if (Filled(company)) {
    name = company;
    companyUsed = true;
  } else if (Filled(title)) {
    name = title;
  } else if (Filled(suffix)) {
    name = suffix;
  }

  if (companyUsed)
    second.Empty();
  else
    second = company;
}

Str ListName(const wchar_t* last, const wchar_t* first, const wchar_t* company, const wchar_t* title) {
  if (Filled(last) && Filled(first)) return Str(last) + L", " + first;
  if (Filled(last)) return Str(last);
  if (Filled(first)) return Str(first);
  if (Filled(title)) return Str(title);
  if (Filled(company)) return Str(company);
  return Str();
}

Str ListName(const wchar_t* last, const wchar_t* first, const wchar_t* title) {
  return ListName(last, first, nullptr, title);
}
