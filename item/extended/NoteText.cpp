// The paragraph text encoding of rich Notes, both ways.
#include "extended/NoteRecords.h"

int ReadNoteCode(const BYTE* text, uint32_t length, uint32_t position, NoteCode& code) {
  uint32_t left = length - position;
  BYTE lead = text[position];
  code.kind = NoteCodeControl;
  code.ch = 0;
  code.object = 0;

  uint32_t needed;
  if (lead < 0x80) {
    code.kind = NoteCodeChar;
    code.ch = lead;
    needed = 1;
  } else if (lead <= 0xBF) {
    needed = 2;
    if (left >= needed) {
      code.kind = NoteCodeChar;
      code.ch = static_cast<wchar_t>((lead & 0x3F) + text[position + 1] * 64);
    }
  } else if (lead == 0xC1) {
    needed = 2;
    if (left >= needed) {
      code.kind = NoteCodeChar;
      code.ch = text[position + 1];
    }
  } else if (lead == 0xC2) {
    needed = 3;
    if (left >= needed) {
      code.kind = NoteCodeObject;
      code.object = NoteU16(text + position + 1);
    }
  } else if (lead == 0xC3 || lead == 0xC5) {
    needed = 3;
  } else if (lead == 0xC4) {
    if (left < 2) return kNoteBadControl;
    switch (text[position + 1]) {
      case 0x00:
        code.kind = NoteCodeParagraphEnd;
        needed = 2;
        break;
      case 0x04:
        code.kind = NoteCodeTab;
        needed = 2;
        break;
      case 0x19:
        needed = 4;
        break;
      case 0x1B:
        needed = 8;
        break;
      default:
        return kNoteBadControl;
    }
  } else if (lead >= 0xE5 && lead <= 0xE8) {
    needed = 3;
  } else if (lead >= 0xE9 && lead <= 0xEC) {
    needed = 2;
  } else if (lead == 0xEF) {
    needed = 4;
  } else if (lead == 0xF1) {
    needed = 8;
  } else {
    return kNoteBadCode;
  }
  if (left < needed) return kNoteBadCode;
  code.length = needed;
  return 0;
}

int CountChars(const BYTE* text, uint32_t length) {
  if (text == nullptr) return 0;
  int chars = 0;
  uint32_t position = 0;
  NoteCode code;
  while (position < length) {
    int error = ReadNoteCode(text, length, position, code);
    if (error != 0) return error;
    if (code.kind == NoteCodeChar || code.kind == NoteCodeTab || code.kind == NoteCodeParagraphEnd) ++chars;
    position += code.length;
  }
  return chars;
}

int DecodeText(const BYTE* text, uint32_t length, Str& out) {
  if (text == nullptr || length == 0) return 0;
  if (length > 0x3FFFFFFFu - static_cast<uint32_t>(out.GetLength()))
    return kNoteBadCode;  // no paragraph is this long: a length field that went wrong
  // Every character takes at least one byte, so the text never has more characters than bytes.
  int start = out.GetLength();
  wchar_t* chars = out.GetBuffer(start + static_cast<int>(length));
  int written = start;
  int result = 0;
  uint32_t position = 0;
  NoteCode code;
  while (position < length) {
    result = ReadNoteCode(text, length, position, code);
    if (result != 0) break;
    if (code.kind == NoteCodeChar)
      chars[written++] = code.ch;
    else if (code.kind == NoteCodeTab)
      chars[written++] = L'\t';
    position += code.length;
  }
  out.ReleaseBuffer(written);
  return result;
}

uint32_t EncodeNoteChar(wchar_t ch, BYTE* out) {
  uint32_t c = ch;
  if (c < 0x80) {
    out[0] = static_cast<BYTE>(c);
    return 1;
  }
  if (c <= 0x7FF) {
    out[0] = static_cast<BYTE>((c & 0x3F) | 0x80);
    out[1] = static_cast<BYTE>(c >> 6);
    return 2;
  }
  out[0] = 0xC0;
  out[1] = static_cast<BYTE>(c);
  out[2] = static_cast<BYTE>(c >> 8);
  return 3;
}

uint32_t EncodedNoteLength(const wchar_t* text, int count) {
  uint32_t bytes = 0;
  for (int i = 0; i < count; ++i) {
    uint32_t c = text[i];
    bytes += c < 0x80 ? 1 : c <= 0x7FF ? 2 : 3;
  }
  return bytes;
}
