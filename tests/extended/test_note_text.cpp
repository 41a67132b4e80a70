// The paragraph text encoding of rich Notes: every code of the table, both ways, and its errors.
#include "ExtendedTestSupport.h"

#include "extended/NoteBlob.h"

#include <doctest/doctest.h>

using namespace exttest;

namespace {

int Count(const Bytes& text) { return CountChars(text.data(), static_cast<uint32_t>(text.size())); }

// The decoded text and the result.
std::pair<std::wstring, int> Decode(const Bytes& text) {
  Str out;
  int result = DecodeText(text.data(), static_cast<uint32_t>(text.size()), out);
  return {W(out), result};
}

Bytes Encode(wchar_t ch) {
  BYTE out[3] = {0, 0, 0};
  uint32_t length = EncodeNoteChar(ch, out);
  return Bytes(out, out + length);
}

}  // namespace

TEST_CASE("characters below 0x80 take one byte, up to 0x7FF two, above that three with the lead byte C0") {
  CHECK(Encode(L'A') == Bytes{0x41});
  CHECK(Encode(0) == Bytes{0x00});
  CHECK(Encode(0x7F) == Bytes{0x7F});
  CHECK(Encode(0x80) == Bytes{0x80, 0x02});
  CHECK(Encode(L'ä') == Bytes{0xA4, 0x03});  // 0xE4: (E4 & 3F) | 80, E4 >> 6
  CHECK(Encode(L'Ж') == Bytes{0x96, 0x10});  // 0x416
  CHECK(Encode(0x7FF) == Bytes{0xBF, 0x1F});
  CHECK(Encode(0x800) == Bytes{0xC0, 0x00, 0x08});
  CHECK(Encode(0x20AC) == Bytes{0xC0, 0xAC, 0x20});
  CHECK(EncodedNoteLength(L"aЖ€", 3) == 6);
}

TEST_CASE("a Cyrillic label survives encoding in two bytes a character") {
  std::wstring label = L"Рабочий телефон";
  Bytes text;
  for (wchar_t ch : label) {
    Bytes one = Encode(ch);
    CHECK(one.size() == (ch < 0x80 ? 1u : 2u));
    text.insert(text.end(), one.begin(), one.end());
  }
  CHECK(text.size() == 14 * 2 + 1);
  CHECK(Count(text) == static_cast<int>(label.size()));
  std::pair<std::wstring, int> decoded = Decode(text);
  CHECK(decoded.second == 0);
  CHECK(U8(decoded.first) == U8(label));
}

TEST_CASE("a character above 0x7FF is written but cuts its paragraph when read back") {
  Bytes text = ParagraphOf(L"price 5€ only");
  CHECK(Count(text) == kNoteBadCode);
  std::pair<std::wstring, int> decoded = Decode(text);
  CHECK(decoded.second == kNoteBadCode);
  CHECK(U8(decoded.first) == "price 5");
}

TEST_CASE("every code of the table: its length, its text and whether it counts") {
  // Characters.
  CHECK(Decode({0x61, 0x7F}).first == std::wstring(L"a\x7F"));
  CHECK(Decode({0xA4, 0x03}).first == L"ä");
  CHECK(Decode({0x80, 0xFF}).first == std::wstring(1, static_cast<wchar_t>(0xFF * 64)));
  CHECK(Decode({0xC1, 0xE9}).first == L"é");
  CHECK(Count({0x61, 0xA4, 0x03, 0xC1, 0xE9}) == 3);
  // A reference to an object: three bytes, no text, no count.
  CHECK(Decode({0x61, 0xC2, 0x34, 0x12, 0x62}).first == L"ab");
  CHECK(Count({0xC2, 0x34, 0x12}) == 0);
  // Controls without text.
  for (BYTE lead : {0xC3, 0xC5, 0xE5, 0xE6, 0xE7, 0xE8}) {
    CAPTURE(static_cast<int>(lead));
    Bytes text = {lead, 0x41, 0x42, 0x63};
    CHECK(Decode(text).first == L"c");
    CHECK(Count(text) == 1);
  }
  for (BYTE lead : {0xE9, 0xEA, 0xEB, 0xEC}) {
    CAPTURE(static_cast<int>(lead));
    Bytes text = {lead, 0x41, 0x63};
    CHECK(Decode(text).first == L"c");
    CHECK(Count(text) == 1);
  }
  CHECK(Decode({0xEF, 1, 2, 3, 0x63}).first == L"c");
  CHECK(Decode({0xF1, 1, 2, 3, 4, 5, 6, 7, 0x63}).first == L"c");
  CHECK(Count({0xEF, 1, 2, 3, 0xF1, 1, 2, 3, 4, 5, 6, 7}) == 0);
  // C4: end of paragraph and tab count, the others don't; a tab decodes as a tab.
  CHECK(Decode({0x61, 0xC4, 0x04, 0x62, 0xC4, 0x00}).first == L"a\tb");
  CHECK(Count({0x61, 0xC4, 0x04, 0x62, 0xC4, 0x00}) == 4);
  CHECK(Decode({0xC4, 0x19, 0x41, 0x42, 0x63}).first == L"c");
  CHECK(Decode({0xC4, 0x1B, 1, 2, 3, 4, 5, 6, 0x63}).first == L"c");
  CHECK(Count({0xC4, 0x19, 0x41, 0x42, 0xC4, 0x1B, 1, 2, 3, 4, 5, 6}) == 0);
}

TEST_CASE(
    "an unknown lead byte is error -25, an unknown control after C4 error -15, and the scan ends there") {
  for (int lead : {0xC0, 0xC6, 0xD0, 0xE4, 0xED, 0xEE, 0xF0, 0xF2, 0xFF}) {
    CAPTURE(lead);
    Bytes text = {0x61, static_cast<BYTE>(lead), 0x62, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68};
    CHECK(Count(text) == kNoteBadCode);
    std::pair<std::wstring, int> decoded = Decode(text);
    CHECK(decoded.second == kNoteBadCode);
    CHECK(decoded.first == L"a");
  }
  CHECK(kNoteBadCode == -25);
  CHECK(kNoteBadControl == -15);
  for (int control : {0x01, 0x05, 0x1A, 0xFF}) {
    CAPTURE(control);
    Bytes text = {0x61, 0xC4, static_cast<BYTE>(control), 0x62};
    CHECK(Count(text) == kNoteBadControl);
    std::pair<std::wstring, int> decoded = Decode(text);
    CHECK(decoded.second == kNoteBadControl);
    CHECK(decoded.first == L"a");
  }
}

TEST_CASE("a code cut off by the end of the text is an error, and nothing past the end is read") {
  const Bytes cut[] = {{0x80},
                       {0xC1},
                       {0xC2, 0x01},
                       {0xC3},
                       {0xC4},
                       {0xC4, 0x19, 0x00},
                       {0xC4, 0x1B, 1, 2, 3},
                       {0xE5, 0x01},
                       {0xE9},
                       {0xEF, 1, 2},
                       {0xF1, 1, 2, 3, 4, 5, 6}};
  for (const Bytes& tail : cut) {
    Bytes text = {0x61};
    text.insert(text.end(), tail.begin(), tail.end());
    CAPTURE(Hex(text));
    PageGuardedCopy guarded(text.data(), text.size());
    int count = CountChars(guarded.Data(), static_cast<uint32_t>(guarded.Size()));
    CHECK(count < 0);
    Str out;
    CHECK(DecodeText(guarded.Data(), static_cast<uint32_t>(guarded.Size()), out) < 0);
    CHECK(U8(out) == "a");
  }
  // A lone C4 at the end names no control.
  CHECK(Count({0x61, 0xC4}) == kNoteBadControl);
}

TEST_CASE("DecodeText appends to what the string holds; an empty or missing text gives 0 and nothing") {
  Str out(L"before ");
  CHECK(DecodeText(ParagraphOf(L"after").data(), 13, out) == 0);
  CHECK(U8(out) == "before after");
  CHECK(DecodeText(nullptr, 10, out) == 0);
  CHECK(CountChars(nullptr, 10) == 0);
  CHECK(Count({}) == 0);
  CHECK(U8(out) == "before after");
}
