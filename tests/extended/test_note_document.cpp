// Rich Notes as whole documents: their form, the template NOTE 170, the walk, the text, emptiness,
// and adding and taking out paragraphs.
#include "ExtendedTestSupport.h"

#include "extended/NoteBlob.h"
#include "extended/PimInfoText.h"

#include <doctest/doctest.h>

#include <cstdlib>

using namespace exttest;

namespace {

Bytes Template() {
  const BYTE* data = nullptr;
  uint32_t length = 0;
  REQUIRE(LoadNoteTemplate(nullptr, data, length));
  return Bytes(data, data + length);
}

struct Lines {
  std::vector<Bytes> texts;
  std::vector<NoteLine> lines;
  explicit Lines(const std::vector<Bytes>& given) : texts(given) {
    for (Bytes& text : texts) lines.push_back({static_cast<uint32_t>(text.size()), text.data()});
  }
  int Count() const { return static_cast<int>(lines.size()); }
  const NoteLine* Data() const { return lines.data(); }
};

Bytes Insert(const Bytes& document, const std::vector<Bytes>& texts) {
  Lines lines(texts);
  uint32_t length = 0;
  BYTE* result = InsertParagraphs(document.data(), static_cast<uint32_t>(document.size()), lines.Count(),
                                  lines.Data(), length);
  if (result == nullptr) return Bytes();
  Bytes out(result, result + length);
  free(result);
  return out;
}

Bytes Remove(const Bytes& document, const wchar_t* start = kPimStartMarker,
             const wchar_t* end = kPimEndMarker) {
  uint32_t length = 0;
  BYTE* result = RemoveBlock(document.data(), static_cast<uint32_t>(document.size()), start, end, length);
  if (result == nullptr) return Bytes();
  Bytes out(result, result + length);
  free(result);
  return out;
}

std::vector<Bytes> BlockLines() {
  return {ParagraphOf(kPimStartMarker), ParagraphOf(L"Phone:"), ParagraphOf(L"[Work: 123]"),
          ParagraphOf(kPimEndMarker)};
}

int IsEmpty(const Bytes& document) {
  return IsEmptyDocument(document.data(), static_cast<uint32_t>(document.size()));
}

}  // namespace

TEST_CASE("a text note that begins with {\\pwi and has no byte below 10 in the next nine bytes is plain") {
  Bytes text = Ascii("{\\pwi is how the rich ones begin");
  CHECK(IsPlainNote(text.data(), static_cast<uint32_t>(text.size())));
  Bytes rich = text;
  rich[9] = 9;
  CHECK_FALSE(IsPlainNote(rich.data(), static_cast<uint32_t>(rich.size())));
  rich[9] = 10;
  CHECK(IsPlainNote(rich.data(), static_cast<uint32_t>(rich.size())));
  rich[13] = 0;
  CHECK_FALSE(IsPlainNote(rich.data(), static_cast<uint32_t>(rich.size())));
  // Bytes outside 5 to 13 don't decide.
  Bytes outside = text;
  outside[14] = 0;
  outside[4] = 'i';
  CHECK(IsPlainNote(outside.data(), static_cast<uint32_t>(outside.size())));
  // Short blobs and other beginnings are plain.
  Bytes header = Template();
  CHECK_FALSE(IsPlainNote(header.data(), 15));
  CHECK(IsPlainNote(header.data(), 14));
  header[0] = '[';
  CHECK(IsPlainNote(header.data(), static_cast<uint32_t>(header.size())));
  CHECK(IsPlainNote(nullptr, 0));
}

TEST_CASE("NOTE 170 is the empty document of 408 bytes with exactly the records it must have") {
  Bytes document = Template();
  CHECK(document.size() == 408);
  CHECK(Hex(document) == Hex(ComposeEmptyNote()));
  CHECK_FALSE(IsPlainNote(document.data(), 408));
  CHECK(RecordList(document) ==
        std::vector<std::string>{"0:1", "20:2", "21:3", "7:4", "8:5", "64:6", "65:42", "66:43", "130:9"});
  TableView table = TableOf(document);
  CHECK(table.count == 1);
  CHECK(table.size == 8);
  CHECK(table.entries.size() == 1);
  CHECK(ParagraphTexts(document) == std::vector<std::wstring>{L""});
  CHECK(IsEmpty(document) == 1);
  uint32_t highest = 0, last = 0;
  CHECK(ScanDocument(document.data(), 408, highest, last));
  CHECK(highest == 43);
  CHECK(last == 42);
  // The paragraph's text is the default font and the end of the paragraph.
  CHECK(Hex(document.data() + 334 + 6 + 24, 5) == "E5 01 00 C4 00");
}

TEST_CASE("ScanDocument: the highest id and the last paragraph's id, false for a bad magic") {
  Bytes document = DocumentBuilder().Text(L"one").Record(67, 300, Bytes(8, 1)).Text(L"two").Build();
  uint32_t highest = 0, last = 0;
  CHECK(ScanDocument(document.data(), static_cast<uint32_t>(document.size()), highest, last));
  CHECK(highest == 300);
  CHECK(last == 44);
  document[1] = 'X';
  CHECK_FALSE(ScanDocument(document.data(), static_cast<uint32_t>(document.size()), highest, last));
  CHECK(highest == 0);
  CHECK(last == 0);
  CHECK_FALSE(ScanDocument(nullptr, 0, highest, last));
}

TEST_CASE("ExtractText joins the paragraphs with single spaces and skips empty ones") {
  Bytes document =
      DocumentBuilder().Text(L"").Text(L"first").Text(L"").Text(L"second line").Text(L"third").Build();
  CHECK(U8(ExtractedText(document)) == "first second line third");
  Str out(L"stale");
  Bytes plain = Ascii("just text");
  CHECK_FALSE(ExtractText(plain.data(), static_cast<uint32_t>(plain.size()), out));
  CHECK(out.IsEmpty());
  // A paragraph cut by a character above 0x7FF keeps what came before it.
  Bytes cut = DocumentBuilder().Text(L"cost 5€ in all").Text(L"next").Build();
  CHECK(U8(ExtractedText(cut)) == "cost 5 next");
}

TEST_CASE(
    "a document with only the empty paragraph is empty; a drawing makes it non-empty with no text at all") {
  Bytes empty = DocumentBuilder().Paragraph({0xE5, 0x01, 0x00, 0xC4, 0x00}).Build();
  CHECK(IsEmpty(empty) == 1);
  CHECK(ExtractedText(empty).empty());
  for (BYTE type : {67, 84, 85, 103, 109, 111, 131}) {
    CAPTURE(static_cast<int>(type));
    Bytes drawing =
        DocumentBuilder().Paragraph({0xE5, 0x01, 0x00, 0xC4, 0x00}).Record(type, 70, Bytes(16, 0x33)).Build();
    CHECK(IsEmpty(drawing) == 0);
    CHECK(ExtractedText(drawing).empty());
  }
  // Other record types don't count as content.
  Bytes other =
      DocumentBuilder().Paragraph({0xE5, 0x01, 0x00, 0xC4, 0x00}).Record(90, 70, Bytes(16, 0)).Build();
  CHECK(IsEmpty(other) == 1);
  // Text shows as more characters than paragraphs in the table.
  CHECK(IsEmpty(DocumentBuilder().Text(L"x").Build()) == 0);
  // Null and short blobs are empty; a wrong magic is -1.
  CHECK(IsEmptyDocument(nullptr, 0) == 1);
  CHECK(IsEmptyDocument(empty.data(), 13) == 1);
  Bytes wrong = empty;
  wrong[2] = 'q';
  CHECK(IsEmpty(wrong) == -1);
}

TEST_CASE("the template with n = 1: the table's count becomes 2 and the record's size 10") {
  Bytes document = Template();
  Bytes line = ParagraphOf(L"hello");
  Bytes result = Insert(document, {line});
  REQUIRE(!result.empty());
  TableView table = TableOf(result);
  CHECK(table.count == 2);
  CHECK(table.size == 10);
  CHECK(table.second == 2);
  CHECK(table.total == 1 + 6);
  CHECK(table.third == 2);
  REQUIRE(table.entries.size() == 2);
  CHECK(table.entries[0] == std::vector<uint16_t>{42, 0, 1, 1});
  // The new entry: the id of the last paragraph there was, 0, 1, its characters.
  CHECK(table.entries[1] == std::vector<uint16_t>{42, 0, 1, 6});
  // The trailer names the new paragraph: highest id + 2n.
  CHECK(table.trailer[0] == 45);
  CHECK(table.trailer[1] == 0);
  // New paragraph ids follow the highest id, in front of the end of text.
  CHECK(RecordList(result) == std::vector<std::string>{"0:1", "20:2", "21:3", "7:4", "8:5", "64:6", "65:42",
                                                       "66:43", "65:45", "66:46", "130:9"});
  CHECK(ParagraphTexts(result) == std::vector<std::wstring>{L"", L"hello"});
  // Old size + 8n + ((length + 27) / 4 + 6) * 4.
  CHECK(result.size() == 408 + 8 + ((13 + 27) / 4 + 6) * 4);
  CHECK(InsertedLength(document.data(), 408, 1, Lines({line}).Data()) == result.size());
  // The bytes of the new pair.
  // The new pair stands right before the 18-byte end of text: a 46-byte paragraph and an 18-byte end.
  size_t at = result.size() - 18 - 18 - 46;
  CHECK(Hex(result.data() + at, 30) ==
        "41 00 2D 00 0A 00 06 00 0D 00 01 00 FF FF 2E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  CHECK(Hex(result.data() + at + 30, 13) == Hex(line));
  CHECK(Hex(result.data() + at + 46, 18) == "42 00 2E 00 03 00 06 00 00 00 00 00 00 00 00 00 00 00");
  CHECK(IsEmpty(result) == 0);
}

TEST_CASE(
    "InsertParagraphs with several lines: ids, entries, counts, and the end when there is no end of text") {
  Bytes document = DocumentBuilder().Text(L"user text").Record(67, 90, Bytes(8, 7)).WithoutEnd().Build();
  std::vector<Bytes> texts = {ParagraphOf(L"a"), ParagraphOf(L"bb"), ParagraphOf(L"")};
  Bytes result = Insert(document, texts);
  REQUIRE(!result.empty());
  // Highest id 90: new pairs 92/93, 94/95, 96/97, appended at the very end.
  CHECK(RecordList(result) == std::vector<std::string>{"20:2", "64:6", "65:42", "66:43", "67:90", "65:92",
                                                       "66:93", "65:94", "66:95", "65:96", "66:97"});
  TableView table = TableOf(result);
  CHECK(table.count == 4);
  CHECK(table.size == (4 + 3) * 2);
  CHECK(table.total == 10 + 2 + 3 + 1);
  REQUIRE(table.entries.size() == 4);
  CHECK(table.entries[1] == std::vector<uint16_t>{42, 0, 1, 2});
  CHECK(table.entries[2] == std::vector<uint16_t>{92, 0, 1, 3});
  CHECK(table.entries[3] == std::vector<uint16_t>{94, 0, 1, 1});
  CHECK(table.trailer[0] == 96);
  CHECK(ParagraphTexts(result) == std::vector<std::wstring>{L"user text", L"a", L"bb", L""});
}

TEST_CASE("InsertParagraphs refuses what it can't extend, and a damaged end goes along unchanged") {
  Bytes document = Template();
  Lines one({ParagraphOf(L"x")});
  uint32_t length = 99;
  CHECK(InsertParagraphs(nullptr, 408, 1, one.Data(), length) == nullptr);
  CHECK(length == 0);
  CHECK(InsertParagraphs(document.data(), 0, 1, one.Data(), length) == nullptr);
  CHECK(InsertParagraphs(document.data(), 408, 0, one.Data(), length) == nullptr);
  Bytes plain = Ascii("{\\pwi but not rich at all, only a text");
  CHECK(Insert(plain, {ParagraphOf(L"x")}).empty());
  // No paragraph table, or two of them.
  Bytes noTable = document;
  noTable[kNoteHeaderSize + 102 + 10 + 10 + 90 + 70] = 63;
  CHECK(Insert(noTable, {ParagraphOf(L"x")}).empty());
  Bytes twoTables = DocumentBuilder().Text(L"x").Record(64, 77, Bytes(24, 0)).Build();
  CHECK(Insert(twoTables, {ParagraphOf(L"x")}).empty());
  // A line longer than its 16-bit length field.
  Bytes longLine(0x10000, 'a');
  CHECK(Insert(document, {longLine}).empty());
  Bytes longest(0xFFFF, 'a');
  CHECK(!Insert(document, {longest}).empty());
  // Bytes behind the last whole record: carried behind the new paragraphs.
  Bytes damaged = document;
  damaged.resize(408 - 18);                     // without the end of text
  Bytes tail = {130, 0, 9, 0, 40, 0, 1, 2, 3};  // a record running past the end
  damaged.insert(damaged.end(), tail.begin(), tail.end());
  Bytes result = Insert(damaged, {ParagraphOf(L"x")});
  REQUIRE(!result.empty());
  CHECK(Hex(Bytes(result.end() - 9, result.end())) == Hex(tail));
  CHECK(ParagraphTexts(result) == std::vector<std::wstring>{L"", L"x"});
}

TEST_CASE("after InsertParagraphs and RemoveBlock of the same lines the text of the document is unchanged") {
  Bytes document = Template();
  Bytes inserted = Insert(document, BlockLines());
  REQUIRE(!inserted.empty());
  CHECK(U8(ExtractedText(inserted)) ==
        "== start pim information == Phone: [Work: 123] == end pim information ==");
  Bytes removed = Remove(inserted);
  REQUIRE(!removed.empty());
  CHECK(ExtractedText(removed) == ExtractedText(document));
  // The same bytes as before: the table's counts, entries and trailer go back as they were.
  CHECK(Hex(removed) == Hex(document));

  Bytes user = DocumentBuilder().Text(L"Call after six").Text(L"").Text(L"Ключ под ковриком").Build();
  Bytes extended = Insert(user, BlockLines());
  REQUIRE(!extended.empty());
  Bytes back = Remove(extended);
  CHECK(U8(ExtractedText(back)) == U8(ExtractedText(user)));
  CHECK(Hex(back) == Hex(user));
}

TEST_CASE(
    "RemoveBlock takes the run from the start marker to the end marker, their end records and their "
    "objects") {
  Bytes objectRef = ParagraphOf(L"see ");
  objectRef.insert(objectRef.end() - 2, {0xC2, 0x2C, 0x01});  // the object 300
  Bytes document = DocumentBuilder()
                       .Text(L"before")
                       .Record(67, 200, Bytes(12, 0x44))  // a drawing of the user's
                       .Text(kPimStartMarker)
                       .Paragraph(objectRef)
                       .Record(67, 300, Bytes(12, 0x55))  // the object the block refers to
                       .Text(kPimEndMarker)
                       .Text(L"after")
                       .Build();
  Bytes result = Remove(document);
  REQUIRE(!result.empty());
  CHECK(RecordList(result) ==
        std::vector<std::string>{"20:2", "64:6", "65:42", "66:43", "67:200", "65:50", "66:51", "130:9"});
  CHECK(ParagraphTexts(result) == std::vector<std::wstring>{L"before", L"after"});
  TableView before = TableOf(document);
  TableView table = TableOf(result);
  CHECK(table.count == 2);
  CHECK(table.size == 10);
  CHECK(table.second == 2);
  CHECK(table.third == 2);
  CHECK(table.total == before.total - before.entries[1][3] - before.entries[2][3] - before.entries[3][3]);
  REQUIRE(table.entries.size() == 2);
  CHECK(table.entries[0] == before.entries[0]);
  CHECK(table.entries[1] == before.entries[4]);
  CHECK(table.trailer[0] == before.trailer[0]);
  CHECK(IsEmpty(result) == 0);
}

TEST_CASE("RemoveBlock keeps an empty first paragraph under the old ids when the block began the document") {
  Bytes document = DocumentBuilder().Text(kPimStartMarker).Text(L"Phone:").Text(kPimEndMarker).Build();
  Bytes result = Remove(document);
  REQUIRE(!result.empty());
  CHECK(RecordList(result) == std::vector<std::string>{"20:2", "64:6", "65:42", "66:43", "130:9"});
  CHECK(ParagraphTexts(result) == std::vector<std::wstring>{L""});
  TableView table = TableOf(result);
  CHECK(table.count == 1);
  CHECK(table.second == 1);
  CHECK(table.total == 1);
  CHECK(table.third == 1);
  REQUIRE(table.entries.size() == 1);
  CHECK(table.entries[0] == std::vector<uint16_t>{42, 0, 1, 1});
  CHECK(table.trailer[0] == 42);
  CHECK(IsEmpty(result) == 1);
  // The stand-in is the empty paragraph of the template, byte for byte.
  Bytes expected = DocumentBuilder().Paragraph({0xE5, 0x01, 0x00, 0xC4, 0x00}).Build();
  CHECK(Hex(result) == Hex(expected));
}

TEST_CASE("RemoveBlock gives nothing without a block, without its end, or for what isn't a rich document") {
  Bytes plain = DocumentBuilder().Text(L"nothing of the kind").Build();
  CHECK(Remove(plain).empty());
  Bytes open = DocumentBuilder().Text(L"x").Text(kPimStartMarker).Text(L"Phone:").Build();
  CHECK(Remove(open).empty());
  Bytes reversed = DocumentBuilder().Text(kPimEndMarker).Text(kPimStartMarker).Build();
  CHECK(Remove(reversed).empty());
  uint32_t length = 7;
  CHECK(RemoveBlock(nullptr, 100, kPimStartMarker, kPimEndMarker, length) == nullptr);
  CHECK(length == 0);
  Bytes document = Insert(Template(), BlockLines());
  CHECK(RemoveBlock(document.data(), 13, kPimStartMarker, kPimEndMarker, length) == nullptr);
  document[0] = '(';
  CHECK(Remove(document).empty());
  // Both markers in one paragraph make a block of one paragraph.
  Bytes together =
      DocumentBuilder().Text(L"keep").Text(L"== start pim information == == end pim information ==").Build();
  Bytes result = Remove(together);
  CHECK(ParagraphTexts(result) == std::vector<std::wstring>{L"keep"});
}

TEST_CASE("the Into forms write exactly the bytes of the allocating forms and refuse a room too small") {
  Bytes document = Template();
  std::vector<Bytes> texts = BlockLines();
  Lines lines(texts);
  Bytes inserted = Insert(document, texts);
  GuardedBuffer room(inserted.size());
  CHECK(InsertParagraphsInto(document.data(), 408, lines.Count(), lines.Data(), room.Data(),
                             static_cast<uint32_t>(room.Size())) == inserted.size());
  CHECK(Hex(room.Data(), static_cast<uint32_t>(room.Size())) == Hex(inserted));
  CHECK(room.Intact());
  GuardedBuffer small(inserted.size() - 1);
  CHECK(InsertParagraphsInto(document.data(), 408, lines.Count(), lines.Data(), small.Data(),
                             static_cast<uint32_t>(small.Size())) == 0);
  CHECK(small.Intact());

  Bytes removed = Remove(inserted);
  GuardedBuffer target(inserted.size());
  CHECK(RemoveBlockInto(inserted.data(), static_cast<uint32_t>(inserted.size()), kPimStartMarker,
                        kPimEndMarker, target.Data(),
                        static_cast<uint32_t>(target.Size())) == removed.size());
  CHECK(Hex(target.Data(), static_cast<uint32_t>(removed.size())) == Hex(removed));
  CHECK(target.Intact());
  GuardedBuffer tight(removed.size() - 1);
  CHECK(RemoveBlockInto(inserted.data(), static_cast<uint32_t>(inserted.size()), kPimStartMarker,
                        kPimEndMarker, tight.Data(), static_cast<uint32_t>(tight.Size())) == 0);
  CHECK(tight.Intact());
}
