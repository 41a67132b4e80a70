// Round trips: random extended blocks written into plain and rich Notes that already hold the user's
// text, read back equal, and the user's text unchanged after the block is taken out again.
#include "ExtendedTestSupport.h"

#include "extended/ContactNote.h"
#include "extended/PimInfoText.h"

#include <doctest/doctest.h>

#include <random>

using namespace exttest;

namespace {

// What the reader gives back of a block: entries without a value, messengers without an id and
// addresses without any part are dropped on reading.
ContactExtended Surviving(const ContactExtended& block) {
  ContactExtended out;
  out.CopyExtended(block);
  LabelValueList* lists[] = {&out.Phone, &out.Email, &out.WebPage, &out.People, &out.Link, &out.OtherProp};
  for (LabelValueList* list : lists) {
    for (int i = list->GetSize() - 1; i >= 0; --i) {
      if ((*list)[i].value.IsEmpty()) list->RemoveAt(i);
    }
  }
  for (int i = out.Messenger.GetSize() - 1; i >= 0; --i) {
    if (out.Messenger[i].id.IsEmpty()) out.Messenger.RemoveAt(i);
  }
  for (int i = out.Address.GetSize() - 1; i >= 0; --i) {
    bool any = false;
    for (int part = 0; part < 5; ++part) any = any || !out.Address[i].parts[part].IsEmpty();
    if (!any) out.Address.RemoveAt(i);
  }
  return out;
}

const wchar_t kUserChars[] = L"abcdefghij KLMNOP 0123 .,!?-:;[]\\ абвгдеёжз ÄÖÜäöüß\t";

std::wstring RandomLine(std::mt19937& random) {
  std::wstring line;
  int length = 1 + static_cast<int>(random() % 30);
  size_t count = wcslen(kUserChars);
  for (int i = 0; i < length; ++i) line += kUserChars[random() % count];
  return line;
}

std::wstring TrimEnd(std::wstring text) {
  while (!text.empty() && iswspace(text.back())) text.pop_back();
  return text;
}

enum UserForm { NoText, PlainWide, PlainAnsi, Rich };

struct UserNote {
  ByteBuffer blob;
  std::vector<std::wstring> lines;  // what the user sees, line by line or paragraph by paragraph
};

UserNote RandomUserNote(std::mt19937& random, UserForm form) {
  UserNote note;
  int count = 1 + static_cast<int>(random() % 4);
  if (form == NoText) return note;
  if (form == Rich) {
    DocumentBuilder builder;
    for (int i = 0; i < count; ++i) {
      if (random() % 4 == 0)
        builder.Record(67, static_cast<uint16_t>(500 + i), Bytes(16, static_cast<BYTE>(i)));
      std::wstring line = random() % 5 == 0 ? std::wstring() : RandomLine(random);
      builder.Text(line);
      note.lines.push_back(line);
    }
    note.blob = BufferOf(builder.Build());
    return note;
  }
  std::wstring text;
  for (int i = 0; i < count; ++i) {
    std::wstring line = RandomLine(random);
    if (form == PlainAnsi) {
      for (wchar_t& ch : line) {
        if (ch > 0x7F) ch = L'x';
      }
    }
    text += line;
    text += (random() % 2 == 0) ? L"\r\n" : L"\n\n";
    note.lines.push_back(line);
  }
  if (form == PlainWide) {
    note.blob = WideNote(text);
  } else {
    std::string bytes(text.begin(), text.end());
    note.blob = AnsiNote(bytes);
  }
  return note;
}

}  // namespace

TEST_CASE("random extended blocks in plain and rich Notes with the user's text read back equal") {
  std::mt19937 random(20240601);
  ContactNote note;
  int merged = 0;
  for (int round = 0; round < 400; ++round) {
    CAPTURE(round);
    UserForm form = static_cast<UserForm>(round % 4);
    UserNote user = RandomUserNote(random, form);
    Contact contact;
    RandomExtended(random, contact);
    contact.rawNote = user.blob;
    REQUIRE(note.MergeIntoNote(contact));
    if (contact.IsExtendedEmpty()) {
      CHECK(contact.noteBlob.Block() == contact.rawNote.Block());
      continue;
    }
    ++merged;
    CHECK_FALSE(IsPlainNote(contact.noteBlob.GetData(), contact.noteBlob.GetLength()));

    // Another contact loaded with this Note gets the block and the user's text.
    Contact loaded;
    loaded.noteBlob = contact.noteBlob;
    Str text;
    REQUIRE(note.GetNoteText(loaded, text));
    ContactExtended expected = Surviving(contact);
    INFO("written:\n" << DumpExtended(contact) << "read:\n" << DumpExtended(loaded));
    CHECK(static_cast<const ContactExtended&>(loaded).Equals(expected));
    CHECK(U8(text) == U8(TrimEnd(JoinedTexts(user.lines))));

    // Taking the block out gives the user's Note back: the same document when it was rich, and
    // the same text otherwise.
    note.StripBlock(loaded);
    Bytes userBytes = BytesOf(user.blob);
    // A rich Note of empty paragraphs shows nothing, and then there is no Note at all.
    bool showsNothing = form == Rich &&
                        IsEmptyDocument(userBytes.data(), static_cast<uint32_t>(userBytes.size())) == 1 &&
                        ExtractedText(userBytes).empty();
    if (form == Rich && !showsNothing) {
      CHECK(Hex(BytesOf(loaded.rawNote)) == Hex(userBytes));
    } else if (form == NoText || showsNothing) {
      CHECK(loaded.rawNote.IsEmpty());
    } else {
      Bytes raw = BytesOf(loaded.rawNote);
      CHECK(ExtractedText(raw) == JoinedTexts(user.lines));
    }
    // Merging again from what was stripped gives the same Note.
    if ((form == Rich && !showsNothing) || form == NoText) {
      loaded.CopyExtended(contact);
      REQUIRE(note.MergeIntoNote(loaded));
      CHECK(Hex(BytesOf(loaded.noteBlob)) == Hex(BytesOf(contact.noteBlob)));
    }
  }
  CHECK(merged > 300);
}

TEST_CASE("the block read from the plain text of a Note that a desktop turned into lines") {
  std::mt19937 random(77);
  ContactNote note;
  for (int round = 0; round < 200; ++round) {
    CAPTURE(round);
    Contact contact;
    RandomExtended(random, contact);
    if (contact.IsExtendedEmpty()) continue;
    REQUIRE(note.MergeIntoNote(contact));
    // The Note's paragraphs as lines of plain wide text, and as 8-bit text when it is all ASCII.
    std::wstring lines = L"Text of mine\r\n";
    for (const std::wstring& paragraph : ParagraphTexts(BytesOf(contact.noteBlob)))
      lines += paragraph + L"\r\n";
    lines += L"more of mine";
    Contact plain;
    plain.noteBlob = WideNote(lines);
    Str text;
    REQUIRE(note.GetNoteText(plain, text));
    CHECK(static_cast<const ContactExtended&>(plain).Equals(Surviving(contact)));
    CHECK(U8(text) == "Text of mine more of mine");
    note.StripBlock(plain);
    CHECK(U8(WideText(plain.rawNote)) == "Text of mine\r\n\r\n\r\nmore of mine");
  }
}
