// The block of extended data read from a Note's text: markers, sections, every entry kind, escapes,
// dates, and what broken text costs.
#include "ExtendedTestSupport.h"

#include "extended/PimInfoReader.h"
#include "extended/PimInfoText.h"

#include <doctest/doctest.h>

using namespace exttest;

namespace {

const std::wstring kStart = kPimStartMarker;
const std::wstring kEnd = kPimEndMarker;

bool Parse(PimInfoReader& reader, const std::wstring& text) {
  return reader.Parse(text.c_str(), static_cast<int>(text.size()));
}

std::wstring Block(const std::wstring& body) { return kStart + L"\r\n" + body + L"\r\n" + kEnd; }

std::string Pairs(const LabelValueList& list) {
  std::string out;
  for (int i = 0; i < list.GetSize(); ++i) out += "[" + U8(list[i].label) + "|" + U8(list[i].value) + "]";
  return out;
}

}  // namespace

TEST_CASE("a Note with no markers: userText is the whole, nothing else changes") {
  PimInfoReader reader;
  std::wstring text = L"Phone: [Work: 123]\r\nno block here";
  CHECK(Parse(reader, text));
  CHECK_FALSE(reader.HasBlock());
  CHECK(W(reader.UserText()) == text);
  CHECK(reader.Phone.GetSize() == 0);
  ContactExtended block;
  reader.CopyTo(block);
  CHECK(block.IsExtendedEmpty());
  CHECK(Parse(reader, L""));
  CHECK(reader.UserText().IsEmpty());
}

TEST_CASE(
    "a start marker without an end: the block runs to the end of the text, userText is what came before") {
  PimInfoReader reader;
  CHECK(Parse(reader, L"Before\r\n" + kStart + L"\r\nPhone:\r\n[Work: 123]\r\n[Home: 456]"));
  CHECK(reader.HasBlock());
  CHECK(U8(reader.UserText()) == "Before");
  CHECK(Pairs(reader.Phone) == "[Work|123][Home|456]");
}

TEST_CASE("the block ends at the first zero character, and so does the text") {
  PimInfoReader reader;
  std::wstring text = L"x " + kStart + L" Phone: [Work: 1]";
  text += L'\0';
  text += L"[Home: 2] " + kEnd + L" hidden";
  CHECK(Parse(reader, text));
  CHECK(Pairs(reader.Phone) == "[Work|1]");
  CHECK(U8(reader.UserText()) == "x");
}

TEST_CASE("text before and after the block: userText joins them with one space") {
  PimInfoReader reader;
  // As a plain Note with its lines around the block.
  CHECK(Parse(reader, L"First part\r\n" + Block(L"Phone:\r\n[Work: 1]") + L"\r\nSecond part"));
  CHECK(U8(reader.UserText()) == "First part Second part");
  // As a rich Note's text: paragraphs joined by spaces.
  CHECK(Parse(reader, L"First part " + kStart + L" Phone: [Work: 1] " + kEnd + L" Second part"));
  CHECK(U8(reader.UserText()) == "First part Second part");
  // Nothing on one side: no space.
  CHECK(Parse(reader, Block(L"Phone: [Work: 1]") + L"\r\nOnly after"));
  CHECK(U8(reader.UserText()) == "Only after");
  CHECK(Parse(reader, L"Only before " + Block(L"Phone: [Work: 1]") + L"  \r\n"));
  CHECK(U8(reader.UserText()) == "Only before");
}

TEST_CASE("every section and entry kind") {
  PimInfoReader reader;
  std::wstring body =
      L"Phone:\r\n[Work 2: +1 (555) 010-0000]\r\n[Дача: 8 (812) 123-45-67]\r\n"
      L"Email:\r\n[Private: me@example.org]\r\n"
      L"Messenger:\r\n[ICQ: at night; 12345678]\r\n[Jabber: ; me\\@x]\r\n"
      L"WebPage:\r\n[Blog: http\\://example.org/a\\;b]\r\n"
      L"Address:\r\n[Home: 7]\r\n[Business: 12]\r\n[Other: 3]\r\n[Dacha: 1 Forest Rd; Pine; ; 12345; Russia; "
      L"4]\r\n"
      L"People:\r\n[Brother: Ivan]\r\n"
      L"Date:\r\n[Wedding: 1999.06.30]\r\n"
      L"Link:\r\n[Contract: \\\\server\\share\\c.doc]\r\n"
      L"OtherProp:\r\n[Blood: A\\[II\\]]\r\n"
      L"Image:\r\n[photo \\[1\\].jpg]";
  CHECK(Parse(reader, Block(body)));
  CHECK(Pairs(reader.Phone) == "[Work 2|+1 (555) 010-0000][Дача|8 (812) 123-45-67]");
  CHECK(Pairs(reader.Email) == "[Private|me@example.org]");
  REQUIRE(reader.Messenger.GetSize() == 2);
  CHECK(U8(reader.Messenger[0].kind) == "ICQ");
  CHECK(U8(reader.Messenger[0].note) == "at night");
  CHECK(U8(reader.Messenger[0].id) == "12345678");
  CHECK(U8(reader.Messenger[1].kind) == "Jabber");
  CHECK(reader.Messenger[1].note.IsEmpty());
  CHECK(U8(reader.Messenger[1].id) == "me\\@x");  // a backslash before anything else stays
  CHECK(Pairs(reader.WebPage) == "[Blog|http://example.org/a;b]");
  CHECK(reader.HomeFormat == 7);
  CHECK(reader.WorkFormat == 12);
  CHECK(reader.OtherFormat == 3);
  REQUIRE(reader.Address.GetSize() == 1);
  const AddressEntry& address = reader.Address[0];
  CHECK(U8(address.label) == "Dacha");
  CHECK(U8(address.parts[0]) == "1 Forest Rd");
  CHECK(U8(address.parts[1]) == "Pine");
  CHECK(address.parts[2].IsEmpty());
  CHECK(U8(address.parts[3]) == "12345");
  CHECK(U8(address.parts[4]) == "Russia");
  CHECK(address.format == 4);
  CHECK(Pairs(reader.People) == "[Brother|Ivan]");
  REQUIRE(reader.Date.GetSize() == 1);
  CHECK(U8(reader.Date[0].label) == "Wedding");
  FILETIME wedding = Midnight(1999, 6, 30);
  CHECK(reader.Date[0].value.dwLowDateTime == wedding.dwLowDateTime);
  CHECK(reader.Date[0].value.dwHighDateTime == wedding.dwHighDateTime);
  CHECK(Pairs(reader.Link) == "[Contract|\\server\\share\\c.doc]");
  CHECK(Pairs(reader.OtherProp) == "[Blood|A[II]]");
  CHECK(U8(reader.Image) == "photo [1].jpg");

  ContactExtended block;
  reader.CopyTo(block);
  CHECK(block.Phone.GetSize() == 2);
  CHECK(block.HomeFormat == 7);
  CHECK(U8(block.Image) == "photo [1].jpg");
  CHECK(block.Equals(block));
  ContactExtended again;
  reader.CopyTo(again);
  CHECK(again.Equals(block));
}

TEST_CASE("section names are matched without regard to case; entries may stand on one line") {
  PimInfoReader reader;
  CHECK(Parse(reader, Block(L"PHONE: [a: 1] [b: 2] email:[c: 3]   webpage :  [d :  4  ]")));
  CHECK(Pairs(reader.Phone) == "[a|1][b|2]");
  CHECK(Pairs(reader.Email) == "[c|3]");
  CHECK(Pairs(reader.WebPage) == "[d|4]");
}

TEST_CASE("a value that ends in a backslash runs on into the next entry and both are lost") {
  PimInfoReader reader;
  // The writer doubles the backslash: [Path: C:\\] -- the scanner then takes the "]" as escaped.
  CHECK(Parse(reader, Block(L"Link:\r\n[Path: C\\:\\\\]\r\n[Next: lost too]\r\n[Third: kept]")));
  CHECK(Pairs(reader.Link) == "[Third|kept]");
}

TEST_CASE("an entry [Work:] with an empty value is dropped without failing the section") {
  PimInfoReader reader;
  CHECK(Parse(reader, Block(L"Phone:\r\n[Work:]\r\n[Home:   ]\r\n[Mobile: 5]\r\nEmail:\r\n[Main: a@b]")));
  CHECK(Pairs(reader.Phone) == "[Mobile|5]");
  CHECK(Pairs(reader.Email) == "[Main|a@b]");
}

TEST_CASE("[Home: 7] sets the format, while [Home: 7; x] is an address labelled Home, [home: 7] too") {
  PimInfoReader reader;
  CHECK(Parse(reader, Block(L"Address:\r\n[Home: 7]")));
  CHECK(reader.HomeFormat == 7);
  CHECK(reader.Address.GetSize() == 0);

  CHECK(Parse(reader, Block(L"Address:\r\n[Home: 7; x]")));
  CHECK(reader.HomeFormat == 0);
  REQUIRE(reader.Address.GetSize() == 1);
  CHECK(U8(reader.Address[0].label) == "Home");
  CHECK(U8(reader.Address[0].parts[0]) == "7");
  CHECK(U8(reader.Address[0].parts[1]) == "x");
  CHECK(reader.Address[0].format == 0);

  CHECK(Parse(reader, Block(L"Address:\r\n[home: 7]")));
  CHECK(reader.HomeFormat == 0);
  REQUIRE(reader.Address.GetSize() == 1);
  CHECK(U8(reader.Address[0].label) == "home");
  CHECK(U8(reader.Address[0].parts[0]) == "7");

  // Business and Other likewise; a first field that isn't all digits is an address.
  CHECK(Parse(reader, Block(L"Address: [Business: 2] [Other: 9] [Home: 7a]")));
  CHECK(reader.WorkFormat == 2);
  CHECK(reader.OtherFormat == 9);
  CHECK(reader.HomeFormat == 0);
  CHECK(reader.Address.GetSize() == 1);
}

TEST_CASE("address entries: a seventh field or a format that isn't a number fails the entry alone") {
  PimInfoReader reader;
  CHECK(Parse(reader, Block(L"Address:\r\n[A: 1; 2; 3; 4; 5; 6; 7]\r\n[B: s; c; ; ; ; x9]\r\n"
                            L"[C: ; ; ; ; ; 0]\r\n[D: s; ; ; ; ; ]\r\n[E: s: t]\r\n[F: street]")));
  REQUIRE(reader.Address.GetSize() == 2);
  CHECK(U8(reader.Address[0].label) == "D");
  CHECK(reader.Address[0].format == 0);
  CHECK(U8(reader.Address[1].label) == "F");
  CHECK(U8(reader.Address[1].parts[0]) == "street");
}

TEST_CASE(
    "an unknown section skips to its first ], and the next [ then stands at top level and fails the parse") {
  PimInfoReader reader;
  CHECK_FALSE(
      Parse(reader, Block(L"Phone:\r\n[Work: 1]\r\nPets:\r\n[Cat: Tom]\r\n[Dog: Rex]\r\nEmail:\r\n[a: b]")));
  // What was read before stays in the reader.
  CHECK(Pairs(reader.Phone) == "[Work|1]");
  CHECK(reader.Email.GetSize() == 0);
  // An unknown section with a single entry costs nothing more.
  CHECK(Parse(reader, Block(L"Pets:\r\n[Cat: Tom]\r\nEmail:\r\n[a: b]")));
  CHECK(Pairs(reader.Email) == "[a|b]");
}

TEST_CASE("a date with slashes in the form 2008/01/31 is accepted; other forms are dropped") {
  PimInfoReader reader;
  CHECK(
      Parse(reader, Block(L"Date:\r\n[Slashes: 2008/01/31]\r\n[Short: 2008.1.31]\r\n[Letters: 2008.0a.31]\r\n"
                          L"[Month: 2008.13.01]\r\n[Dots: 2008.01.31]\r\n[Any: 2008x01y31]")));
  REQUIRE(reader.Date.GetSize() == 3);
  FILETIME expected = Midnight(2008, 1, 31);
  for (int i = 0; i < 3; ++i) {
    CHECK(reader.Date[i].value.dwLowDateTime == expected.dwLowDateTime);
    CHECK(reader.Date[i].value.dwHighDateTime == expected.dwHighDateTime);
  }
  CHECK(U8(reader.Date[0].label) == "Slashes");
  CHECK(U8(reader.Date[1].label) == "Dots");
  CHECK(U8(reader.Date[2].label) == "Any");
}

TEST_CASE("a messenger entry is kept only with an id; its note is unescaped though never escaped") {
  PimInfoReader reader;
  CHECK(Parse(reader,
              Block(L"Messenger:\r\n[Skype: work; ]\r\n[ICQ: a\\:b; 42]\r\n[MSN: no id]\r\n[AIM: x; y]")));
  REQUIRE(reader.Messenger.GetSize() == 2);
  CHECK(U8(reader.Messenger[0].kind) == "ICQ");
  CHECK(U8(reader.Messenger[0].note) == "a:b");
  CHECK(U8(reader.Messenger[1].kind) == "AIM");
}

TEST_CASE("labels and top level: what must begin with a letter or digit, and broken top levels") {
  PimInfoReader reader;
  CHECK(Parse(reader, Block(L"Phone: [-x: 1] [: 2] [7th: 3] [Ж: 4]")));
  CHECK(Pairs(reader.Phone) == "[7th|3][Ж|4]");
  CHECK_FALSE(Parse(reader, Block(L"[Work: 1]")));
  CHECK_FALSE(Parse(reader, Block(L"Phone [Work: 1]")));
  CHECK_FALSE(Parse(reader, Block(L"1Phone: [Work: 1]")));
  CHECK(Parse(reader, Block(L"")));
  CHECK(Parse(reader, kStart + L"   " + kEnd));
  // A block cut in the middle of an entry: the entry and its section end there.
  CHECK_FALSE(Parse(reader, kStart + L" Phone: [Work: 1] [Home: 2"));
  CHECK(Pairs(reader.Phone) == "[Work|1]");
}

TEST_CASE(
    "Unescape: trailing blanks go, a backslash before one of the five characters goes, any other stays") {
  Str text(L"a\\[b\\]c\\;d\\:e\\\\f\\g \t ");
  PimInfoReader::Unescape(text);
  CHECK(U8(text) == "a[b]c;d:e\\f\\g");
  Str lone(L"end\\");
  PimInfoReader::Unescape(lone);
  CHECK(U8(lone) == "end\\");
  Str blank(L"   ");
  PimInfoReader::Unescape(blank);
  CHECK(blank.IsEmpty());
}

TEST_CASE("Clear frees the lists and a new parse starts from nothing") {
  PimInfoReader reader;
  CHECK(Parse(reader, L"note " + Block(L"Phone: [a: 1] Image: [x.png] Address: [Home: 3]")));
  CHECK(reader.Phone.GetSize() == 1);
  CHECK(Parse(reader, L"other"));
  CHECK(reader.Phone.GetSize() == 0);
  CHECK(reader.Image.IsEmpty());
  CHECK(reader.HomeFormat == 0);
  CHECK(U8(reader.UserText()) == "other");
  reader.Clear();
  CHECK(reader.UserText().IsEmpty());
  CHECK_FALSE(reader.HasBlock());
}
