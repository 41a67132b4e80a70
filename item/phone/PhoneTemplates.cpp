#include "phone/PhoneTemplates.h"
#include <stdio.h>
#include <wchar.h>
#include "foundation/Settings.h"
#include "storage/contact/Contact.h"

namespace {

const wchar_t* const kDefaultTemplates[] = {
    L"##-##-##",     L"+# (###) ###-##-##", L"#-###-###-##-##",
    L"###-###-####", L"800-###-####",       L"212-#-##-##-##",
};

// The phone fields that are formatted, by property number, in the order in which they are taken.
const WORD kFormattedPhones[] = {0x4004, 0x4007, 0x3A24, 0x3A08, 0x3A1E, 0x3A2F,
                                 0x3A25, 0x3A09, 0x3A1C, 0x4009, 0x3A1D};

// The characters of `s` that aren't in `set`.
Str Outside(const wchar_t* s, const wchar_t* set) {
  Str out;
  for (; s && *s; ++s)
    if (!wcschr(set, *s)) out += *s;
  return out;
}

}  // namespace

void SplitAround(const Str& s, const wchar_t* set, Str& prefix, Str& core, Str& suffix) {
  const int first = FindFirstOf(0, s, set, FALSE);
  if (first < 0) {
    prefix.Empty();
    core = s;
    suffix.Empty();
    return;
  }
  const int last = FindLastOf(s, set);
  prefix = s.Left(first);
  core = s.Mid(first, last - first + 1);
  suffix = s.Mid(last + 1);
}

void SplitPrefix(const Str& prefix, Str& adjacent, Str& outer) {
  const int length = prefix.GetLength();
  int i = FindLastOf(prefix, kPrefixShapeChars);
  if (length == 0 || i != length - 1) {
    outer = prefix;
    adjacent.Empty();
    return;
  }
  while (i > 0 && wcschr(kOpenerChars, prefix[i - 1])) --i;
  outer = prefix.Left(i);
  adjacent = prefix.Mid(i);
}

void SplitSuffix(const Str& suffix, Str& adjacent, Str& outer) {
  if (suffix.IsEmpty() || suffix[0] == L' ' || !wcschr(kCloserChars, suffix[0])) {
    outer = suffix;
    adjacent.Empty();
    return;
  }
  int run = 0;
  while (run < suffix.GetLength() && wcschr(kCloserChars, suffix[run])) ++run;
  adjacent = suffix.Left(run);
  outer = suffix.Mid(run);
}

BOOL MatchCore(const wchar_t* tpl, const wchar_t* num) {
  if (!tpl || !*tpl || !num || !*num) return FALSE;
  // A number that keeps its own punctuation counts as formatted already.
  if (CountChars(num, kShapeChars) > 0) return FALSE;
  int t = FindFirstOf(0, tpl, kPlaceholderChars, FALSE);
  int n = FindFirstOf(0, num, kDigitChars, FALSE);
  while (t >= 0 && n >= 0) {
    if (tpl[t] != L'#' && tpl[t] != num[n]) return FALSE;
    t = FindFirstOf(t + 1, tpl, kPlaceholderChars, FALSE);
    n = FindFirstOf(n + 1, num, kDigitChars, FALSE);
  }
  if (t >= 0 || n >= 0) return FALSE;
  // What is neither position nor shape (letters, say) must be the same on both sides.
  Str tplRest = Outside(Outside(tpl, kPlaceholderChars), kShapeChars);
  Str numRest = Outside(num, kDigitChars);
  return _wcsicmp(tplRest, numRest) == 0;
}

BOOL FillTemplate(const wchar_t* tpl, const wchar_t* digits, Str& out) {
  out.Empty();
  if (!tpl || !digits) return FALSE;
  const int count = CountChars(digits, kDigitChars);
  const wchar_t* slots;
  if (count == CountChars(tpl, L"#"))
    slots = L"#";
  else if (count == CountChars(tpl, kPlaceholderChars))
    slots = kPlaceholderChars;
  else
    return FALSE;
  wchar_t buffer[PhoneTemplates::kMaxText];
  int length = 0;
  const wchar_t* next = digits;
  for (const wchar_t* c = tpl; *c; ++c) {
    if (length >= PhoneTemplates::kMaxText - 1) return FALSE;
    if (wcschr(slots, *c)) {
      while (*next && !wcschr(kDigitChars, *next)) ++next;
      buffer[length++] = *next++;
    } else {
      buffer[length++] = *c;
    }
  }
  buffer[length] = 0;
  out = buffer;
  return TRUE;
}

PhoneTemplates::PhoneTemplates() : isActive(0), ignoreFormat(0) {}
PhoneTemplates::~PhoneTemplates() {}

BOOL PhoneTemplates::Load() {
  Clear();
  const DWORD count = GetSettingDword(SECTION_TEMPLATES, L"Count", 0);
  if (count == 0) {
    SetDefaults();
  } else {
    for (DWORD i = 0; i < count; ++i) {
      wchar_t key[16];
      swprintf(key, 16, L"%lu", static_cast<unsigned long>(i));
      Str tpl = GetSettingString(SECTION_TEMPLATES, key, L"");
      // A refused template leaves Count as it is: the list may come out shorter.
      if (tpl.IsEmpty() || CountChars(tpl, kForbiddenChars) > 0) continue;
      Add(tpl);
    }
  }
  isActive = GetSettingDword(SECTION_TEMPLATES, L"IsActiveTemplate", 0) ? 1 : 0;
  ignoreFormat = GetSettingDword(SECTION_TEMPLATES, L"IsIgnorePhoneFormat", 0) ? 1 : 0;
  return TRUE;
}

BOOL PhoneTemplates::Save() const {
  BOOL saved = TRUE;
  for (int i = 0; i < templates.GetSize(); ++i) {
    wchar_t key[16];
    swprintf(key, 16, L"%d", i);
    saved &= SetSettingString(SECTION_TEMPLATES, key, templates[i], FALSE);
  }
  saved &= SetSettingDword(SECTION_TEMPLATES, L"Count", static_cast<DWORD>(templates.GetSize()), FALSE);
  saved &= SetSettingDword(SECTION_TEMPLATES, L"IsIgnorePhoneFormat", ignoreFormat ? 1 : 0, FALSE);
  saved &= SetSettingDword(SECTION_TEMPLATES, L"IsActiveTemplate", isActive ? 1 : 0, TRUE);
  return saved ? TRUE : FALSE;
}

void PhoneTemplates::SetDefaults() {
  Clear();
  for (const wchar_t* tpl : kDefaultTemplates) Add(tpl);
}

void PhoneTemplates::Add(const wchar_t* tpl) {
  templates.Add(Str(tpl));
  digitCounts.Add(CountChars(tpl, kPlaceholderChars));
}

void PhoneTemplates::Insert(int position, const wchar_t* tpl) {
  if (position < 0 || position > templates.GetSize()) position = 0;
  templates.InsertAt(position, Str(tpl));
  digitCounts.InsertAt(position, CountChars(tpl, kPlaceholderChars));
}

void PhoneTemplates::Remove(int position) {
  if (position < 0 || position >= templates.GetSize()) return;
  templates.RemoveAt(position);
  digitCounts.RemoveAt(position);
}

void PhoneTemplates::Clear() {
  templates.RemoveAll();
  digitCounts.RemoveAll();
}

Str PhoneTemplates::Get(int position) const {
  if (position < 0 || position >= templates.GetSize()) return Str();
  return templates[position];
}

int PhoneTemplates::GetDigitCount(int position) const {
  if (position < 0 || position >= digitCounts.GetSize()) return -1;
  return digitCounts[position];
}

void PhoneTemplates::SortByDigits() {
  const int count = templates.GetSize();
  for (int i = 0; i < count - 1; ++i) {
    for (int j = i + 1; j < count; ++j) {
      if (digitCounts[j] >= digitCounts[i]) continue;
      Str tpl = templates[i];
      templates[i] = templates[j];
      templates[j] = tpl;
      const int32_t digits = digitCounts[i];
      digitCounts[i] = digitCounts[j];
      digitCounts[j] = digits;
    }
  }
}

BOOL PhoneTemplates::TryTemplate(int index, const Str& core, const Str& numPre, const Str& numPost,
                                 Str& filled, Str& tplOuterPre, Str& tplAdjPre, Str& tplAdjPost,
                                 Str& tplOuterPost) const {
  Str tplPre, tplCore, tplPost;
  SplitAround(templates[index], kPlaceholderChars, tplPre, tplCore, tplPost);
  SplitPrefix(tplPre, tplAdjPre, tplOuterPre);
  SplitSuffix(tplPost, tplAdjPost, tplOuterPost);
  // The number's own signs next to it must be ones the template has there too.
  if (!numPre.IsEmpty() && tplAdjPre.Find(numPre) < 0) return FALSE;
  if (!numPost.IsEmpty() && tplAdjPost.Find(numPost) < 0) return FALSE;
  if (!MatchCore(tplCore, core)) return FALSE;
  wchar_t digits[kMaxText];
  // A core too long for the buffer comes out empty, and the fill then fails.
  KeepChars(core, digits, kDigitChars, kMaxText);
  return FillTemplate(tplCore, digits, filled);
}

BOOL PhoneTemplates::FormatNumber(Str& number) const {
  if (!isActive || templates.GetSize() == 0 || number.IsEmpty()) return FALSE;
  const int digits = CountChars(number, kDigitChars);
  if (digits == 0) return FALSE;

  Str pre, core, post;
  SplitAround(number, kDigitChars, pre, core, post);
  if (ignoreFormat) core.Remove(L'-');
  core.Remove(L' ');
  Str numPre, numOuterPre, numPost, numOuterPost;
  SplitPrefix(pre, numPre, numOuterPre);
  SplitSuffix(post, numPost, numOuterPost);

  // A template with a fixed code is tried before the general ones of the same length.
  Str filled, tplOuterPre, tplAdjPre, tplAdjPost, tplOuterPost;
  bool found = false;
  for (int pass = 0; pass < 2 && !found; ++pass) {
    for (int i = 0; i < templates.GetSize() && !found; ++i) {
      if (digitCounts[i] != digits) continue;
      if (pass == 0 && CountChars(templates[i], kDigitChars) == 0) continue;
      found = TryTemplate(i, core, numPre, numPost, filled, tplOuterPre, tplAdjPre, tplAdjPost, tplOuterPost);
    }
  }
  if (!found) return FALSE;

  Str out;
  if (!tplOuterPre.IsEmpty() && _wcsicmp(tplOuterPre, numOuterPre) != 0) out += tplOuterPre + L' ';
  out += numOuterPre;
  out += numPre.IsEmpty() ? tplAdjPre : numPre;
  out += filled;
  out += numPost.IsEmpty() ? tplAdjPost : numPost;
  out += numOuterPost;
  if (!tplOuterPost.IsEmpty() && _wcsicmp(tplOuterPost, numOuterPost) != 0) out += L' ' + tplOuterPost;
  number = out;
  return TRUE;
}

void PhoneTemplates::FormatContact(Contact& contact) const {
  if (!isActive || templates.GetSize() == 0) return;
  for (WORD property : kFormattedPhones) {
    const int field = ContactFieldOfProperty(property);
    if (field >= 0) FormatNumber(contact.text[field]);
  }
  for (int i = 0; i < contact.Phone.GetSize(); ++i) FormatNumber(contact.Phone[i].value);
}
