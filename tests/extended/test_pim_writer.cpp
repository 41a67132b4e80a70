// The block of extended data written into a Note: the exact bytes of every line, the order of the
// sections, and merges into plain and rich Notes.
#include "ExtendedTestSupport.h"

#include "extended/ContactNote.h"
#include "extended/PimInfoLines.h"
#include "extended/PimInfoText.h"
#include "extended/PimInfoWriter.h"

#include <doctest/doctest.h>

#include <algorithm>

using namespace exttest;

namespace {

std::string LineHex(NoteLine line) {
  std::string hex = Hex(line.data, line.length);
  FreeNoteLine(line);
  return hex;
}

std::string AsciiHex(const char* text) { return Hex(Ascii(text)); }

std::vector<std::wstring> WriterLines(const PimInfoWriter& writer) {
  std::vector<std::wstring> lines;
  for (int i = 0; i < writer.GetLineCount(); ++i) {
    Str text;
    DecodeText(writer.GetLine(i).data, writer.GetLine(i).length, text);
    lines.push_back(W(text));
  }
  return lines;
}

}  // namespace

TEST_CASE("the marker lines, byte for byte") {
  CHECK(LineHex(PimMarkerLine(kPimStartMarker)) == "E5 01 00 E6 08 00 E8 07 00 E9 01 EA 01 " +
                                                       AsciiHex("== start pim information ==") +
                                                       " E8 04 00 E9 00 EA 00 C4 00");
  CHECK(LineHex(PimMarkerLine(kPimEndMarker)) == "E5 01 00 E6 08 00 E8 07 00 E9 01 EA 01 " +
                                                     AsciiHex("== end pim information ==") +
                                                     " E8 04 00 E9 00 EA 00 C4 00");
}

TEST_CASE("section header, pair, messenger, address, image and plain lines, byte for byte") {
  CHECK(LineHex(PimSectionLine(L"Phone")) ==
        "E5 01 00 E6 08 00 E8 07 00 " + AsciiHex("Phone") + " 3A E8 04 00 C4 00");
  CHECK(LineHex(PimPairLine(Str(L"Work"), Str(L"12"))) == "E5 01 00 E6 08 00 5B E8 07 00 " +
                                                              AsciiHex("Work") + " 3A E8 04 00 20 " +
                                                              AsciiHex("12") + " 5D C4 00");
  // Escapes in label and value; Cyrillic in two bytes.
  CHECK(LineHex(PimPairLine(Str(L"a:b"), Str(L"[x];\\Ж"))) ==
        "E5 01 00 E6 08 00 5B E8 07 00 61 5C 3A 62 3A E8 04 00 20 5C 5B 78 5C 5D 5C 3B 5C 5C 96 10 5D C4 00");
  MessengerEntry messenger;
  messenger.kind = L"IC;Q";
  messenger.note = L"n:1";
  messenger.id = L"4]2";
  // The note goes as it is; kind and id are escaped.
  CHECK(LineHex(PimMessengerLine(messenger)) == "E5 01 00 E6 08 00 5B E8 07 00 " + AsciiHex("IC\\;Q") +
                                                    " 3A E8 04 00 20 " + AsciiHex("n:1") + " 3B 20 " +
                                                    AsciiHex("4\\]2") + " 5D C4 00");
  Str parts[5] = {L"1 Main St", L"", L"S;t", L"02110", L"USA"};
  CHECK(LineHex(PimAddressLine(Str(L"Summer"), parts, 0)) ==
        "E5 01 00 E6 08 00 5B E8 07 00 " + AsciiHex("Summer") + " 3A E8 04 00 20 " +
            AsciiHex("1 Main St; ; S\\;t; 02110; USA; 0") + " 5D C4 00");
  CHECK(LineHex(PimAddressLine(Str(L"X"), parts, 4711)).find(AsciiHex("; USA; 4711")) != std::string::npos);
  CHECK(LineHex(PimFormatLine(kPimBusinessFormat, 12)) == "E5 01 00 E6 08 00 5B E8 07 00 " +
                                                              AsciiHex("Business") + " 3A E8 04 00 20 " +
                                                              AsciiHex("12") + " 5D C4 00");
  CHECK(LineHex(PimImageLine(Str(L"me[1].png"))) ==
        "E5 01 00 E6 08 00 5B " + AsciiHex("me\\[1\\].png") + " 5D C4 00");
  CHECK(LineHex(PimPlainLine(L"Hi: [x]", 7)) == "E5 01 00 E6 08 00 " + AsciiHex("Hi: [x]") + " C4 00");
  CHECK(LineHex(PimPlainLine(L"", 0)) == "E5 01 00 E6 08 00 C4 00");
}

TEST_CASE("sections come in their fixed order, each only when it has something to say") {
  Contact contact;
  contact.Image = L"face.jpg";
  contact.OtherProp.Add(Pair(L"Shoe", L"42"));
  contact.Link.Add(Pair(L"Doc", L"a.doc"));
  DateEntry date;
  date.label = L"Met";
  date.value = Midnight(2001, 2, 3);
  contact.Date.Add(date);
  contact.People.Add(Pair(L"Son", L"Petya"));
  contact.WorkFormat = 5;
  contact.WebPage.Add(Pair(L"Blog", L"b.example"));
  MessengerEntry messenger;
  messenger.kind = L"ICQ";
  messenger.id = L"1";
  contact.Messenger.Add(messenger);
  contact.Email.Add(Pair(L"Old", L"o@x"));
  contact.Phone.Add(Pair(L"Dacha", L"5"));

  PimInfoWriter writer;
  REQUIRE(writer.MergeIntoNote(contact));
  CHECK(WriterLines(writer) ==
        std::vector<std::wstring>{
            kPimStartMarker, L"Phone:",   L"[Dacha: 5]",        L"Email:",    L"[Old: o@x]",    L"Messenger:",
            L"[ICQ: ; 1]",   L"WebPage:", L"[Blog: b.example]", L"Address:",  L"[Business: 5]", L"People:",
            L"[Son: Petya]", L"Date:",    L"[Met: 2001.02.03]", L"Link:",     L"[Doc: a.doc]",  L"OtherProp:",
            L"[Shoe: 42]",   L"Image:",   L"[face.jpg]",        kPimEndMarker});

  // Only an image: one section.
  Contact imageOnly;
  imageOnly.Image = L"x";
  REQUIRE(writer.MergeIntoNote(imageOnly));
  CHECK(WriterLines(writer) == std::vector<std::wstring>{kPimStartMarker, L"Image:", L"[x]", kPimEndMarker});
  // The three formats, in their order, before the addresses.
  Contact formats;
  formats.OtherFormat = 3;
  formats.HomeFormat = 1;
  AddressEntry address;
  address.label = L"Dacha";
  address.parts[1] = L"Pine";
  address.format = 0;
  formats.Address.Add(address);
  REQUIRE(writer.MergeIntoNote(formats));
  CHECK(WriterLines(writer) == std::vector<std::wstring>{kPimStartMarker, L"Address:", L"[Home: 1]",
                                                         L"[Other: 3]", L"[Dacha: ; Pine; ; ; ; 0]",
                                                         kPimEndMarker});
}

TEST_CASE(
    "a plain rawNote gives its non-empty lines, wide or 8-bit, in front of the block, in the template") {
  Contact contact;
  contact.rawNote = WideNote(L"First line\r\n\r\n\nSecond — line\rThird\n");
  contact.Phone.Add(Pair(L"Work", L"1"));
  PimInfoWriter writer;
  REQUIRE(writer.MergeIntoNote(contact));
  std::vector<std::wstring> lines = WriterLines(writer);
  REQUIRE(lines.size() == 7);
  CHECK(lines[0] == L"First line");
  CHECK(U8(lines[1]) == "Second ");  // the dash is above 0x7FF: written, but cut when read back
  CHECK(lines[2] == L"Third");
  CHECK(lines[3] == kPimStartMarker);
  Bytes note = BytesOf(contact.noteBlob);
  CHECK_FALSE(IsPlainNote(note.data(), static_cast<uint32_t>(note.size())));
  std::vector<std::wstring> paragraphs = ParagraphTexts(note);
  REQUIRE(paragraphs.size() == 8);
  CHECK(paragraphs[0].empty());  // the template's own empty paragraph
  CHECK(paragraphs[1] == L"First line");
  CHECK(paragraphs[7] == kPimEndMarker);
  // The rawNote itself is left as it was.
  CHECK(BytesOf(contact.rawNote) == BytesOf(WideNote(L"First line\r\n\r\n\nSecond — line\rThird\n")));

  Contact ansi;
  ansi.rawNote = AnsiNote("Ascii note\r\nline two");
  ansi.Email.Add(Pair(L"Home", L"h@x"));
  REQUIRE(writer.MergeIntoNote(ansi));
  CHECK(ParagraphTexts(BytesOf(ansi.noteBlob)) == std::vector<std::wstring>{L"", L"Ascii note", L"line two",
                                                                            kPimStartMarker, L"Email:",
                                                                            L"[Home: h@x]", kPimEndMarker});
}

TEST_CASE("a rich rawNote keeps its paragraphs and drawings; the block goes in front of its end of text") {
  Bytes user =
      DocumentBuilder().Text(L"Meeting notes").Record(67, 120, Bytes(20, 9)).Text(L"Ещё строка").Build();
  Contact contact;
  contact.rawNote = BufferOf(user);
  contact.People.Add(Pair(L"Wife", L"Anna"));
  PimInfoWriter writer;
  REQUIRE(writer.MergeIntoNote(contact));
  CHECK(writer.GetLineCount() == 4);
  Bytes note = BytesOf(contact.noteBlob);
  CHECK(ParagraphTexts(note) == std::vector<std::wstring>{L"Meeting notes", L"Ещё строка", kPimStartMarker,
                                                          L"People:", L"[Wife: Anna]", kPimEndMarker});
  std::vector<std::string> records = RecordList(note);
  CHECK(records.back() == "130:9");
  CHECK(std::find(records.begin(), records.end(), "67:120") != records.end());
}

TEST_CASE(
    "an extended block that becomes empty makes noteBlob equal to rawNote again, and the markers vanish") {
  Contact contact;
  contact.rawNote = WideNote(L"just my text");
  contact.Phone.Add(Pair(L"Work", L"1"));
  ContactNote note;
  REQUIRE(note.MergeIntoNote(contact));
  Str text;
  ContactNote::NoteAsText(contact.noteBlob, text);
  CHECK(W(text).find(kPimStartMarker) != std::wstring::npos);

  contact.ClearExtended();
  REQUIRE(note.MergeIntoNote(contact));
  CHECK(contact.noteBlob.Block() == contact.rawNote.Block());
  ContactNote::NoteAsText(contact.noteBlob, text);
  CHECK(U8(text) == "just my text");
  CHECK(W(text).find(L"pim information") == std::wstring::npos);

  // With no user text either the Note is empty.
  Contact bare;
  REQUIRE(note.MergeIntoNote(bare));
  CHECK(bare.noteBlob.IsEmpty());
}

TEST_CASE("a merge into a damaged rich rawNote fails, leaves the Note empty and sets the last error") {
  Bytes user = DocumentBuilder().Text(L"text").Build();
  user[14] = 0x40;  // the style record becomes a second paragraph table
  Contact contact;
  contact.rawNote = BufferOf(user);
  contact.noteBlob = BufferOf(user);
  contact.Phone.Add(Pair(L"Work", L"1"));
  PimInfoWriter writer;
  SetLastError(0);
  CHECK_FALSE(writer.MergeIntoNote(contact));
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  CHECK(contact.noteBlob.IsEmpty());
  CHECK(BytesOf(contact.rawNote) == user);
}

TEST_CASE("a module without the template makes the merge of a plain Note fail") {
  Contact contact;
  contact.Phone.Add(Pair(L"Work", L"1"));
  PimInfoWriter writer;
  writer.SetTemplateModule(GetModuleHandleW(L"kernel32.dll"));
  CHECK_FALSE(writer.MergeIntoNote(contact));
  CHECK(GetLastError() == ERROR_RESOURCE_NAME_NOT_FOUND);
  CHECK(contact.noteBlob.IsEmpty());
  writer.SetTemplateModule(nullptr);
  CHECK(writer.MergeIntoNote(contact));
}

TEST_CASE("a value that ends in a backslash is written as two backslashes before the ]") {
  Contact contact;
  contact.Link.Add(Pair(L"Path", L"C:\\"));
  contact.Link.Add(Pair(L"Next", L"lost too"));
  contact.Link.Add(Pair(L"Third", L"kept"));
  ContactNote note;
  REQUIRE(note.MergeIntoNote(contact));
  std::vector<std::wstring> lines = WriterLines(note.Writer());
  CHECK(U8(lines[2]) == "[Path: C\\:\\\\]");
  // Read back, the entry runs into the next one and both are lost; the rest is read.
  Contact read;
  read.noteBlob = contact.noteBlob;
  Str text;
  CHECK(note.GetNoteText(read, text));
  REQUIRE(read.Link.GetSize() == 1);
  CHECK(U8(read.Link[0].label) == "Third");
}
