// Helpers of the extended data tests: bytes and texts that doctest can print, rich documents composed
// record by record, buffers with guard bytes and with a no-access page behind them, random extended
// blocks, and a readable dump of an extended block that the helper program prints the same way.
#pragma once

#include "WideText.h"
#include "extended/NoteBlob.h"
#include "storage/db/ByteBuffer.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactExtended.h"

#include <windows.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace exttest {

typedef std::vector<BYTE> Bytes;

std::wstring W(const Str& text);
std::string Hex(const Bytes& bytes);
// A label and value pair of the extended lists.
LabelValue Pair(const wchar_t* label, const wchar_t* value);
inline std::string Hex(const BYTE* data, uint32_t length) { return Hex(Bytes(data, data + length)); }

Bytes BytesOf(const ByteBuffer& buffer);
ByteBuffer BufferOf(const Bytes& bytes);
Bytes Ascii(const char* text);
// A plain wide Note: FE FF and the characters.
ByteBuffer WideNote(const std::wstring& text);
// The characters of a plain wide Note, behind its mark.
std::wstring WideText(const ByteBuffer& note);
// A plain 8-bit Note in the default code page.
ByteBuffer AnsiNote(const std::string& text);

// The encoded text of a plain paragraph (E5 01 00 E6 08 00, text, C4 00), with any character that
// the encoding takes (test-side, independent of the code under test).
Bytes ParagraphOf(const std::wstring& text);
// The empty document as the record structure describes it, byte for byte: what NOTE 170 must hold.
Bytes ComposeEmptyNote();

// A rich document put together record by record, for documents the template alone can't show:
// several paragraphs, drawings, objects referred to from the text, a missing end of text.
class DocumentBuilder {
 public:
  DocumentBuilder();
  // A paragraph of raw encoded text; its id and its end record's id follow from the last ids used.
  DocumentBuilder& Paragraph(const Bytes& text);
  DocumentBuilder& Text(const std::wstring& text) { return Paragraph(ParagraphOf(text)); }
  // Any record with the given body (padded to whole 4-byte units for the usual types).
  DocumentBuilder& Record(BYTE type, uint16_t id, const Bytes& body, BYTE sub = 0);
  DocumentBuilder& WithoutEnd() {
    m_end = false;
    return *this;
  }
  Bytes Build() const;

 private:
  struct Item {
    bool paragraph;
    Bytes text;
    uint16_t id;
    BYTE type;
    BYTE sub;
    Bytes body;
  };
  std::vector<Item> m_items;
  uint16_t m_nextId;
  bool m_end;
};

// Paragraph texts of a document decoded with the code under test, and their number.
std::vector<std::wstring> ParagraphTexts(const Bytes& document);
std::wstring ExtractedText(const Bytes& document);
// Paragraph texts joined as ExtractText joins them: one space between two that aren't empty.
std::wstring JoinedTexts(const std::vector<std::wstring>& parts);
// Table fields of a document (count, second count, total characters, third count) and its entries.
struct TableView {
  bool found = false;
  uint32_t count = 0, second = 0, total = 0;
  uint16_t third = 0;
  uint16_t size = 0;
  std::vector<std::vector<uint16_t>> entries;
  uint16_t trailer[2] = {0, 0};
};
TableView TableOf(const Bytes& document);
// What the tests know of a document from their own walk of its records.
struct DocumentFacts {
  bool tableValid = false;  // exactly one paragraph table, of (count + 3) * 8 bytes
  uint32_t tableCount = 0;
  uint32_t highestId = 0;
  size_t paragraphs = 0;
  size_t paragraphsBeforeEnd = 0;  // paragraphs before the first end of text, all when there is none
  bool hasEnd = false;
};
DocumentFacts FactsOf(const Bytes& document);
// The records of a document as "type:id" in order.
std::vector<std::string> RecordList(const Bytes& document);

// A block of memory with guard bytes of a known pattern on both sides of `size` usable bytes.
class GuardedBuffer {
 public:
  explicit GuardedBuffer(size_t size);
  GuardedBuffer(const BYTE* data, size_t size);
  BYTE* Data() { return m_storage.data() + kGuard; }
  size_t Size() const { return m_size; }
  bool Intact() const;

 private:
  static const size_t kGuard = 64;
  std::vector<BYTE> m_storage;
  size_t m_size;
};

// A copy of `size` bytes placed right at the end of committed memory, with a no-access page behind
// it: any read past the end faults.
class PageGuardedCopy {
 public:
  PageGuardedCopy(const void* data, size_t size);
  ~PageGuardedCopy();
  const BYTE* Data() const { return m_data; }
  size_t Size() const { return m_size; }

 private:
  PageGuardedCopy(const PageGuardedCopy&) = delete;
  PageGuardedCopy& operator=(const PageGuardedCopy&) = delete;
  BYTE* m_base;
  size_t m_reserved;
  BYTE* m_data;
  size_t m_size;
};

// Random extended blocks whose every entry survives the Note: labels begin with a letter or a digit,
// values carry the escaped characters, Cyrillic and inner blanks but no blank at either end and no
// trailing backslash, messenger notes carry no character that the Note would have to escape, addresses
// have at least one part, dates are midnights.
void RandomExtended(std::mt19937& random, ContactExtended& block);
FILETIME Midnight(int year, int month, int day);

// A readable dump of an extended block, one line per entry, the same in the tests and in the helper.
std::string DumpExtended(const ContactExtended& block);

}  // namespace exttest
