// The tag language, read in two passes of the same rules: one that counts the characters left when
// the tags are gone, and one that stores them with their attributes.
#include "presentation/MarkupText.h"
#include <stdlib.h>
#include <wchar.h>

namespace {

enum TagKind { kNoTag, kStyleOn, kStyleOff, kRule, kColor, kColorOff, kSize, kSizeOff };

struct Tag {
  TagKind kind;
  int length;     // characters of the source that the tag takes
  uint16_t bits;  // kStyleOn, kStyleOff: the style bit
  long value;     // kColor: 0xRRGGBB; kSize: points
};

uint16_t StyleBit(wchar_t letter) {
  switch (letter) {
    case L'B':
    case L'b':
      return kMarkupBold;
    case L'I':
    case L'i':
      return kMarkupItalic;
    case L'U':
    case L'u':
      return kMarkupUnderline;
    case L'S':
    case L's':
      return kMarkupStrikeOut;
    default:
      return 0;
  }
}

bool IsSizeLetter(wchar_t letter) { return letter == L'P' || letter == L'p'; }

// The number in `count` characters from `digits`, read as wcstol reads it: blanks, a sign and in
// base 16 a "0x" are taken, and the value is what stands before the first character that doesn't fit.
long ReadNumber(const wchar_t* digits, int count, int base) {
  wchar_t field[8];
  wmemcpy(field, digits, static_cast<size_t>(count));
  field[count] = 0;
  return wcstol(field, nullptr, base);
}

Tag MakeTag(TagKind kind, int length, uint16_t bits = 0, long value = 0) {
  Tag tag = {kind, length, bits, value};
  return tag;
}

// The tag that begins at `i` of the `n` characters of `s`, or kNoTag when the '<' there is text.
// The forms are tried in a fixed order; a form whose frame fits but whose letter is unknown makes
// the '<' text at once.
Tag ReadTag(const wchar_t* s, int i, int n) {
  if (i + 3 < n && s[i + 1] == L'/' && s[i + 3] == L'>') {
    wchar_t letter = s[i + 2];
    if (uint16_t bit = StyleBit(letter)) return MakeTag(kStyleOff, 4, bit);
    if (IsSizeLetter(letter)) return MakeTag(kSizeOff, 4);
    if (letter == L'#') return MakeTag(kColorOff, 4);
    return MakeTag(kNoTag, 0);
  }
  if (i + 2 < n && s[i + 2] == L'>') {
    wchar_t letter = s[i + 1];
    if (uint16_t bit = StyleBit(letter)) return MakeTag(kStyleOn, 3, bit);
    if (letter == L'L' || letter == L'l') return MakeTag(kRule, 3);
    return MakeTag(kNoTag, 0);
  }
  if (i + 8 < n && s[i + 1] == L'#' && s[i + 8] == L'>')
    return MakeTag(kColor, 9, 0, ReadNumber(s + i + 2, 6, 16));
  if (i + 4 < n && IsSizeLetter(s[i + 1]) && s[i + 4] == L'>')
    return MakeTag(kSize, 5, 0, ReadNumber(s + i + 2, 2, 10));
  return MakeTag(kNoTag, 0);
}

// 0xRRGGBB as the platform's 0x00BBGGRR.
uint32_t ColorOf(long rgb) {
  uint32_t value = static_cast<uint32_t>(rgb);
  return ((value >> 16) & 0xFF) | (value & 0xFF00) | ((value & 0xFF) << 16);
}

int CountPlainChars(const wchar_t* s, int n) {
  int chars = 0;
  for (int i = 0; i < n;) {
    Tag tag = s[i] == L'<' ? ReadTag(s, i, n) : MakeTag(kNoTag, 0);
    if (tag.kind == kNoTag) {
      ++chars;
      ++i;
      continue;
    }
    if (tag.kind == kRule) ++chars;
    i += tag.length;
  }
  return chars;
}

}  // namespace

void MarkupText::Parse(const wchar_t* source) {
  Parse(source, source ? static_cast<int>(wcslen(source)) : 0);
}

void MarkupText::Parse(const wchar_t* source, int sourceLength) {
  Clear();
  if (!source || sourceLength <= 0) return;
  int chars = CountPlainChars(source, sourceLength);
  if (chars == 0) return;

  text.SetSize(chars + 1);
  attrs.SetSize(chars);
  widths.SetSize(chars);
  wchar_t* out = text.GetData();
  MarkupCharAttr* outAttrs = attrs.GetData();
  uint16_t style = 0;
  uint32_t color = 0;
  int stored = 0;
  for (int i = 0; i < sourceLength;) {
    wchar_t ch = source[i];
    Tag tag = ch == L'<' ? ReadTag(source, i, sourceLength) : MakeTag(kNoTag, 0);
    uint16_t charStyle = style;
    switch (tag.kind) {
      case kNoTag:
        ++i;
        break;
      case kRule:
        ch = L'\n';
        charStyle = static_cast<uint16_t>(style | kMarkupRule);
        break;
      case kStyleOn:
        style = static_cast<uint16_t>(style | tag.bits);
        break;
      case kStyleOff:
        style = static_cast<uint16_t>(style & ~tag.bits);
        break;
      case kColor:
        color = ColorOf(tag.value);
        break;
      case kColorOff:
        color = 0;
        break;
      case kSize:
        style = static_cast<uint16_t>((style & ~kMarkupSizeMask) | ((tag.value & 0xFF) << 8));
        break;
      case kSizeOff:
        style = static_cast<uint16_t>(style & ~kMarkupSizeMask);
        break;
    }
    i += tag.length;
    if (tag.kind != kNoTag && tag.kind != kRule) continue;
    out[stored] = ch;
    MarkupCharAttr& attr = outAttrs[stored];
    attr.style = charStyle;
    attr.fontIndex = fontCache ? static_cast<uint16_t>(fontCache->GetFontIndex(charStyle)) : kMarkupNoFont;
    attr.color = color;
    ++stored;
  }
  out[stored] = 0;
  length = static_cast<uint32_t>(stored);
}
