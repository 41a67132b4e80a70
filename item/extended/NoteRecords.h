// NoteRecords: the pieces the Note operations share: little-endian fields, the walk over a rich
// document's records, the paragraph table's check and a byte writer that never passes its room.
#pragma once

#include "extended/NoteBlob.h"

#include <windows.h>

#include <stdint.h>
#include <string.h>

inline uint16_t NoteU16(const BYTE* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

inline uint32_t NoteU32(const BYTE* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

// One record of a document: where it starts, its head fields and its body.
struct NoteRecord {
  uint32_t offset;  // of the record's head
  BYTE type;
  BYTE sub;
  uint16_t id;
  uint16_t size;
  uint32_t bodyLength;  // in bytes
  const BYTE* head;
  const BYTE* body;

  uint32_t TotalLength() const { return kNoteRecordHead + bodyLength; }
};

// Walks the records of a document from offset 14. Next gives the record at the cursor and moves behind
// it; it is false at the end, when fewer than 7 bytes are left, and at a record whose body runs past
// the end of the blob. Rest is then the offset of the first byte that no record took.
class NoteWalker {
 public:
  NoteWalker(const BYTE* blob, uint32_t length);
  bool Next(NoteRecord& record);
  uint32_t Rest() const { return m_offset; }

 private:
  const BYTE* m_blob;
  uint32_t m_length;
  uint32_t m_offset;
};

// The text of a paragraph record: the bytes its text length field names, cut at the end of its body.
void ParagraphText(const NoteRecord& record, const BYTE*& text, uint32_t& length);

// The paragraph table of a document when it has exactly one and its body is (count + 3) * 8 bytes;
// false otherwise.
bool FindParagraphTable(const BYTE* blob, uint32_t length, NoteRecord& table);
// Whether a paragraph table's body is (count + 3) * 8 bytes.
bool IsWellFormedTable(const NoteRecord& table);

// Writes into a buffer of a fixed room. A write that doesn't fit writes nothing and sets the overflow,
// after which every write is refused.
class NoteOutput {
 public:
  NoteOutput(BYTE* out, uint32_t capacity) : m_out(out), m_capacity(capacity), m_used(0), m_overflow(false) {}

  void Bytes(const void* data, uint32_t count) {
    if (m_overflow || count > m_capacity - m_used) {
      m_overflow = true;
      return;
    }
    if (count != 0) memcpy(m_out + m_used, data, count);
    m_used += count;
  }
  void Zeros(uint32_t count) {
    if (m_overflow || count > m_capacity - m_used) {
      m_overflow = true;
      return;
    }
    memset(m_out + m_used, 0, count);
    m_used += count;
  }
  void U8(uint32_t value) {
    BYTE b = static_cast<BYTE>(value);
    Bytes(&b, 1);
  }
  void U16(uint32_t value) {
    BYTE b[2] = {static_cast<BYTE>(value), static_cast<BYTE>(value >> 8)};
    Bytes(b, 2);
  }
  void U32(uint32_t value) {
    BYTE b[4] = {static_cast<BYTE>(value), static_cast<BYTE>(value >> 8), static_cast<BYTE>(value >> 16),
                 static_cast<BYTE>(value >> 24)};
    Bytes(b, 4);
  }
  void RecordHead(BYTE type, BYTE sub, uint32_t id, uint32_t size) {
    U8(type);
    U8(sub);
    U16(id);
    U16(size);
  }

  uint32_t Used() const { return m_used; }
  bool Overflow() const { return m_overflow; }

 private:
  BYTE* m_out;
  uint32_t m_capacity;
  uint32_t m_used;
  bool m_overflow;
};

// Writes a paragraph record and its end record with the given ids, text and character count.
void WriteParagraphPair(NoteOutput& out, uint32_t id, uint32_t endId, const BYTE* text, uint32_t textLength,
                        int chars);
// Record size field of a paragraph with `textLength` bytes of text.
inline uint32_t ParagraphSize(uint32_t textLength) { return (textLength + 27) / 4; }

// One code of a paragraph text.
enum NoteCodeKind {
  NoteCodeChar,          // a character
  NoteCodeTab,           // C4 04, counts as a character
  NoteCodeParagraphEnd,  // C4 00, counts as a character
  NoteCodeObject,        // C2: a reference to an embedded object
  NoteCodeControl,       // any other control, no text
};

struct NoteCode {
  NoteCodeKind kind;
  uint32_t length;  // bytes of the code
  wchar_t ch;       // of a character
  uint16_t object;  // id of a referred object
};

// Reads the code at `position` of an encoded text of `length` bytes. 0, or kNoteBadCode for a byte that
// starts no code and for a code cut off by the end, kNoteBadControl for a byte after C4 that names no
// control (or none at all).
int ReadNoteCode(const BYTE* text, uint32_t length, uint32_t position, NoteCode& code);

// The text of an empty paragraph: the default font, then the end of the paragraph.
extern const BYTE kEmptyParagraphText[5];

// Whether `length` characters of `text` (zeros included) hold `what`.
bool NoteTextContains(const wchar_t* text, int length, const wchar_t* what);
