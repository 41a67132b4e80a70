#include "extended/PimInfoReader.h"

#include "extended/PimInfoText.h"
#include "storage/props/PropsStore.h"

#include <string.h>
#include <wchar.h>

namespace {

// Where `what` first stands in `length` characters of `text` from `from` on, or -1.
int FindText(const wchar_t* text, int length, int from, const wchar_t* what) {
  int whatLength = static_cast<int>(wcslen(what));
  for (int i = from; i + whatLength <= length; ++i) {
    if (text[i] == what[0] && memcmp(text + i, what, whatLength * sizeof(wchar_t)) == 0) return i;
  }
  return -1;
}

bool AllDigits(const Str& text) {
  if (text.IsEmpty()) return false;
  const wchar_t* chars = text;
  for (int i = 0; i < text.GetLength(); ++i) {
    if (!IsPimDigit(chars[i])) return false;
  }
  return true;
}

// A decimal number of digits only; one too large for 32 bits stays at the largest there is.
uint32_t NumberOf(const Str& digits) {
  uint64_t value = 0;
  const wchar_t* chars = digits;
  for (int i = 0; i < digits.GetLength(); ++i) {
    value = value * 10 + static_cast<uint64_t>(chars[i] - L'0');
    if (value > 0xFFFFFFFFu) return 0xFFFFFFFFu;
  }
  return static_cast<uint32_t>(value);
}

void TrimRightBlank(Str& text) {
  int length = text.GetLength();
  const wchar_t* chars = text;
  while (length > 0 && IsPimBlank(chars[length - 1])) --length;
  if (length != text.GetLength()) text = Str(chars, length);
}

void TrimBlank(Str& text) {
  TrimRightBlank(text);
  int skip = 0;
  const wchar_t* chars = text;
  while (skip < text.GetLength() && IsPimBlank(chars[skip])) ++skip;
  if (skip != 0) text = Str(chars + skip, text.GetLength() - skip);
}

bool IsDigitAt(const Str& text, int index) { return IsPimDigit(static_cast<const wchar_t*>(text)[index]); }

// "yyyy.mm.dd" at time 0 as a file time. The characters at places 4 and 7 aren't looked at, so
// "2008/01/31" is a date too.
bool ParseDateValue(const Str& value, FILETIME& time) {
  if (value.GetLength() != 10) return false;
  static const int kDigitPlaces[] = {0, 1, 2, 3, 5, 6, 8, 9};
  for (int place : kDigitPlaces) {
    if (!IsDigitAt(value, place)) return false;
  }
  const wchar_t* chars = value;
  SYSTEMTIME date = {};
  date.wYear = static_cast<WORD>((chars[0] - L'0') * 1000 + (chars[1] - L'0') * 100 + (chars[2] - L'0') * 10 +
                                 (chars[3] - L'0'));
  date.wMonth = static_cast<WORD>((chars[5] - L'0') * 10 + (chars[6] - L'0'));
  date.wDay = static_cast<WORD>((chars[8] - L'0') * 10 + (chars[9] - L'0'));
  return SystemTimeToFileTime(&date, &time) != 0;
}

}  // namespace

PimInfoReader::PimInfoReader()
    : hasBlock(false), cursor(nullptr), blockEnd(nullptr), tokenStart(nullptr), tokenEnd(nullptr),
      isDelimiter(false) {}

PimInfoReader::~PimInfoReader() {}

void PimInfoReader::Clear() {
  ClearExtended();
  userText.Empty();
  hasBlock = false;
  cursor = nullptr;
  blockEnd = nullptr;
  tokenStart = nullptr;
  tokenEnd = nullptr;
  isDelimiter = false;
}

void PimInfoReader::CopyTo(ContactExtended& block) const { block.CopyExtended(*this); }

bool PimInfoReader::Parse(const wchar_t* text, int length) {
  Clear();
  if (text == nullptr || length <= 0) return true;
  // The text ends at its first zero character.
  const wchar_t* zero = wmemchr(text, 0, static_cast<size_t>(length));
  if (zero != nullptr) length = static_cast<int>(zero - text);

  int start = FindText(text, length, 0, kPimStartMarker);
  if (start < 0) {
    userText = Str(text, length);
    return true;
  }
  hasBlock = true;
  // The user's text on either side of the block, joined by one space: the line ends or paragraph
  // spaces that stood round the block go with it.
  int before = start;
  while (before > 0 && IsPimBlank(text[before - 1])) --before;
  userText = Str(text, before);
  int blockStart = start + static_cast<int>(wcslen(kPimStartMarker));
  int end = FindText(text, length, blockStart, kPimEndMarker);
  int blockLength = length;
  if (end >= 0) {
    blockLength = end;
    int behind = end + static_cast<int>(wcslen(kPimEndMarker));
    while (behind < length && IsPimBlank(text[behind])) ++behind;
    if (behind < length) {
      if (!userText.IsEmpty()) userText += L' ';
      userText += Str(text + behind, length - behind);
    }
  }
  cursor = text + blockStart;
  blockEnd = text + blockLength;
  bool parsed = ParseBlock();
  // Nothing of the caller's text is kept.
  cursor = nullptr;
  blockEnd = nullptr;
  tokenStart = nullptr;
  tokenEnd = nullptr;
  return parsed;
}

bool PimInfoReader::ParseBlock() {
  while (cursor < blockEnd && IsPimBlank(*cursor)) ++cursor;
  for (;;) {
    if (!SkipSpace()) return true;
    if (!NextToken()) return true;
    if (!IsPimLetter(*tokenStart)) return false;
    PutBack();
    Str name;
    if (!ReadText(name)) return false;
    TrimBlank(name);
    if (name.IsEmpty()) return false;
    if (!Expect(L':')) return false;
    if (!ParseSection(name)) return false;
  }
}

bool PimInfoReader::ParseSection(const Str& name) {
  int kind = 0;
  if (!PropsStore::KindFromName(name, kind))
    return SkipEntry();  // a section this reader doesn't know ends at its first "]"
  for (;;) {
    if (!SkipSpace()) return true;
    if (!Expect(L'[')) {
      PutBack();
      return true;
    }
    if (!ParseEntry(kind) && !SkipEntry()) return false;
  }
}

bool PimInfoReader::ParseEntry(int kind) {
  switch (kind) {
    case PropsKindPhone:
      return ParsePair(Phone);
    case PropsKindEmail:
      return ParsePair(Email);
    case PropsKindWebPage:
      return ParsePair(WebPage);
    case PropsKindPeople:
      return ParsePair(People);
    case PropsKindLink:
      return ParsePair(Link);
    case PropsKindOtherProp:
      return ParsePair(OtherProp);
    case PropsKindDate:
      return ParseDate();
    case PropsKindMessenger:
      return ParseMessenger();
    case PropsKindAddress:
      return ParseAddress();
    case PropsKindImage:
      return ParseImage();
    default:
      return false;
  }
}

bool PimInfoReader::Fail() {
  if (isDelimiter && TokenIs(L']')) PutBack();
  return false;
}

bool PimInfoReader::ReadLabel(Str& label) {
  if (!ReadText(label)) return false;
  if (label.IsEmpty() || !IsPimAlnum(static_cast<const wchar_t*>(label)[0])) return false;
  return Expect(L':');
}

bool PimInfoReader::ParsePair(LabelValueList& list) {
  Str label;
  Str value;
  if (!ReadLabel(label) || !ReadText(value) || !Expect(L']')) return Fail();
  Unescape(label);
  Unescape(value);
  if (value.IsEmpty()) return true;  // an entry without a value is dropped, and the section goes on
  LabelValue entry;
  entry.label = label;
  entry.value = value;
  list.Add(entry);
  return true;
}

bool PimInfoReader::ParseDate() {
  Str label;
  Str value;
  if (!ReadLabel(label) || !ReadText(value) || !Expect(L']')) return Fail();
  Unescape(label);
  Unescape(value);
  DateEntry entry;
  if (!ParseDateValue(value, entry.value)) return true;  // not a date: dropped
  entry.label = label;
  Date.Add(entry);
  return true;
}

bool PimInfoReader::ParseMessenger() {
  MessengerEntry entry;
  if (!ReadLabel(entry.kind) || !ReadText(entry.note) || !Expect(L';') || !ReadText(entry.id) ||
      !Expect(L']'))
    return Fail();
  Unescape(entry.kind);
  Unescape(entry.note);  // written as it is, read unescaped all the same
  Unescape(entry.id);
  if (!entry.id.IsEmpty()) Messenger.Add(entry);
  return true;
}

bool PimInfoReader::ParseAddress() {
  Str label;
  if (!ReadLabel(label)) return Fail();
  Unescape(label);

  Str fields[6];
  int count = 0;
  for (;;) {
    if (count == 6) return Fail();  // a seventh field
    if (!ReadText(fields[count])) return Fail();
    ++count;
    if (!NextToken()) return Fail();
    if (TokenIs(L']')) break;
    if (!TokenIs(L';')) return Fail();
  }
  for (int i = 0; i < count; ++i) TrimRightBlank(fields[i]);

  // [Home: 7] and its kin carry the address formats of the fixed fields, spelt exactly.
  if (count == 1 && AllDigits(fields[0])) {
    uint32_t* format = nullptr;
    if (Str::IsEqual(label, kPimHomeFormat))
      format = &HomeFormat;
    else if (Str::IsEqual(label, kPimBusinessFormat))
      format = &WorkFormat;
    else if (Str::IsEqual(label, kPimOtherFormat))
      format = &OtherFormat;
    if (format != nullptr) {
      *format = NumberOf(fields[0]);
      return true;
    }
  }
  if (!fields[5].IsEmpty() && !AllDigits(fields[5])) return Fail();

  AddressEntry entry;
  bool anyPart = false;
  for (int i = 0; i < 5; ++i) {
    Unescape(fields[i]);
    entry.parts[i] = fields[i];
    anyPart = anyPart || !fields[i].IsEmpty();
  }
  entry.format = fields[5].IsEmpty() ? 0 : NumberOf(fields[5]);
  entry.label = label;
  if (anyPart) Address.Add(entry);
  return true;
}

bool PimInfoReader::ParseImage() {
  Image.Empty();
  Str name;
  if (!ReadText(name) || !Expect(L']')) return Fail();
  Unescape(name);
  Image = name;
  return true;
}
