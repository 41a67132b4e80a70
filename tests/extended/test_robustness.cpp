// Robustness: thousands of random, truncated and bit-flipped Note blobs and blocks of extended data
// (seeded, so that a failure repeats) through every reader and through RemoveBlock and
// InsertParagraphs. Inputs lie at the very end of committed memory with a no-access page behind them,
// so that a read past their end faults; outputs go into buffers with guard bytes on both sides. What
// the user wrote outside the block must always come out again.
#include "ExtendedTestSupport.h"

#include "extended/ContactNote.h"
#include "extended/NoteBlob.h"
#include "extended/PimInfoLines.h"
#include "extended/PimInfoReader.h"
#include "extended/PimInfoText.h"

#include <doctest/doctest.h>

#include "MutationLoop.h"

#include <cstdlib>
#include <random>

using namespace exttest;

namespace {

const wchar_t* const kWords[] = {
    kPimStartMarker, kPimEndMarker, L"Phone",      L"Email",      L"Messenger", L"WebPage", L"Address",
    L"People",       L"Date",       L"Link",       L"OtherProp",  L"Image",     L"Home",    L"Business",
    L"Other",        L"Pets",       L"2008.01.31", L"2008/13/45", L"Дача",      L"12345",   L"a@b.example",
    L"\\",           L"\\\\",       L"[",          L"]",          L";",         L":",       L" ",
    L"\r\n",         L"\t",         L"x"};

std::wstring RandomBlockText(std::mt19937& random) {
  std::wstring text;
  int tokens = static_cast<int>(random() % 80);
  for (int i = 0; i < tokens; ++i) {
    unsigned pick = random() % 100;
    if (pick < 2)
      text += L'\0';
    else if (pick < 4)
      text += static_cast<wchar_t>(random() % 0x10000);
    else
      text += kWords[random() % (sizeof kWords / sizeof kWords[0])];
  }
  return text;
}

Bytes RandomBytes(std::mt19937& random, size_t count) {
  Bytes bytes(count);
  for (BYTE& b : bytes) b = static_cast<BYTE>(random());
  return bytes;
}

// Encoded paragraph text: well-formed, with references to objects, or any bytes at all.
Bytes RandomParagraph(std::mt19937& random) {
  switch (random() % 6) {
    case 0:
      return ParagraphOf(kPimStartMarker);
    case 1:
      return ParagraphOf(kPimEndMarker);
    case 2: {
      Bytes text = ParagraphOf(L"obj ");
      BYTE id = static_cast<BYTE>(200 + random() % 4);
      text.insert(text.end() - 2, {0xC2, id, 0x00});
      return text;
    }
    case 3:
      return RandomBytes(random, random() % 40);
    default: {
      std::wstring words;
      int count = 1 + static_cast<int>(random() % 5);
      for (int i = 0; i < count; ++i)
        words += std::wstring(kWords[random() % (sizeof kWords / sizeof kWords[0])]) + L" ";
      return ParagraphOf(words);
    }
  }
}

Bytes WellFormedDocument(std::mt19937& random) {
  DocumentBuilder builder;
  int items = static_cast<int>(random() % 10);
  for (int i = 0; i < items; ++i) {
    unsigned pick = random() % 10;
    if (pick < 6) {
      builder.Paragraph(RandomParagraph(random));
    } else if (pick < 8) {
      builder.Record(67, static_cast<uint16_t>(200 + random() % 4), RandomBytes(random, random() % 24));
    } else {
      static const BYTE kTypes[] = {84, 85, 103, 109, 111, 131, 7, 90};
      BYTE type = kTypes[random() % sizeof kTypes];
      builder.Record(type, static_cast<uint16_t>(random() % 300), RandomBytes(random, random() % 24),
                     static_cast<BYTE>(random() % 2));
    }
  }
  if (random() % 4 == 0) builder.WithoutEnd();
  return builder.Build();
}

Bytes Mutate(std::mt19937& random, Bytes document) {
  switch (random() % 5) {
    case 0:  // truncated
      document.resize(random() % (document.size() + 1));
      break;
    case 1: {  // bits flipped
      int flips = 1 + static_cast<int>(random() % 8);
      for (int i = 0; i < flips && !document.empty(); ++i)
        document[random() % document.size()] ^= static_cast<BYTE>(1u << (random() % 8));
      break;
    }
    case 2:  // bytes overwritten, mostly in the head fields near the start
      for (int i = 0; i < 4 && document.size() > 14; ++i)
        document[14 + random() % std::min<size_t>(document.size() - 14, 120)] = static_cast<BYTE>(random());
      break;
    case 3: {  // bytes inserted or taken out
      size_t at = random() % (document.size() + 1);
      if (random() % 2 == 0 && at < document.size())
        document.erase(
            document.begin() + static_cast<std::ptrdiff_t>(at),
            document.begin() + static_cast<std::ptrdiff_t>(std::min(document.size(), at + 1 + random() % 8)));
      else {
        Bytes extra = RandomBytes(random, 1 + random() % 8);
        document.insert(document.begin() + static_cast<std::ptrdiff_t>(at), extra.begin(), extra.end());
      }
      break;
    }
    default:  // left whole
      break;
  }
  return document;
}

Bytes RandomDocument(std::mt19937& random, ContactNote& note) {
  switch (random() % 4) {
    case 0: {  // a Note the writer made, from the template or from a rich Note of the user's
      Contact contact;
      RandomExtended(random, contact);
      if (contact.IsExtendedEmpty()) contact.Image = L"x.png";
      if (random() % 2 == 0) contact.rawNote = BufferOf(WellFormedDocument(random));
      if (!note.MergeIntoNote(contact)) return BytesOf(contact.rawNote);
      return Mutate(random, BytesOf(contact.noteBlob));
    }
    case 1:
      return Mutate(random, WellFormedDocument(random));
    case 2: {  // noise behind a rich header
      Bytes bytes = ComposeEmptyNote();
      bytes.resize(14);
      Bytes noise = RandomBytes(random, random() % 300);
      bytes.insert(bytes.end(), noise.begin(), noise.end());
      return bytes;
    }
    default:
      return RandomBytes(random, random() % 64);
  }
}

// The paragraphs RemoveBlock must leave: all but the run from the first holding the start marker to
// the first from there holding the end marker; an empty one in place of the first when it went.
bool ExpectedAfterRemove(const std::vector<std::wstring>& texts, std::vector<std::wstring>& left) {
  int first = -1;
  int span = 0;
  bool closed = false;
  for (size_t i = 0; i < texts.size() && !closed; ++i) {
    if (first < 0 && texts[i].find(kPimStartMarker) != std::wstring::npos) first = static_cast<int>(i);
    if (first >= 0) {
      ++span;
      closed = texts[i].find(kPimEndMarker) != std::wstring::npos;
    }
  }
  if (first < 0 || !closed) return false;
  left.clear();
  if (first == 0) left.push_back(std::wstring());
  for (size_t i = 0; i < texts.size(); ++i) {
    if (static_cast<int>(i) < first || static_cast<int>(i) >= first + span) left.push_back(texts[i]);
  }
  return true;
}

void CheckReaders(const Bytes& document) {
  PageGuardedCopy guarded(document.data(), document.size());
  const BYTE* data = guarded.Data();
  uint32_t length = static_cast<uint32_t>(guarded.Size());
  bool rich = HasNoteMagic(data, length);
  IsPlainNote(data, length);
  uint32_t highest = 0, last = 0;
  CHECK(ScanDocument(data, length, highest, last) == rich);
  Str text;
  CHECK(ExtractText(data, length, text) == rich);
  if (rich) CHECK(W(text) == JoinedTexts(ParagraphTexts(document)));
  int empty = IsEmptyDocument(data, length);
  CHECK((empty == 1 || empty == 0 || empty == -1));
  CHECK((empty == -1) == (length >= 14 && !rich));
  // The text codes over the whole blob and over its tail, ending right at the guard page.
  CountChars(data, length);
  Str decoded;
  DecodeText(data, length, decoded);
  if (length > 3) {
    CountChars(data + length - 3, 3);
    DecodeText(data + length - 3, 3, decoded);
  }
}

void CheckRemove(const Bytes& document) {
  PageGuardedCopy guarded(document.data(), document.size());
  uint32_t length = static_cast<uint32_t>(guarded.Size());
  GuardedBuffer out(length + kRemoveExtraRoom);
  uint32_t written = RemoveBlockInto(guarded.Data(), length, kPimStartMarker, kPimEndMarker, out.Data(),
                                     static_cast<uint32_t>(out.Size()));
  REQUIRE(out.Intact());

  DocumentFacts facts = FactsOf(document);
  std::vector<std::wstring> left;
  bool hasBlock = ExpectedAfterRemove(ParagraphTexts(document), left);
  bool expected = length >= 14 && HasNoteMagic(document.data(), length) && facts.tableValid && hasBlock;
  CHECK((written != 0) == expected);
  if (written == 0) return;
  Bytes result(out.Data(), out.Data() + written);
  CHECK(ParagraphTexts(result) == left);
  TableView table = TableOf(result);
  CHECK(table.found);
  CHECK(table.size == (table.count + 3) * 2);
  CHECK(table.entries.size() == table.count);
  // The allocating form gives the same bytes.
  uint32_t again = 0;
  BYTE* copy = RemoveBlock(guarded.Data(), length, kPimStartMarker, kPimEndMarker, again);
  REQUIRE(copy != nullptr);
  CHECK(again == written);
  CHECK(memcmp(copy, result.data(), written) == 0);
  free(copy);
}

void CheckInsert(const Bytes& document, std::mt19937& random) {
  std::vector<Bytes> texts;
  int count = 1 + static_cast<int>(random() % 4);
  for (int i = 0; i < count; ++i)
    texts.push_back(random() % 3 == 0 ? RandomBytes(random, random() % 30) : RandomParagraph(random));
  std::vector<NoteLine> lines;
  for (Bytes& text : texts) lines.push_back({static_cast<uint32_t>(text.size()), text.data()});

  PageGuardedCopy guarded(document.data(), document.size());
  uint32_t length = static_cast<uint32_t>(guarded.Size());
  uint32_t size = InsertedLength(guarded.Data(), length, count, lines.data());
  DocumentFacts facts = FactsOf(document);
  bool expected = length >= 14 && HasNoteMagic(document.data(), length) && facts.tableValid &&
                  facts.highestId + 2 * static_cast<uint64_t>(count) + 1 <= 0xFFFF &&
                  (static_cast<uint64_t>(facts.tableCount) + static_cast<uint64_t>(count) + 3) * 2 <= 0xFFFF;
  CHECK((size != 0) == expected);
  if (size == 0) {
    uint32_t none = 5;
    CHECK(InsertParagraphs(guarded.Data(), length, count, lines.data(), none) == nullptr);
    CHECK(none == 0);
    return;
  }
  GuardedBuffer out(size);
  uint32_t written = InsertParagraphsInto(guarded.Data(), length, count, lines.data(), out.Data(), size);
  REQUIRE(out.Intact());
  CHECK(written == size);
  Bytes result(out.Data(), out.Data() + written);

  // Every paragraph there was is still there, the new ones in front of the end of text.
  std::vector<std::wstring> before = ParagraphTexts(document);
  std::vector<std::wstring> expectedTexts(
      before.begin(), before.begin() + static_cast<std::ptrdiff_t>(facts.paragraphsBeforeEnd));
  for (const Bytes& text : texts) {
    Str decoded;
    DecodeText(text.data(), static_cast<uint32_t>(text.size()), decoded);
    expectedTexts.push_back(W(decoded));
  }
  expectedTexts.insert(expectedTexts.end(),
                       before.begin() + static_cast<std::ptrdiff_t>(facts.paragraphsBeforeEnd), before.end());
  CHECK(ParagraphTexts(result) == expectedTexts);
  TableView table = TableOf(result);
  CHECK(table.count == facts.tableCount + static_cast<uint32_t>(count));
  CHECK(table.size == (table.count + 3) * 2);
}

}  // namespace

TEST_CASE(
    "random, truncated and bit-flipped Note blobs through every reader, RemoveBlock and InsertParagraphs") {
  std::mt19937 random(5150);
  ContactNote note;
  int rich = 0, removed = 0;
  for (int round = 0; round < 3000; ++round) {
    CAPTURE(round);
    Bytes document = RandomDocument(random, note);
    CAPTURE(Hex(document));
    CheckReaders(document);
    CheckRemove(document);
    CheckInsert(document, random);
    if (HasNoteMagic(document.data(), static_cast<uint32_t>(document.size()))) ++rich;
    std::vector<std::wstring> left;
    if (FactsOf(document).tableValid && ExpectedAfterRemove(ParagraphTexts(document), left)) ++removed;
  }
  // The inputs reach the interesting paths often enough.
  CHECK(rich > 1500);
  CHECK(removed > 300);
}

TEST_CASE("the contact's Note operations on random Notes: no crash, nothing of the user's lost") {
  std::mt19937 random(86);
  ContactNote note;
  for (int round = 0; round < 1500; ++round) {
    CAPTURE(round);
    Bytes bytes;
    switch (round % 3) {
      case 0:
        bytes = RandomDocument(random, note);
        break;
      case 1: {
        std::wstring text = RandomBlockText(random);
        bytes = BytesOf(WideNote(text));
        if (random() % 3 == 0 && !bytes.empty()) bytes.resize(random() % bytes.size());
        break;
      }
      default: {
        std::wstring text = RandomBlockText(random);
        std::string narrow;
        for (wchar_t ch : text) narrow += static_cast<char>(ch & 0x7F);
        bytes = Ascii(narrow.c_str());
        break;
      }
    }
    CAPTURE(Hex(bytes));
    Contact contact;
    contact.noteBlob = BufferOf(bytes);
    Str text;
    note.GetNoteText(contact, text);
    note.StripBlock(contact);

    Bytes raw = BytesOf(contact.rawNote);
    bool plain = IsPlainNote(bytes.data(), static_cast<uint32_t>(bytes.size()));
    if (plain && !bytes.empty()) {
      // Plain: the bytes around the block (the Note as it was without both markers), or nothing
      // when only white space was left.
      Str before;
      ContactNote::NoteAsText(contact.noteBlob, before);
      std::wstring all = W(before);
      size_t start = all.find(kPimStartMarker);
      size_t end = start == std::wstring::npos ? std::wstring::npos : all.find(kPimEndMarker, start);
      std::wstring outside =
          end == std::wstring::npos ? all : all.substr(0, start) + all.substr(end + wcslen(kPimEndMarker));
      if (raw.empty()) {
        for (wchar_t ch : outside) CHECK(iswspace(ch));
      } else {
        Str after;
        ContactNote::NoteAsText(contact.rawNote, after);
        CHECK(U8(after) == U8(outside));
        if (end == std::wstring::npos) CHECK(raw == bytes);
      }
    } else if (!plain) {
      // Rich: what RemoveBlock left, or the Note whole; nothing only when nothing is to be seen.
      std::vector<std::wstring> left;
      bool block = FactsOf(bytes).tableValid && ExpectedAfterRemove(ParagraphTexts(bytes), left);
      if (raw.empty())
        CHECK(JoinedTexts(block ? left : ParagraphTexts(bytes)).empty());
      else if (block)
        CHECK(ParagraphTexts(raw) == left);
      else
        CHECK(raw == bytes);
    }

    // A merge never damages what the user wrote: it fails, or every paragraph of a rich Note stays.
    Contact merged;
    merged.rawNote = contact.rawNote;
    RandomExtended(random, merged);
    merged.Phone.Add(LabelValue{Str(L"Work"), Str(L"1")});
    if (note.MergeIntoNote(merged)) {
      if (!raw.empty() && !IsPlainNote(raw.data(), static_cast<uint32_t>(raw.size()))) {
        std::vector<std::wstring> was = ParagraphTexts(raw);
        std::vector<std::wstring> now = ParagraphTexts(BytesOf(merged.noteBlob));
        size_t kept = 0;
        for (size_t i = 0; i < now.size() && kept < was.size(); ++i) {
          if (now[i] == was[kept]) ++kept;
        }
        CHECK(kept == was.size());
      }
    } else {
      CHECK(merged.noteBlob.IsEmpty());
    }
  }
}

TEST_CASE(
    "random and damaged blocks of extended data through the reader: no read past the text, the user's text "
    "kept") {
  std::mt19937 random(31337);
  ContactNote note;
  PimInfoReader reader;
  int parsed = 0;
  for (int round = 0; round < 5000; ++round) {
    CAPTURE(round);
    std::wstring text;
    if (round % 2 == 0) {
      text = RandomBlockText(random);
    } else {
      // A block the writer made, as plain lines, then damaged.
      Contact contact;
      RandomExtended(random, contact);
      contact.Image = L"p.png";
      REQUIRE(note.MergeIntoNote(contact));
      text = L"user text\r\n";
      for (const std::wstring& line : ParagraphTexts(BytesOf(contact.noteBlob))) text += line + L"\r\n";
      int edits = static_cast<int>(random() % 4);
      for (int i = 0; i < edits && !text.empty(); ++i) {
        size_t at = random() % text.size();
        switch (random() % 3) {
          case 0:
            text.erase(at, 1 + random() % 6);
            break;
          case 1:
            text.insert(at, kWords[random() % (sizeof kWords / sizeof kWords[0])]);
            break;
          default:
            text[at] = static_cast<wchar_t>(random() % 0x500);
            break;
        }
      }
      if (random() % 3 == 0) text.resize(random() % (text.size() + 1));
    }
    PageGuardedCopy guarded(text.data(), text.size() * sizeof(wchar_t));
    const wchar_t* chars = reinterpret_cast<const wchar_t*>(guarded.Data());
    bool understood = reader.Parse(chars, static_cast<int>(text.size()));
    if (understood) ++parsed;

    // The user's text: everything when there is no block, and what stood before it otherwise.
    std::wstring visible = text.substr(0, text.find(L'\0'));
    size_t start = visible.find(kPimStartMarker);
    std::wstring userText = W(reader.UserText());
    if (start == std::wstring::npos) {
      CHECK(understood);
      CHECK(userText == visible);
    } else {
      std::wstring before = visible.substr(0, start);
      while (!before.empty() && iswspace(before.back())) before.pop_back();
      CHECK(userText.compare(0, before.size(), before) == 0);
    }
  }
  CHECK(parsed > 1000);
}

TEST_CASE("the guards themselves: a no-access page right behind the input, guard bytes that see a write") {
  Bytes bytes = ComposeEmptyNote();
  PageGuardedCopy guarded(bytes.data(), bytes.size());
  REQUIRE(guarded.Data() != nullptr);
  CHECK(memcmp(guarded.Data(), bytes.data(), bytes.size()) == 0);
  MEMORY_BASIC_INFORMATION behind = {};
  REQUIRE(VirtualQuery(guarded.Data() + guarded.Size(), &behind, sizeof behind) == sizeof behind);
  CHECK(behind.Protect == PAGE_NOACCESS);
  MEMORY_BASIC_INFORMATION inside = {};
  REQUIRE(VirtualQuery(guarded.Data() + guarded.Size() - 1, &inside, sizeof inside) == sizeof inside);
  CHECK(inside.Protect == PAGE_READWRITE);

  GuardedBuffer buffer(16);
  CHECK(buffer.Intact());
  buffer.Data()[16] = 0;
  CHECK_FALSE(buffer.Intact());
  GuardedBuffer before(16);
  before.Data()[-1] = 0;
  CHECK_FALSE(before.Intact());
}

namespace {

// Whether a Note holds one whole block and no other marker: exactly one start marker, one end marker
// behind it, no character 0 and none the paragraph encoding can't read back, and in a rich Note each
// marker within one paragraph.
bool HoldsOneWholeBlock(const Bytes& input, const ByteBuffer& blob) {
  Str whole;
  ContactNote::NoteAsText(blob, whole);
  const std::wstring all = W(whole);
  if (all.find(L'\0') != std::wstring::npos) return false;
  // A character above 0x7FF is written in the one form no reader takes: its paragraph ends there.
  for (wchar_t ch : all)
    if (ch > 0x7FF) return false;
  const size_t start = all.find(kPimStartMarker);
  if (start == std::wstring::npos || all.find(kPimStartMarker, start + 1) != std::wstring::npos) return false;
  const size_t end = all.find(kPimEndMarker);
  if (end == std::wstring::npos || end < start || all.find(kPimEndMarker, end + 1) != std::wstring::npos)
    return false;
  if (IsPlainNote(input.data(), static_cast<uint32_t>(input.size()))) return true;
  bool startHeld = false, endHeld = false;
  for (const std::wstring& paragraph : ParagraphTexts(input)) {
    startHeld = startHeld || paragraph.find(kPimStartMarker) != std::wstring::npos;
    endHeld = endHeld || paragraph.find(kPimEndMarker) != std::wstring::npos;
  }
  return startHeld && endHeld;
}

// A Note with one whole block, as a contact read and written back, keeps that block: the block read
// from the Note, written again beside the user's text and read once more, is the same block. Other
// Notes are only read: stripping keeps a block without its end as it stands, and marker text in the
// user's part would be read as a block after the rewrite, as the rules for Notes have it.
bool BlockSurvivesRewrite(ContactNote& note, const Bytes& input, std::string& why, uint64_t& rewritten) {
  Contact first;
  first.noteBlob = BufferOf(input);
  Str text;
  if (!note.GetNoteText(first, text) || !HoldsOneWholeBlock(input, first.noteBlob)) return true;
  ++rewritten;
  note.StripBlock(first);
  const std::string read = DumpExtended(first);
  if (!note.MergeIntoNote(first)) {
    if (!first.noteBlob.IsEmpty()) {
      why = "a failed merge left a Note behind";
      return false;
    }
    return true;
  }
  // A value that ends in a backslash is written as two of them before its "]", ":" or ";", which the
  // scanner then takes as escaped: the rules for Notes keep that entry running on into the next.
  Str written;
  ContactNote::NoteAsText(first.noteBlob, written);
  const std::wstring writtenText = W(written);
  for (const wchar_t* quirk : {L"\\\\]", L"\\\\:", L"\\\\;"})
    if (writtenText.find(quirk) != std::wstring::npos) return true;
  // A messenger's note is written without escapes: one that holds a special character is read back
  // otherwise, as the rules for Notes keep it.
  for (int k = 0; k < first.Messenger.GetSize(); ++k)
    if (W(first.Messenger[k].note).find_first_of(L"[];:\\") != std::wstring::npos) return true;
  Contact again;
  again.noteBlob = first.noteBlob;
  Str textAgain;
  if (!note.GetNoteText(again, textAgain)) {
    Str was, now;
    ContactNote::NoteAsText(BufferOf(input), was);
    ContactNote::NoteAsText(again.noteBlob, now);
    why = "the Note just written can't be read: [" + U8(was) + "] -> [" + U8(now) + "]";
    return false;
  }
  if (DumpExtended(again) != read) {
    why = "the block changed when written again: " + read + " / " + DumpExtended(again);
    return false;
  }
  return true;
}

// Valid Notes with blocks, made by the item's own writer over random user text and random extended
// data: rich documents, or the same block as the lines of a plain Note, in wide or 8-bit text.
std::vector<mutation::Bytes> NotesWithBlocks(bool rich, int count) {
  std::mt19937 random(rich ? 77 : 78);
  ContactNote note;
  std::vector<mutation::Bytes> corpus;
  while (static_cast<int>(corpus.size()) < count) {
    Contact contact;
    if (rich) contact.rawNote = BufferOf(WellFormedDocument(random));
    RandomExtended(random, contact);
    contact.Image = L"photo.png";
    if (!note.MergeIntoNote(contact)) continue;
    if (rich) {
      corpus.push_back(BytesOf(contact.noteBlob));
      continue;
    }
    std::wstring text = L"Met at the fair.\r\nCall after six " + std::to_wstring(random() % 1000) + L"\r\n";
    for (const std::wstring& line : ParagraphTexts(BytesOf(contact.noteBlob))) text += line + L"\r\n";
    if (random() % 3 > 0) {
      corpus.push_back(BytesOf(WideNote(text)));
    } else {
      std::string narrow;
      for (wchar_t ch : text) narrow += ch < 0x80 ? static_cast<char>(ch) : '?';
      corpus.push_back(BytesOf(AnsiNote(narrow)));
    }
  }
  return corpus;
}

}  // namespace

TEST_CASE("mutations: rich Notes with blocks of extended data") {
  ContactNote note;
  uint64_t rewritten = 0;
  const mutation::Summary summary = mutation::Run(
      "note-rich", NotesWithBlocks(true, 24),
      [&note, &rewritten](const mutation::Bytes& input, std::string& why) {
        CheckReaders(input);
        return BlockSurvivesRewrite(note, input, why, rewritten);
      },
      3000, 11);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  // Enough damaged Notes keep one whole block to go through the rewrite.
  CHECK(rewritten * 20 > summary.inputs);
  CHECK(summary.wrong == 0);
}

TEST_CASE("mutations: plain Notes and their blocks of extended data") {
  ContactNote note;
  PimInfoReader reader;
  uint64_t rewritten = 0;
  const mutation::Summary summary = mutation::Run(
      "note-plain", NotesWithBlocks(false, 24),
      [&note, &reader, &rewritten](const mutation::Bytes& input, std::string& why) {
        // The block's reader alone, on the text behind the mark, with a no-access page behind it.
        if (input.size() >= 2 && input[0] == 0xFE && input[1] == 0xFF) {
          PageGuardedCopy guarded(input.data() + 2, input.size() - 2);
          reader.Parse(reinterpret_cast<const wchar_t*>(guarded.Data()),
                       static_cast<int>((input.size() - 2) / 2));
        }
        return BlockSurvivesRewrite(note, input, why, rewritten);
      },
      3000, 12);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(rewritten * 20 > summary.inputs);
  CHECK(summary.wrong == 0);
}
