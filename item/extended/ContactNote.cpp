#include "extended/ContactNote.h"

#include "extended/NoteBlob.h"
#include "extended/PimInfoText.h"
#include "foundation/DebugUtils.h"

#include <stdlib.h>
#include <string.h>
#include <wctype.h>

namespace {

bool HasWideMark(const BYTE* data, uint32_t length) {
  return length >= 2 && data[0] == 0xFE && data[1] == 0xFF;
}

// Where `length` bytes of `what` first stand in `data` from `from` on, stepping by `step`; -1 if nowhere.
int64_t FindBytes(const BYTE* data, uint32_t length, uint32_t from, const BYTE* what, uint32_t whatLength,
                  uint32_t step) {
  for (uint64_t i = from; i + whatLength <= length; i += step) {
    if (memcmp(data + i, what, whatLength) == 0) return static_cast<int64_t>(i);
  }
  return -1;
}

bool IsBlankByte(BYTE b) { return b == ' ' || b == '\t' || b == '\r' || b == '\n' || b == '\v' || b == '\f'; }

// StripBlock of a plain Note: everything but the block when both markers are there, in the form of the
// Note (`wide` with its 2-byte mark).
void StripPlain(const ByteBuffer& note, bool wide, ByteBuffer& raw) {
  const BYTE* data = note.GetData();
  uint32_t length = note.GetLength();
  uint32_t textStart = wide ? 2 : 0;
  uint32_t step = wide ? 2 : 1;

  // The markers in the Note's own form: wide characters in the machine's order, or single bytes.
  BYTE start[64];
  BYTE end[64];
  uint32_t startLength = 0;
  uint32_t endLength = 0;
  for (const wchar_t* p = kPimStartMarker; *p != 0; ++p) {
    start[startLength++] = static_cast<BYTE>(*p);
    if (wide) start[startLength++] = static_cast<BYTE>(*p >> 8);
  }
  for (const wchar_t* p = kPimEndMarker; *p != 0; ++p) {
    end[endLength++] = static_cast<BYTE>(*p);
    if (wide) end[endLength++] = static_cast<BYTE>(*p >> 8);
  }

  int64_t startAt = FindBytes(data, length, textStart, start, startLength, step);
  int64_t endAt = startAt < 0 ? -1
                              : FindBytes(data, length, static_cast<uint32_t>(startAt) + startLength, end,
                                          endLength, step);
  if (startAt < 0 || endAt < 0) {
    raw = note;
  } else {
    uint32_t before = static_cast<uint32_t>(startAt);
    uint32_t behind = static_cast<uint32_t>(endAt) + endLength;
    uint32_t kept = before + (length - behind);
    BYTE* bytes = CheckAllocation(static_cast<BYTE*>(malloc(kept != 0 ? kept : 1)));
    memcpy(bytes, data, before);
    memcpy(bytes + before, data + behind, length - behind);
    raw.Assign(bytes, kept);
    free(bytes);
  }

  // Nothing but white space left (after the mark): no Note at all.
  const BYTE* left = raw.GetData();
  uint32_t leftLength = raw.GetLength();
  bool blank = true;
  if (wide) {
    for (uint32_t i = 2; blank && i + 1 < leftLength; i += 2) {
      wchar_t ch = static_cast<wchar_t>(left[i] | (left[i + 1] << 8));
      blank = iswspace(ch) != 0;
    }
    if (leftLength % 2 != 0 && leftLength > 2) blank = blank && IsBlankByte(left[leftLength - 1]);
  } else {
    for (uint32_t i = 0; blank && i < leftLength; ++i) blank = IsBlankByte(left[i]);
  }
  if (blank) raw.Empty();
}

// A rich Note with nothing to show: empty by its table and its records, and, since a damaged table may
// say so of a document that still holds text, without any text either.
bool ShowsNothing(const BYTE* document, uint32_t length) {
  if (IsEmptyDocument(document, length) != 1) return false;
  Str text;
  ExtractText(document, length, text);
  return text.IsEmpty();
}

}  // namespace

ContactNote::ContactNote() {}

ContactNote::~ContactNote() {}

void ContactNote::NoteAsText(const ByteBuffer& note, Str& out) {
  out.Empty();
  const BYTE* data = note.GetData();
  uint32_t length = note.GetLength();
  if (length == 0) return;
  if (!IsPlainNote(data, length)) {
    ExtractText(data, length, out);
    return;
  }
  if (HasWideMark(data, length)) {
    int count = static_cast<int>(length / 2) - 1;
    if (count > 0) {
      wchar_t* chars = out.GetBuffer(count);
      memcpy(chars, data + 2, static_cast<size_t>(count) * sizeof(wchar_t));
      out.ReleaseBuffer(count);
    }
    return;
  }
  int count = MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(data), static_cast<int>(length),
                                  nullptr, 0);
  if (count > 0) {
    wchar_t* chars = out.GetBuffer(count);
    MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(data), static_cast<int>(length), chars,
                        count);
    out.ReleaseBuffer(count);
  }
}

bool ContactNote::GetNoteText(Contact& contact, Str& out) {
  out.Empty();
  if (contact.noteBlob.IsEmpty()) return true;
  Str text;
  NoteAsText(contact.noteBlob, text);
  if (!reader.Parse(text, text.GetLength())) return false;
  if (reader.HasBlock()) reader.CopyTo(contact);
  out = reader.UserText();
  return true;
}

void ContactNote::StripBlock(Contact& contact) {
  const ByteBuffer& note = contact.noteBlob;
  if (note.IsEmpty()) {
    contact.rawNote = ByteBuffer();
    return;
  }
  const BYTE* data = note.GetData();
  uint32_t length = note.GetLength();
  if (IsPlainNote(data, length)) {
    StripPlain(note, HasWideMark(data, length), contact.rawNote);
    return;
  }
  uint32_t newLength = 0;
  BYTE* document = RemoveBlock(data, length, kPimStartMarker, kPimEndMarker, newLength);
  if (document == nullptr) {
    // No block: the Note is the user's own, unless it shows nothing at all.
    if (ShowsNothing(data, length))
      contact.rawNote = ByteBuffer();
    else
      contact.rawNote = note;
    return;
  }
  if (ShowsNothing(document, newLength))
    contact.rawNote = ByteBuffer();
  else
    contact.rawNote.Assign(document, newLength);
  free(document);
}

bool ContactNote::MergeIntoNote(Contact& contact) { return writer.MergeIntoNote(contact); }
