// The contact manager's view of the Note: the user's text with the extended block taken out
// (GetNoteText), and the Note without its block (StripBlock), for plain wide, plain 8-bit and rich Notes.
#include "ExtendedTestSupport.h"

#include "extended/ContactNote.h"
#include "extended/PimInfoText.h"

#include <doctest/doctest.h>

using namespace exttest;

namespace {

const std::wstring kStart = kPimStartMarker;
const std::wstring kEnd = kPimEndMarker;

}  // namespace

TEST_CASE("GetNoteText: an empty Note gives an empty text and leaves the contact alone") {
  ContactNote note;
  Contact contact;
  contact.Phone.Add(Pair(L"Old", L"1"));
  Str out(L"stale");
  CHECK(note.GetNoteText(contact, out));
  CHECK(out.IsEmpty());
  CHECK(contact.Phone.GetSize() == 1);
}

TEST_CASE("GetNoteText of a plain wide Note: text from offset 2, the block into the contact") {
  ContactNote note;
  Contact contact;
  contact.noteBlob =
      WideNote(L"Мой текст\r\n" + kStart + L"\r\nPhone:\r\n[Дача: 5]\r\n" + kEnd + L"\r\nконец");
  Str out;
  CHECK(note.GetNoteText(contact, out));
  CHECK(U8(out) == "Мой текст конец");
  REQUIRE(contact.Phone.GetSize() == 1);
  CHECK(U8(contact.Phone[0].label) == "Дача");
  // Only FE FF is a mark: FF FE is 8-bit text like any other.
  Contact swapped;
  Bytes bytes = {0xFF, 0xFE, 'a', 0};
  swapped.noteBlob = BufferOf(bytes);
  CHECK(note.GetNoteText(swapped, out));
  CHECK(out.GetLength() >= 3);
  CHECK(static_cast<const wchar_t*>(out)[2] == L'a');
}

TEST_CASE("GetNoteText of a plain 8-bit Note goes through the default code page") {
  ContactNote note;
  Contact contact;
  std::string text = "Note text\r\n" + U8(kStart) + "\r\nEmail:\r\n[Work: w@x]\r\n" + U8(kEnd);
  contact.noteBlob = AnsiNote(text);
  Str out;
  CHECK(note.GetNoteText(contact, out));
  CHECK(U8(out) == "Note text");
  REQUIRE(contact.Email.GetSize() == 1);
  CHECK(U8(contact.Email[0].value) == "w@x");
}

TEST_CASE("GetNoteText of a rich Note reads its paragraphs") {
  ContactNote note;
  Contact contact;
  contact.noteBlob = BufferOf(DocumentBuilder()
                                  .Text(L"Line one")
                                  .Text(L"Line two")
                                  .Text(kStart)
                                  .Text(L"Image:")
                                  .Text(L"[me.png]")
                                  .Text(kEnd)
                                  .Build());
  Str out;
  CHECK(note.GetNoteText(contact, out));
  CHECK(U8(out) == "Line one Line two");
  CHECK(U8(contact.Image) == "me.png");
}

TEST_CASE(
    "GetNoteText: a Note without a block leaves the extended block as it was; a broken block gives nothing") {
  ContactNote note;
  Contact contact;
  contact.Phone.Add(Pair(L"Kept", L"1"));
  contact.noteBlob = WideNote(L"only text");
  Str out;
  CHECK(note.GetNoteText(contact, out));
  CHECK(U8(out) == "only text");
  CHECK(contact.Phone.GetSize() == 1);

  contact.noteBlob = WideNote(L"text " + kStart + L" Phone: [New: 2] [Broken " + kEnd);
  CHECK_FALSE(note.GetNoteText(contact, out));
  CHECK(out.IsEmpty());
  REQUIRE(contact.Phone.GetSize() == 1);
  CHECK(U8(contact.Phone[0].label) == "Kept");
}

TEST_CASE("StripBlock of plain Notes: all before the start and all after the end, nothing between") {
  ContactNote note;
  Contact contact;
  contact.noteBlob = WideNote(L"Before\r\n" + kStart + L"\r\nPhone:\r\n[a: 1]\r\n" + kEnd + L"\r\nAfter");
  note.StripBlock(contact);
  CHECK(U8(WideText(contact.rawNote)) == "Before\r\n\r\nAfter");
  CHECK(BytesOf(contact.rawNote)[0] == 0xFE);

  contact.noteBlob = AnsiNote("Before " + U8(kStart) + " Phone: [a: 1] " + U8(kEnd) + " After");
  note.StripBlock(contact);
  CHECK(BytesOf(contact.rawNote) == Ascii("Before  After"));

  // Only white space left: no Note.
  contact.noteBlob = WideNote(L"  \r\n" + kStart + L"[x]" + kEnd + L"\t\r\n");
  note.StripBlock(contact);
  CHECK(contact.rawNote.IsEmpty());
  contact.noteBlob = AnsiNote(" " + U8(kStart) + U8(kEnd) + "\r\n");
  note.StripBlock(contact);
  CHECK(contact.rawNote.IsEmpty());

  // A marker missing: the Note as it stands.
  contact.noteBlob = WideNote(L"text " + kStart + L" Phone: [a: 1]");
  note.StripBlock(contact);
  CHECK(BytesOf(contact.rawNote) == BytesOf(contact.noteBlob));
  contact.noteBlob = AnsiNote("text " + U8(kEnd));
  note.StripBlock(contact);
  CHECK(BytesOf(contact.rawNote) == BytesOf(contact.noteBlob));

  contact.noteBlob.Empty();
  contact.rawNote = AnsiNote("stale");
  note.StripBlock(contact);
  CHECK(contact.rawNote.IsEmpty());
}

TEST_CASE("StripBlock of rich Notes: RemoveBlock, and an empty document gives no Note") {
  ContactNote note;
  Bytes user = DocumentBuilder().Text(L"Keep me").Record(67, 99, Bytes(8, 1)).Build();
  Contact contact;
  contact.rawNote = BufferOf(user);
  contact.Phone.Add(Pair(L"Work", L"1"));
  REQUIRE(note.MergeIntoNote(contact));
  contact.rawNote.Empty();
  note.StripBlock(contact);
  CHECK(Hex(BytesOf(contact.rawNote)) == Hex(user));

  // Block only, in the template: what is left is the empty document, so no Note.
  Contact blockOnly;
  blockOnly.Phone.Add(Pair(L"Work", L"1"));
  REQUIRE(note.MergeIntoNote(blockOnly));
  note.StripBlock(blockOnly);
  CHECK(blockOnly.rawNote.IsEmpty());

  // No block: the Note itself, unless it shows nothing.
  Contact plainRich;
  plainRich.noteBlob = BufferOf(user);
  note.StripBlock(plainRich);
  CHECK(plainRich.rawNote.Block() == plainRich.noteBlob.Block());
  Contact emptyRich;
  emptyRich.noteBlob = BufferOf(ComposeEmptyNote());
  note.StripBlock(emptyRich);
  CHECK(emptyRich.rawNote.IsEmpty());

  // A drawing with the block and no text: the drawing stays.
  Contact drawing;
  drawing.rawNote = BufferOf(
      DocumentBuilder().Paragraph({0xE5, 0x01, 0x00, 0xC4, 0x00}).Record(67, 70, Bytes(8, 2)).Build());
  drawing.Date.Add(DateEntry{Str(L"Day"), Midnight(2000, 1, 1)});
  REQUIRE(note.MergeIntoNote(drawing));
  Bytes before = BytesOf(drawing.rawNote);
  note.StripBlock(drawing);
  CHECK(Hex(BytesOf(drawing.rawNote)) == Hex(before));
}

TEST_CASE("StripBlock of a rich Note that RemoveBlock refuses keeps the whole Note") {
  ContactNote note;
  Bytes damaged = DocumentBuilder().Text(L"user words").Text(kStart).Text(L"Phone:").Text(kEnd).Build();
  damaged[14] = 0x40;  // a second paragraph table
  Contact contact;
  contact.noteBlob = BufferOf(damaged);
  note.StripBlock(contact);
  CHECK(BytesOf(contact.rawNote) == damaged);
  Str text;
  ContactNote::NoteAsText(contact.rawNote, text);
  CHECK(W(text).find(L"user words") == 0);
}

TEST_CASE("merge, save, load: GetNoteText and StripBlock give back what went in") {
  ContactNote note;
  Contact contact;
  contact.rawNote = WideNote(L"Позвонить после 18:00\r\nКод: [42]");
  contact.Phone.Add(Pair(L"Дача", L"+7 812 000-00-00"));
  contact.WebPage.Add(Pair(L"Site", L"http://x.example/a;b"));
  contact.HomeFormat = 2;
  contact.Image = L"Петров.jpg";
  REQUIRE(note.MergeIntoNote(contact));

  Contact loaded;
  loaded.noteBlob = contact.noteBlob;
  Str text;
  CHECK(note.GetNoteText(loaded, text));
  CHECK(U8(text) == "Позвонить после 18:00 Код: [42]");
  CHECK(static_cast<const ContactExtended&>(loaded).Equals(contact));
  note.StripBlock(loaded);
  CHECK(ParagraphTexts(BytesOf(loaded.rawNote)) ==
        std::vector<std::wstring>{L"", L"Позвонить после 18:00", L"Код: [42]"});
}
