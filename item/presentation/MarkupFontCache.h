// The fonts of a window's tagged texts: one font for each combination of style bits and point size
// that its texts really use, made on demand from a template record and kept at a fixed index, so that
// a parsed text can name its fonts by index. A window has one cache, shared by all its texts.
#pragma once
#include <windows.h>
#include <stdint.h>
#include "foundation/Array.h"

class MarkupFontCache {
 public:
  // The template is the system font (stock object 13), with its height as the base height.
  MarkupFontCache();
  virtual ~MarkupFontCache();

  // Reads the record of `font` and takes it as SetBaseLogFont does.
  void SetBaseFont(HFONT font);
  // Takes height, pitch and family, character set, face, width, escapement, orientation and the
  // output, clip and quality precisions from `font`, and makes every font of the table anew at its
  // index. Nothing happens when height, pitch and family, character set and face are those in use.
  void SetBaseLogFont(const LOGFONTW& font);

  // The index of the font for `style` (masked with kFontKeyMask), or -1.
  int FindFont(uint16_t style) const;
  // The index of the font for `style`, made now when the table has none.
  int GetFontIndex(uint16_t style);
  // The font at `index` and, when `overhang` is given, its overhang; null (overhang 0) for an index
  // out of range or a font the platform refused to make.
  HFONT GetFont(int index, int* overhang) const;
  // Deletes every font; indexes handed out before mean nothing afterwards.
  void Clear();

  int GetCount() const { return count; }
  const LOGFONTW& GetBaseLogFont() const { return logFont; }
  LONG GetBaseHeight() const { return baseHeight; }

  // The bits of a style word that choose a font: weight, italic, underline, strike-out and size.
  static const uint16_t kFontKeyMask = 0xFF0F;

 private:
  MarkupFontCache(const MarkupFontCache&) = delete;
  MarkupFontCache& operator=(const MarkupFontCache&) = delete;

  // Makes the font of `key` from the template; fills in its overhang.
  HFONT MakeFont(uint16_t key, int32_t& overhang) const;

  Array<uint16_t> keys;
  Array<HFONT> fonts;
  Array<int32_t> overhangs;
  int count;
  int capacity;
  LOGFONTW logFont;
  LONG baseHeight;
};
