// Taking a run of paragraphs (the block of extended data) out of a rich Note.
#include "extended/NoteRecords.h"

#include "foundation/Array.h"
#include "foundation/DebugUtils.h"

#include <stdlib.h>

namespace {

// What the removal found in its first walk: which paragraphs go, and the ids that go with them.
struct RemovePlan {
  RemovePlan()
      : first(-1), span(0), closed(false), substitute(false), firstId(0), firstEndId(0), lastKeptId(-1) {}

  NoteRecord table;
  int first;    // number of the block's first paragraph
  int span;     // paragraphs in the block
  bool closed;  // a paragraph with the end marker was found
  // The document's first paragraph is in the block: an empty one keeps its place and ids.
  bool substitute;
  uint16_t firstId;
  uint16_t firstEndId;
  int lastKeptId;              // id of the last paragraph that stays, -1 for none
  Array<uint16_t> removedIds;  // paragraphs that go
  Array<uint16_t> endIds;      // their end records
  Array<uint16_t> objectIds;   // objects their text refers to

  bool InBlock(int number) const { return first >= 0 && number >= first && number < first + span; }
};

bool Holds(const Array<uint16_t>& ids, uint16_t id) {
  for (int i = 0; i < ids.GetSize(); ++i) {
    if (ids[i] == id) return true;
  }
  return false;
}

void NoteObjects(const BYTE* text, uint32_t length, Array<uint16_t>& objects) {
  uint32_t position = 0;
  NoteCode code;
  while (position < length && ReadNoteCode(text, length, position, code) == 0) {
    if (code.kind == NoteCodeObject && !Holds(objects, code.object)) objects.Add(code.object);
    position += code.length;
  }
}

bool Plan(const BYTE* blob, uint32_t length, const wchar_t* start, const wchar_t* end, RemovePlan& plan) {
  if (blob == nullptr || length < kNoteHeaderSize || !HasNoteMagic(blob, length)) return false;
  if (start == nullptr || start[0] == 0 || end == nullptr || end[0] == 0) return false;
  if (!FindParagraphTable(blob, length, plan.table)) return false;

  NoteWalker walker(blob, length);
  NoteRecord record;
  int number = 0;
  Str decoded;  // one block for every paragraph's text
  while (walker.Next(record)) {
    if (record.type != kNoteParagraph) continue;
    const BYTE* text;
    uint32_t textLength;
    ParagraphText(record, text, textLength);
    if (!plan.closed) {
      decoded.ReleaseBuffer(0);
      DecodeText(text, textLength, decoded);
      if (plan.first < 0 && NoteTextContains(decoded, decoded.GetLength(), start)) plan.first = number;
      if (plan.first >= 0) {
        ++plan.span;
        if (NoteTextContains(decoded, decoded.GetLength(), end)) plan.closed = true;
      }
    }
    if (plan.InBlock(number)) {
      uint16_t endId =
          record.bodyLength >= 10 ? NoteU16(record.body + 8) : static_cast<uint16_t>(record.id + 1);
      if (!Holds(plan.endIds, endId)) plan.endIds.Add(endId);
      NoteObjects(text, textLength, plan.objectIds);
      if (number == 0) {
        plan.substitute = true;
        plan.firstId = record.id;
        plan.firstEndId = endId;
        plan.lastKeptId = record.id;
      } else {
        plan.removedIds.Add(record.id);
      }
    } else {
      plan.lastKeptId = record.id;
    }
    ++number;
  }
  return plan.first >= 0 && plan.closed;
}

int64_t AtLeast(int64_t value, int64_t floor) { return value < floor ? floor : value; }

void WriteTable(NoteOutput& out, const NoteRecord& table, const RemovePlan& plan) {
  const BYTE* body = table.body;
  uint32_t count = NoteU32(body);
  const BYTE* entries = body + kNoteTableHead;

  uint32_t kept = 0;
  int64_t removedChars = 0;
  for (uint32_t j = 0; j < count; ++j) {
    bool inBlock = j < 0x7FFFFFFFu && plan.InBlock(static_cast<int>(j));
    if (inBlock) removedChars += NoteU16(entries + j * kNoteTableEntry + 6);
    if (!inBlock || (j == 0 && plan.substitute)) ++kept;
  }
  // The empty paragraph that stands in for the first one counts as one paragraph of one character.
  int64_t removedParagraphs = plan.span - (plan.substitute ? 1 : 0);
  int64_t addedChars = plan.substitute ? 1 : 0;

  out.RecordHead(table.type, table.sub, table.id, (kept + 3) * 2);
  out.U32(kept);
  out.U32(static_cast<uint32_t>(AtLeast(static_cast<int64_t>(NoteU32(body + 4)) - removedParagraphs, 0)));
  out.U32(
      static_cast<uint32_t>(AtLeast(static_cast<int64_t>(NoteU32(body + 8)) - removedChars + addedChars, 0)));
  out.U16(static_cast<uint32_t>(AtLeast(static_cast<int64_t>(NoteU16(body + 12)) - removedParagraphs, 1)));
  out.Bytes(body + 14, kNoteTableHead - 14);
  for (uint32_t j = 0; j < count; ++j) {
    const BYTE* entry = entries + j * kNoteTableEntry;
    bool inBlock = j < 0x7FFFFFFFu && plan.InBlock(static_cast<int>(j));
    if (!inBlock) {
      out.Bytes(entry, kNoteTableEntry);
    } else if (j == 0 && plan.substitute) {
      out.U16(NoteU16(entry));
      out.U16(0);
      out.U16(1);
      out.U16(1);
    }
  }
  // The trailer names the last paragraph; when that one went, the last that stays takes its place.
  const BYTE* trailer = entries + count * kNoteTableEntry;
  uint16_t last = NoteU16(trailer);
  if (Holds(plan.removedIds, last) && plan.lastKeptId >= 0) last = static_cast<uint16_t>(plan.lastKeptId);
  out.U16(last);
  out.Bytes(trailer + 2, 2);
}

uint32_t Write(const BYTE* blob, uint32_t length, const RemovePlan& plan, BYTE* target, uint32_t capacity) {
  if (target == nullptr) return 0;
  NoteOutput out(target, capacity);
  out.Bytes(blob, kNoteHeaderSize);
  NoteWalker walker(blob, length);
  NoteRecord record;
  int number = 0;
  while (walker.Next(record)) {
    switch (record.type) {
      case kNoteParagraphTable:
        WriteTable(out, record, plan);
        continue;
      case kNoteParagraph: {
        bool inBlock = plan.InBlock(number);
        ++number;
        if (!inBlock) break;
        if (number == 1 && plan.substitute)
          WriteParagraphPair(out, plan.firstId, plan.firstEndId, kEmptyParagraphText,
                             sizeof(kEmptyParagraphText), 1);
        continue;
      }
      case kNoteParagraphEnd:
        if (Holds(plan.endIds, record.id)) continue;
        break;
      case kNoteObject:
        if (Holds(plan.objectIds, record.id)) continue;
        break;
      default:
        break;
    }
    out.Bytes(record.head, record.TotalLength());
  }
  out.Bytes(blob + walker.Rest(), length - walker.Rest());
  return out.Overflow() ? 0 : out.Used();
}

}  // namespace

uint32_t RemoveBlockInto(const BYTE* blob, uint32_t length, const wchar_t* start, const wchar_t* end,
                         BYTE* out, uint32_t capacity) {
  RemovePlan plan;
  if (!Plan(blob, length, start, end, plan)) return 0;
  return Write(blob, length, plan, out, capacity);
}

BYTE* RemoveBlock(const BYTE* blob, uint32_t length, const wchar_t* start, const wchar_t* end,
                  uint32_t& newLength) {
  newLength = 0;
  RemovePlan plan;
  if (!Plan(blob, length, start, end, plan)) return nullptr;
  // Room for the old document and an empty paragraph pair that may stand in for the first one.
  uint32_t capacity = length + kRemoveExtraRoom;
  BYTE* target = CheckAllocation(static_cast<BYTE*>(malloc(capacity)));
  uint32_t written = Write(blob, length, plan, target, capacity);
  if (written == 0) {
    free(target);
    return nullptr;
  }
  newLength = written;
  return target;
}
