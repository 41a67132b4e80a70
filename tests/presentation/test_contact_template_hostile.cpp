// Damaged and hostile template files: what the reader makes of text in other encodings, of binary
// junk and of lines of every length, and a mutation run over valid files. The template that comes out
// must always be usable, and written and read again must stay the same.
#include <doctest/doctest.h>
#include <windows.h>
#include <random>
#include <string>
#include <vector>
#include "MutationLoop.h"
#include "TestPaths.h"
#include "WideText.h"
#include "presentation/ContactTemplate.h"
#include "test_contact_template_support.h"

using namespace templatetest;

namespace {

typedef std::vector<std::wstring> Texts;

const Texts kFullFile = {
    L"[NameColl]",  L"true",     L"[Field1]", L"false",        L"[Field5]", L"true",        L"[Field6]",
    L"true",        L"[Field8]", L"false",    L"[Field9]",     L"true",     L"[Phone]",     L"Mobile",
    L"Home",        L"Boat",     L"[EMail]",  L"E-mail 2",     L"[Msg]",    L"IM",          L"Skype",
    L"[MsgType]",   L"ICQ",      L"Jabber",   L"[Web]",        L"Web",      L"[Office]",    L"false",
    L"[Addr]",      L"Home",     L"Dacha",    L"[AddrFormat]", L"42",       L"7",           L"[Category]",
    L"false",       L"[People]", L"Spouse",   L"Coach",        L"[Date]",   L"Anniversary", L"[Link]",
    L"Linked file", L"[Other]",  L"Nickname", L"Shoe size"};

// The template a fresh object makes of `bytes`; `loaded` tells whether the file could be opened.
std::string LoadBytes(const std::vector<uint8_t>& bytes, bool& loaded, ContactTemplate& tpl) {
  std::wstring path = TempFile(L"hostile.tpl");
  REQUIRE(WriteBytes(path, bytes));
  loaded = tpl.Load(path.c_str()) != FALSE;
  return Picture(tpl);
}

// What a fresh template is after a Load that found nothing it knows.
std::string NothingRead() {
  ContactTemplate tpl;
  tpl.Reset();
  return Picture(tpl);
}

// Written and read again, the template stays what it is; empty when so, otherwise the difference.
std::string RoundTrip(const ContactTemplate& tpl) {
  std::wstring path = TempFile(L"round-trip.tpl");
  if (!tpl.Save(path.c_str())) return "the save failed, error " + std::to_string(GetLastError());
  ContactTemplate again;
  if (!again.Load(path.c_str()))
    return "the saved file can't be read, error " + std::to_string(GetLastError());
  std::string before = Picture(tpl), after = Picture(again);
  if (before != after) return "written and read again:\n" + after + "instead of\n" + before;
  return std::string();
}

}  // namespace

TEST_CASE("a file with no sections is read as nothing: the template stays reset") {
  ContactTemplate tpl;
  bool loaded = false;
  std::string picture = LoadBytes(Utf16(Lines({L"Work phone", L"Mobile", L"true", L"57"})), loaded, tpl);
  CHECK(loaded);
  CHECK(picture == NothingRead());
  CHECK(Unusable(tpl).empty());
}

TEST_CASE("unknown sections and keys are passed over, the known ones still read") {
  ContactTemplate tpl;
  bool loaded = false;
  LoadBytes(Utf16(Lines({L"[Colours]", L"red", L"[Phone]", L"Mobile", L"[Phones]", L"Pager", L"Key=value",
                         L"[Field12]", L"false", L"[NAMECOLL]", L"true"})),
            loaded, tpl);
  REQUIRE(loaded);
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Mobile"});
  CHECK_FALSE(tpl.IsNameCollapsed());
  CHECK(Unusable(tpl).empty());
  CHECK(RoundTrip(tpl).empty());
}

TEST_CASE("UTF-16 with a byte-order mark: the mark stands before the first header, which is then not found") {
  std::vector<uint8_t> bytes = {0xFF, 0xFE};
  std::vector<uint8_t> text = Utf16(Lines(kFullFile));
  bytes.insert(bytes.end(), text.begin(), text.end());
  ContactTemplate marked;
  bool loaded = false;
  LoadBytes(bytes, loaded, marked);
  REQUIRE(loaded);
  ContactTemplate plain;
  LoadBytes(text, loaded, plain);
  REQUIRE(loaded);
  // Everything but [NameColl], the first section, reads as in the plain file.
  CHECK(plain.IsNameCollapsed());
  CHECK_FALSE(marked.IsNameCollapsed());
  marked.SetNameCollapsed(TRUE);
  CHECK(Picture(marked) == Picture(plain));
}

TEST_CASE("UTF-16 big-endian, UTF-8 and 8-bit text give no section and the reset template") {
  std::vector<uint8_t> little = Utf16(Lines(kFullFile));
  std::vector<uint8_t> big = little;
  for (size_t i = 0; i + 1 < big.size(); i += 2) std::swap(big[i], big[i + 1]);
  std::vector<uint8_t> bigMarked = {0xFE, 0xFF};
  bigMarked.insert(bigMarked.end(), big.begin(), big.end());
  std::vector<uint8_t> utf8 = Utf8(Lines(kFullFile));
  std::vector<uint8_t> utf8Marked = {0xEF, 0xBB, 0xBF};
  utf8Marked.insert(utf8Marked.end(), utf8.begin(), utf8.end());
  std::string ansi =
      "[Phone]\r\nMobile\r\n[Addr]\r\nStra\xDF"
      "e\r\n";
  std::vector<uint8_t> ansiBytes(ansi.begin(), ansi.end());
  const std::vector<std::vector<uint8_t>> files = {big, bigMarked, utf8, utf8Marked, ansiBytes};
  for (size_t i = 0; i < files.size(); ++i) {
    INFO("file " << i);
    ContactTemplate tpl;
    bool loaded = false;
    CHECK(LoadBytes(files[i], loaded, tpl) == NothingRead());
    CHECK(loaded);
    CHECK(Unusable(tpl).empty());
    CHECK(RoundTrip(tpl).empty());
  }
}

TEST_CASE("binary junk loads without a crash into a usable template") {
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    std::vector<uint8_t> junk(1 + random() % 3000);
    for (uint8_t& byte : junk) byte = static_cast<uint8_t>(random());
    ContactTemplate tpl;
    bool loaded = false;
    LoadBytes(junk, loaded, tpl);
    INFO("round " << round);
    CHECK(loaded);
    CHECK(Unusable(tpl).empty());
    CHECK(RoundTrip(tpl).empty());
  }
}

TEST_CASE("junk of zeros, line ends only and brackets only") {
  const std::vector<std::vector<uint8_t>> files = {std::vector<uint8_t>(4096, 0),
                                                   Utf16(std::wstring(3000, L'\n')),
                                                   Utf16(std::wstring(3000, L'[')),
                                                   Utf16(std::wstring(2000, L']')),
                                                   Utf16(L"[Phone]"),
                                                   Utf16(L"[Phone]\r\n[Phone]\r\n[")};
  for (size_t i = 0; i < files.size(); ++i) {
    INFO("file " << i);
    ContactTemplate tpl;
    bool loaded = false;
    CHECK(LoadBytes(files[i], loaded, tpl) == NothingRead());
    CHECK(loaded);
  }
}

TEST_CASE("an empty file is refused and removed") {
  ContactTemplate tpl;
  bool loaded = true;
  std::wstring path = TempFile(L"hostile.tpl");
  LoadBytes({}, loaded, tpl);
  CHECK_FALSE(loaded);
  CHECK_FALSE(testpaths::FileExists(path));
  // One lone byte is no character: opened, and nothing read.
  CHECK(LoadBytes({'['}, loaded, tpl) == NothingRead());
  CHECK(loaded);
}

TEST_CASE("huge lines become whole labels, in any section, and are written back whole") {
  std::wstring huge(200000, L'w');
  std::wstring header(100000, L'[');
  ContactTemplate tpl;
  bool loaded = false;
  LoadBytes(Utf16(Lines({L"[Phone]", huge, L"Mobile", L"[People]", L"Coach", header, L"[Other]", huge + L"x",
                         L"[NameColl]" + huge, L"true"})),
            loaded, tpl);
  REQUIRE(loaded);
  Texts phones = OrderedLabels(tpl, SectionPhone);
  REQUIRE(phones.size() == 2);
  CHECK(phones[0] == huge);
  CHECK(phones[1] == L"Mobile");
  // A line of brackets is a header: it ends the people.
  CHECK(OrderedLabels(tpl, SectionPeople) == Texts{L"Coach"});
  CHECK(OrderedLabels(tpl, SectionOther) == Texts{huge + L"x"});
  // Text behind a header is ignored, however long.
  CHECK(tpl.IsNameCollapsed());
  CHECK(Unusable(tpl).empty());
  CHECK(RoundTrip(tpl).empty());
}

TEST_CASE("numbers of any size in [AddrFormat] are kept as read") {
  ContactTemplate tpl;
  bool loaded = false;
  LoadBytes(Utf16(Lines({L"[Addr]", L"Home", L"[AddrFormat]", L"99999999999999999999",
                         L"-99999999999999999999", L"-1", L"x"})),
            loaded, tpl);
  REQUIRE(loaded);
  const Array<int32_t>& formats = tpl.GetAddressSection().addressFormats;
  REQUIRE(formats.GetSize() == 4);
  CHECK(formats[2] == -1);
  CHECK(formats[3] == 0);
  CHECK(RoundTrip(tpl).empty());
}

TEST_CASE("mutations: the contact template file") {
  std::vector<mutation::Bytes> corpus;
  corpus.push_back(Utf16(Lines(kFullFile)));
  ContactTemplate defaults;
  defaults.SetDefaults();
  std::wstring path = TempFile(L"corpus.tpl");
  REQUIRE(defaults.Save(path.c_str()));
  corpus.push_back(testpaths::ReadFileBytes(path));
  corpus.push_back(Utf16(L"[Phone]\nHome\rWork\r\n\r\n[Addr]\r\nOther\r\n[AddrFormat]\r\n3"));
  const std::wstring input = TempFile(L"mutated.tpl");
  const mutation::Summary summary = mutation::Run(
      "contact-template", corpus,
      [&input](const mutation::Bytes& bytes, std::string& why) {
        if (!WriteBytes(input, bytes)) {
          why = "the input could not be written";
          return false;
        }
        ContactTemplate tpl;
        bool loaded = tpl.Load(input.c_str()) != FALSE;
        if (bytes.empty() == loaded) {
          why = loaded ? "an empty file was loaded" : "a file that is there was not loaded";
          return false;
        }
        why = Unusable(tpl);
        if (!why.empty()) return false;
        why = RoundTrip(tpl);
        return why.empty();
      },
      1500, 15);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(summary.inputs > 0);
  CHECK(summary.wrong == 0);
}
