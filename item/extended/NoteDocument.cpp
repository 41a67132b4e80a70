// Reading whole rich Notes: their text, and whether they show anything at all.
#include "extended/NoteRecords.h"

bool ExtractText(const BYTE* blob, uint32_t length, Str& out) {
  out.Empty();
  if (!HasNoteMagic(blob, length)) return false;
  NoteWalker walker(blob, length);
  NoteRecord record;
  Str paragraph;  // one block for every paragraph's text
  while (walker.Next(record)) {
    if (record.type != kNoteParagraph) continue;
    const BYTE* text;
    uint32_t textLength;
    ParagraphText(record, text, textLength);
    paragraph.ReleaseBuffer(0);
    DecodeText(text, textLength, paragraph);
    // Paragraphs come out joined by single spaces, the way the block's scanner reads them.
    if (!out.IsEmpty() && !paragraph.IsEmpty()) out += L' ';
    out += paragraph;
  }
  return true;
}

int IsEmptyDocument(const BYTE* blob, uint32_t length) {
  if (blob == nullptr || length < kNoteHeaderSize) return 1;
  if (!HasNoteMagic(blob, length)) return -1;
  NoteWalker walker(blob, length);
  NoteRecord record;
  while (walker.Next(record)) {
    switch (record.type) {
      case kNoteObject:
      case 84:
      case 85:
      case 103:
      case 109:
      case 111:
      case 131:
        return 0;  // a drawing, a sound or another object: something to see without any text
      case kNoteParagraphTable:
        // Every paragraph counts its end as one character: more characters than paragraphs is text.
        if (record.bodyLength >= 12 && NoteU32(record.body + 8) != NoteU32(record.body + 4)) return 0;
        break;
      default:
        break;
    }
  }
  return 1;
}
