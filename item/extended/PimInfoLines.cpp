#include "extended/PimInfoLines.h"

#include "extended/PimInfoText.h"
#include "foundation/Array.h"
#include "foundation/DebugUtils.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

namespace {

const BYTE kParagraphStart[] = {0xE5, 0x01, 0x00, 0xE6, 0x08, 0x00};
const BYTE kBold[] = {0xE8, 0x07, 0x00};
const BYTE kMarkerStyle[] = {0xE9, 0x01, 0xEA, 0x01};
const BYTE kMarkerStyleEnd[] = {0xE8, 0x04, 0x00, 0xE9, 0x00, 0xEA, 0x00};
const BYTE kNameEnd[] = {':', 0xE8, 0x04, 0x00};
const BYTE kLabelEnd[] = {':', 0xE8, 0x04, 0x00, ' '};
const BYTE kParagraphEnd[] = {0xC4, 0x00};

// Gathers the bytes of one line.
class LineBytes {
 public:
  template <size_t N>
  void Add(const BYTE (&bytes)[N]) {
    for (size_t i = 0; i < N; ++i) m_bytes.Add(bytes[i]);
  }
  void Add(BYTE byte) { m_bytes.Add(byte); }
  void Text(const wchar_t* text, int count, bool escape) {
    BYTE encoded[3];
    for (int i = 0; i < count; ++i) {
      if (escape && IsPimEscaped(text[i])) m_bytes.Add('\\');
      uint32_t length = EncodeNoteChar(text[i], encoded);
      for (uint32_t k = 0; k < length; ++k) m_bytes.Add(encoded[k]);
    }
  }
  void Text(const Str& text, bool escape) { Text(text, text.GetLength(), escape); }
  void Number(uint32_t value) {
    wchar_t digits[16];
    int count = swprintf(digits, 16, L"%u", static_cast<unsigned>(value));
    Text(digits, count, false);
  }
  NoteLine Take() {
    NoteLine line;
    line.length = static_cast<uint32_t>(m_bytes.GetSize());
    line.data = CheckAllocation(static_cast<BYTE*>(malloc(line.length != 0 ? line.length : 1)));
    if (line.length != 0) memcpy(line.data, m_bytes.GetData(), line.length);
    return line;
  }

 private:
  Array<BYTE> m_bytes;
};

void PairStart(LineBytes& line, const Str& label) {
  line.Add(kParagraphStart);
  line.Add('[');
  line.Add(kBold);
  line.Text(label, true);
  line.Add(kLabelEnd);
}

void PairEnd(LineBytes& line) {
  line.Add(']');
  line.Add(kParagraphEnd);
}

}  // namespace

NoteLine PimMarkerLine(const wchar_t* marker) {
  LineBytes line;
  line.Add(kParagraphStart);
  line.Add(kBold);
  line.Add(kMarkerStyle);
  line.Text(marker, static_cast<int>(wcslen(marker)), false);
  line.Add(kMarkerStyleEnd);
  line.Add(kParagraphEnd);
  return line.Take();
}

NoteLine PimSectionLine(const wchar_t* name) {
  LineBytes line;
  line.Add(kParagraphStart);
  line.Add(kBold);
  line.Text(name, static_cast<int>(wcslen(name)), false);
  line.Add(kNameEnd);
  line.Add(kParagraphEnd);
  return line.Take();
}

NoteLine PimPairLine(const Str& label, const Str& value) {
  LineBytes line;
  PairStart(line, label);
  line.Text(value, true);
  PairEnd(line);
  return line.Take();
}

NoteLine PimMessengerLine(const MessengerEntry& entry) {
  LineBytes line;
  PairStart(line, entry.kind);
  line.Text(entry.note, false);
  line.Add(';');
  line.Add(' ');
  line.Text(entry.id, true);
  PairEnd(line);
  return line.Take();
}

NoteLine PimAddressLine(const Str& label, const Str* parts, uint32_t format) {
  LineBytes line;
  PairStart(line, label);
  for (int i = 0; i < 5; ++i) {
    line.Text(parts[i], true);
    line.Add(';');
    line.Add(' ');
  }
  line.Number(format);
  PairEnd(line);
  return line.Take();
}

NoteLine PimFormatLine(const wchar_t* label, uint32_t format) {
  LineBytes line;
  PairStart(line, Str(label));
  line.Number(format);
  PairEnd(line);
  return line.Take();
}

NoteLine PimImageLine(const Str& name) {
  LineBytes line;
  line.Add(kParagraphStart);
  line.Add('[');
  line.Text(name, true);
  PairEnd(line);
  return line.Take();
}

NoteLine PimPlainLine(const wchar_t* text, int count) {
  LineBytes line;
  line.Add(kParagraphStart);
  line.Text(text, count, false);
  line.Add(kParagraphEnd);
  return line.Take();
}

void FreeNoteLine(NoteLine& line) {
  free(line.data);
  line.data = nullptr;
  line.length = 0;
}
