#include "extended/NoteRecords.h"

namespace {

const BYTE kMagic[5] = {'{', '\\', 'p', 'w', 'i'};

}  // namespace

bool HasNoteMagic(const BYTE* blob, uint32_t length) {
  return blob != nullptr && length >= sizeof(kMagic) && memcmp(blob, kMagic, sizeof(kMagic)) == 0;
}

bool IsPlainNote(const BYTE* blob, uint32_t length) {
  if (blob == nullptr || length < 15 || !HasNoteMagic(blob, length)) return true;
  // The editor's header always holds a small number; a text beginning with the same letters doesn't.
  for (uint32_t i = 5; i <= 13; ++i) {
    if (blob[i] < 10) return false;
  }
  return true;
}

NoteWalker::NoteWalker(const BYTE* blob, uint32_t length)
    : m_blob(blob), m_length(length), m_offset(kNoteHeaderSize) {
  if (blob == nullptr || length < kNoteHeaderSize) {
    m_length = 0;
    m_offset = 0;
  }
}

bool NoteWalker::Next(NoteRecord& record) {
  if (m_offset >= m_length || m_length - m_offset < kNoteMinimumRecord) return false;
  const BYTE* head = m_blob + m_offset;
  record.offset = m_offset;
  record.type = head[0];
  record.sub = head[1];
  record.id = NoteU16(head + 2);
  record.size = NoteU16(head + 4);
  if (record.type == 85 || record.type == 111)
    record.bodyLength = record.size + (static_cast<uint32_t>(record.sub) << 16);
  else
    record.bodyLength = static_cast<uint32_t>(record.size) * 4;
  if (record.bodyLength > m_length - m_offset - kNoteRecordHead) return false;
  record.head = head;
  record.body = head + kNoteRecordHead;
  m_offset += record.TotalLength();
  return true;
}

void ParagraphText(const NoteRecord& record, const BYTE*& text, uint32_t& length) {
  text = nullptr;
  length = 0;
  if (record.bodyLength < kNoteParagraphTextOffset) return;
  uint32_t stated = NoteU16(record.body + 2);
  uint32_t room = record.bodyLength - kNoteParagraphTextOffset;
  text = record.body + kNoteParagraphTextOffset;
  length = stated < room ? stated : room;
}

bool FindParagraphTable(const BYTE* blob, uint32_t length, NoteRecord& table) {
  NoteWalker walker(blob, length);
  NoteRecord record;
  int found = 0;
  while (walker.Next(record)) {
    if (record.type != kNoteParagraphTable) continue;
    ++found;
    table = record;
  }
  return found == 1 && IsWellFormedTable(table);
}

bool IsWellFormedTable(const NoteRecord& table) {
  if (table.type != kNoteParagraphTable || table.bodyLength < kNoteTableHead + kNoteTableTrailer)
    return false;
  uint32_t count = NoteU32(table.body);
  return count <= (table.bodyLength - kNoteTableHead - kNoteTableTrailer) / kNoteTableEntry &&
         table.bodyLength == kNoteTableHead + count * kNoteTableEntry + kNoteTableTrailer;
}

void WriteParagraphPair(NoteOutput& out, uint32_t id, uint32_t endId, const BYTE* text, uint32_t textLength,
                        int chars) {
  uint32_t size = ParagraphSize(textLength);
  out.RecordHead(kNoteParagraph, 0, id, size);
  out.U16(static_cast<uint32_t>(chars));
  out.U16(textLength);
  out.U16(1);
  out.U16(0xFFFF);
  out.U16(endId);
  out.Zeros(14);
  out.Bytes(text, textLength);
  out.Zeros(size * 4 - kNoteParagraphTextOffset - textLength);

  out.RecordHead(kNoteParagraphEnd, 0, endId, 3);
  out.U16(static_cast<uint32_t>(chars));
  out.Zeros(10);
}

bool ScanDocument(const BYTE* blob, uint32_t length, uint32_t& highestId, uint32_t& lastParagraphId) {
  highestId = 0;
  lastParagraphId = 0;
  if (!HasNoteMagic(blob, length)) return false;
  NoteWalker walker(blob, length);
  NoteRecord record;
  while (walker.Next(record)) {
    if (record.id > highestId) highestId = record.id;
    if (record.type == kNoteParagraph) lastParagraphId = record.id;
  }
  return true;
}

const BYTE kEmptyParagraphText[5] = {0xE5, 0x01, 0x00, 0xC4, 0x00};

bool NoteTextContains(const wchar_t* text, int length, const wchar_t* what) {
  if (text == nullptr || what == nullptr || what[0] == 0) return false;
  int whatLength = static_cast<int>(wcslen(what));
  for (int i = 0; i + whatLength <= length; ++i) {
    if (text[i] == what[0] && memcmp(text + i, what, whatLength * sizeof(wchar_t)) == 0) return true;
  }
  return false;
}
