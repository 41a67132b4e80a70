// Adding paragraphs to a rich Note.
#include "extended/NoteRecords.h"

#include "foundation/DebugUtils.h"

#include <stdlib.h>

namespace {

// What an insertion needs to know about the document before it writes a byte.
struct InsertPlan {
  NoteRecord table;
  uint32_t highestId;
  uint32_t lastParagraphId;
  uint64_t newLength;
};

bool Plan(const BYTE* blob, uint32_t length, int count, const NoteLine* lines, InsertPlan& plan) {
  if (blob == nullptr || length == 0 || count <= 0 || lines == nullptr) return false;
  if (length < kNoteHeaderSize || !HasNoteMagic(blob, length)) return false;
  // One walk finds the table, the highest id and the last paragraph.
  plan.highestId = 0;
  plan.lastParagraphId = 0;
  int tables = 0;
  NoteWalker walker(blob, length);
  NoteRecord record;
  while (walker.Next(record)) {
    if (record.id > plan.highestId) plan.highestId = record.id;
    if (record.type == kNoteParagraph) plan.lastParagraphId = record.id;
    if (record.type == kNoteParagraphTable) {
      ++tables;
      plan.table = record;
    }
  }
  if (tables != 1 || !IsWellFormedTable(plan.table)) return false;

  uint64_t n = static_cast<uint64_t>(count);
  // The table's size field holds (count + 3) * 2, and every new id must fit its 16 bits.
  if ((NoteU32(plan.table.body) + n + 3) * 2 > 0xFFFF) return false;
  if (plan.highestId + 2 * n + 1 > 0xFFFF) return false;

  uint64_t grown = static_cast<uint64_t>(length) + 8 * n;
  for (int i = 0; i < count; ++i) {
    if (lines[i].length > 0xFFFF || (lines[i].data == nullptr && lines[i].length != 0)) return false;
    grown += (static_cast<uint64_t>(ParagraphSize(lines[i].length)) + 6) * 4;
  }
  if (grown > 0xFFFFFFF0u) return false;
  plan.newLength = grown;
  return true;
}

// Characters of a new paragraph; an error number stands as the count, as the platform's reader finds it.
int LineChars(const NoteLine& line) { return CountChars(line.data, line.length); }

void WriteTable(NoteOutput& out, const NoteRecord& table, int count, const NoteLine* lines,
                const InsertPlan& plan) {
  uint32_t oldCount = NoteU32(table.body);
  uint32_t n = static_cast<uint32_t>(count);
  uint32_t addedChars = 0;
  for (int i = 0; i < count; ++i) addedChars += static_cast<uint32_t>(LineChars(lines[i]));

  out.RecordHead(table.type, table.sub, table.id, (oldCount + n + 3) * 2);
  out.U32(oldCount + n);
  out.U32(NoteU32(table.body + 4) + n);
  out.U32(NoteU32(table.body + 8) + addedChars);
  out.U16(NoteU16(table.body + 12) + n);
  // Padding, reserved bytes and the entries there are stay as they are.
  out.Bytes(table.body + 14, kNoteTableHead - 14 + oldCount * kNoteTableEntry);
  for (uint32_t i = 0; i < n; ++i) {
    uint32_t id = i == 0 ? plan.lastParagraphId : plan.highestId + 2 * i;
    out.U16(id);
    out.U16(0);
    out.U16(1);
    out.U16(static_cast<uint32_t>(LineChars(lines[i])));
  }
  out.U16(plan.highestId + 2 * n);
  out.U16(0);
}

void WriteParagraphs(NoteOutput& out, int count, const NoteLine* lines, const InsertPlan& plan) {
  for (int i = 0; i < count; ++i) {
    uint32_t id = plan.highestId + 2 + 2 * static_cast<uint32_t>(i);
    WriteParagraphPair(out, id, id + 1, lines[i].data, lines[i].length, LineChars(lines[i]));
  }
}

uint32_t Write(const BYTE* blob, uint32_t length, int count, const NoteLine* lines, const InsertPlan& plan,
               BYTE* target, uint32_t capacity) {
  if (target == nullptr || capacity < plan.newLength) return 0;
  NoteOutput out(target, capacity);
  out.Bytes(blob, kNoteHeaderSize);
  NoteWalker walker(blob, length);
  NoteRecord record;
  bool inserted = false;
  while (walker.Next(record)) {
    if (record.type == kNoteParagraphTable) {
      WriteTable(out, record, count, lines, plan);
      continue;
    }
    if (record.type == kNoteTextEnd && !inserted) {
      WriteParagraphs(out, count, lines, plan);
      inserted = true;
    }
    out.Bytes(record.head, record.TotalLength());
  }
  if (!inserted) WriteParagraphs(out, count, lines, plan);
  // Bytes that no whole record took (a damaged end) go along unchanged, behind the new paragraphs.
  out.Bytes(blob + walker.Rest(), length - walker.Rest());

  if (out.Overflow() || out.Used() != plan.newLength) return 0;
  return out.Used();
}

}  // namespace

uint32_t InsertedLength(const BYTE* blob, uint32_t length, int count, const NoteLine* lines) {
  InsertPlan plan;
  if (!Plan(blob, length, count, lines, plan)) return 0;
  return static_cast<uint32_t>(plan.newLength);
}

uint32_t InsertParagraphsInto(const BYTE* blob, uint32_t length, int count, const NoteLine* lines, BYTE* out,
                              uint32_t capacity) {
  InsertPlan plan;
  if (!Plan(blob, length, count, lines, plan)) return 0;
  return Write(blob, length, count, lines, plan, out, capacity);
}

BYTE* InsertParagraphs(const BYTE* blob, uint32_t length, int count, const NoteLine* lines,
                       uint32_t& newLength) {
  newLength = 0;
  InsertPlan plan;
  if (!Plan(blob, length, count, lines, plan)) return nullptr;
  uint32_t size = static_cast<uint32_t>(plan.newLength);
  BYTE* target = CheckAllocation(static_cast<BYTE*>(malloc(size)));
  uint32_t written = Write(blob, length, count, lines, plan, target, size);
  if (written == 0) {
    free(target);
    return nullptr;
  }
  newLength = written;
  return target;
}
