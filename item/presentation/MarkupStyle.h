// The attributes a tagged text gives each of its characters: the style word, the font of the style
// in the window's font cache, and the colour.
#pragma once
#include <windows.h>
#include <stdint.h>

// Bits of the style word. Bits 8 to 15 hold the size in points, 0 meaning the cache's base size.
enum MarkupStyleBits : uint16_t {
  kMarkupBold = 0x0001,
  kMarkupItalic = 0x0002,
  kMarkupUnderline = 0x0004,
  kMarkupStrikeOut = 0x0008,
  kMarkupRule = 0x0010,  // the character is a horizontal rule
  kMarkupSizeMask = 0xFF00,
};

inline int MarkupPointSize(uint16_t style) { return style >> 8; }

struct MarkupCharAttr {
  uint16_t style;
  uint16_t fontIndex;  // kMarkupNoFont when the text was parsed without a cache
  uint32_t color;      // 0x00BBGGRR
};

const uint16_t kMarkupNoFont = 0xFFFF;
