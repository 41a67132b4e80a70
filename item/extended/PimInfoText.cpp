#include "extended/PimInfoText.h"

#include <wctype.h>

const wchar_t kPimStartMarker[] = L"== start pim information ==";
const wchar_t kPimEndMarker[] = L"== end pim information ==";

const wchar_t kPimPhone[] = L"Phone";
const wchar_t kPimEmail[] = L"Email";
const wchar_t kPimMessenger[] = L"Messenger";
const wchar_t kPimWebPage[] = L"WebPage";
const wchar_t kPimAddress[] = L"Address";
const wchar_t kPimPeople[] = L"People";
const wchar_t kPimDate[] = L"Date";
const wchar_t kPimLink[] = L"Link";
const wchar_t kPimOtherProp[] = L"OtherProp";
const wchar_t kPimImage[] = L"Image";

const wchar_t kPimHomeFormat[] = L"Home";
const wchar_t kPimBusinessFormat[] = L"Business";
const wchar_t kPimOtherFormat[] = L"Other";

bool IsPimEscaped(wchar_t ch) { return ch == L'[' || ch == L']' || ch == L';' || ch == L':' || ch == L'\\'; }

bool IsPimStop(wchar_t ch) { return ch == L'[' || ch == L']' || ch == L';' || ch == L':'; }

bool IsPimBlank(wchar_t ch) { return ch != 0 && iswspace(ch) != 0; }

bool IsPimLetter(wchar_t ch) { return ch != 0 && iswalpha(ch) != 0; }

bool IsPimDigit(wchar_t ch) { return ch >= L'0' && ch <= L'9'; }

bool IsPimAlnum(wchar_t ch) { return IsPimLetter(ch) || IsPimDigit(ch); }
