#include "presentation/MarkupText.h"

int MarkupLines::Widest() const {
  int widest = 0;
  const int32_t* table = width.GetData();
  for (int i = 0; i < width.GetSize(); ++i) {
    if (table[i] > widest) widest = table[i];
  }
  return widest;
}

MarkupText::MarkupText() : length(0), measured(0), fontCache(nullptr), lineHeight(0), colorOverride(0) {}

MarkupText::MarkupText(const MarkupText& other) : MarkupText() { *this = other; }

MarkupText& MarkupText::operator=(const MarkupText& other) {
  if (this == &other) return *this;
  Clear();
  length = other.length;
  measured = other.measured;
  fontCache = other.fontCache;
  text = other.text;
  attrs = other.attrs;
  widths.SetSize(static_cast<int>(length));
  if (measured) {
    widths = other.widths;
    // A copy of a measured text draws at once, without a measure of its own.
    lineHeight = other.lineHeight;
  }
  return *this;
}

MarkupText::~MarkupText() { Clear(); }

void MarkupText::Clear() {
  widths.RemoveAll();
  attrs.RemoveAll();
  text.RemoveAll();
  length = 0;
  measured = 0;
  lineHeight = 0;
}

int MarkupText::GetAdvance(int index) const {
  if (index < 0 || index >= static_cast<int>(length)) return 0;
  return widths.GetData()[index];
}
