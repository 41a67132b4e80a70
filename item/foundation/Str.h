// Str: the one string of the system. A single pointer to reference-counted, copy-on-write UTF-16
// text; the three header words live immediately before the first character:
//
//   int32 refCount   owners of the block; negative marks a locked block that is never shared
//   uint32 length    characters without the terminator
//   int32 capacity   size class of the block, in the units of 2 * (length + 7)
//
// A Str is relocatable by bytes (Array moves its elements with a raw copy), and copying one costs an
// increment. One static block stands for every empty string.
#pragma once

#include <stdarg.h>
#include <stdint.h>
#include <windows.h>

struct StrHeader {
  int32_t refCount;
  uint32_t length;
  int32_t capacity;
};

class Str {
 public:
  Str();
  Str(const Str& other);
  Str(const wchar_t* text);
  Str(const wchar_t* text, int count);  // the first `count` characters; 0 or less gives the empty block
  Str(wchar_t ch);
  ~Str();

  Str& operator=(const Str& other);
  Str& operator=(const wchar_t* text);

  // --- raw access -------------------------------------------------------------------------------
  int GetLength() const { return static_cast<int>(Header()->length); }
  bool IsEmpty() const { return Header()->length == 0; }
  operator const wchar_t*() const { return m_text; }

  // Makes the block private and long enough for length + extra, and adds `extra` to the length.
  // The caller places the terminator.
  void CopyBeforeWrite(int extra = 0);
  // Private block with room for max(n, length) characters; the caller ends with ReleaseBuffer.
  wchar_t* GetBuffer(int n);
  // Sets the length to n, or counts up to the first zero when n is -1, and terminates.
  void ReleaseBuffer(int n = -1);
  wchar_t* GetBufferSetLength(int n);
  // Replaces the text by `count` characters of `chars`, reusing a private block that is big enough.
  void AssignCopy(int count, const wchar_t* chars);

  // --- text operations ----------------------------------------------------------------------------
  void MakeUpper();
  void MakeLower();
  void MakeReverse();
  void SetAt(int index, wchar_t ch);  // no check of the index

  void TrimLeft();  // white space
  void TrimLeft(wchar_t ch);
  void TrimLeft(const wchar_t* set);  // null or empty set: nothing
  void TrimRight();
  void TrimRight(wchar_t ch);
  void TrimRight(const wchar_t* set);

  int Remove(wchar_t ch);  // returns how many were removed

  int Find(wchar_t ch, int start = 0) const;
  int Find(const wchar_t* text, int start = 0) const;
  int FindOneOf(const wchar_t* set, int start = 0) const;
  int ReverseFind(wchar_t ch) const;

  Str Mid(int start, int count) const;
  Str Mid(int start) const;  // to the end
  Str Left(int count) const;
  Str Right(int count) const;

  Str& operator+=(const Str& other);
  Str& operator+=(const wchar_t* text);
  Str& operator+=(wchar_t ch);

  friend Str operator+(const Str& a, const Str& b);
  friend Str operator+(const Str& a, const wchar_t* b);
  friend Str operator+(const Str& a, wchar_t b);
  friend Str operator+(const wchar_t* a, const Str& b);
  friend Str operator+(wchar_t a, const Str& b);

  // Exact comparison: same block, then length, then the characters.
  static bool IsEqual(const Str& a, const Str& b);
  // Collation order of the system's default locale: -1, 0 or 1. Null counts as "".
  static int Compare(const wchar_t* a, const wchar_t* b);

  void Empty();

  // printf-style formatting with the platform's wide conventions ("%s" wide, "%S"/"%hs" narrow,
  // "%I64d"). Pass a Str argument as (const wchar_t*); the arguments must not point into this
  // string's own text.
  void Format(const wchar_t* format, ...);
  void FormatV(const wchar_t* format, va_list args);
  // Formats with the string `id` of the program's own resources as the format.
  void FormatResource(UINT id, ...);
  // The upper bound, in characters, that Format reserves before rendering.
  static int FormatBound(const wchar_t* format, ...);
  static int FormatBoundV(const wchar_t* format, va_list args);

  // Loads string `id` of any length from `instance` (null: the program's own module).
  // True when the text is not empty.
  bool LoadResource(UINT id, HINSTANCE instance = nullptr);

  // --- the block behind the text --------------------------------------------------------------------
  StrHeader* Header() const { return reinterpret_cast<StrHeader*>(m_text) - 1; }
  // The process-wide block of the empty string (refCount starts at 100, capacity 64).
  static StrHeader* EmptyBlock();
  // The size class of a block for a text of `length` characters.
  static int32_t SizeClass(uint32_t length);

 private:
  static wchar_t* TextOf(StrHeader* header) { return reinterpret_cast<wchar_t*>(header + 1); }
  static StrHeader* AllocBlock(uint32_t length);
  static void Release(StrHeader* header);
  static bool IsLocked(const StrHeader* header);
  static bool IsLargeEnough(const StrHeader* header, uint32_t length);

  static Str Concat(const wchar_t* a, uint32_t aLength, const wchar_t* b, uint32_t bLength);

  void ReleaseToEmpty();
  void Append(const wchar_t* chars, int count);
  void TrimLeftAt(int skip);
  void CutAt(int length);

  wchar_t* m_text;
};

bool operator==(const Str& a, const Str& b);
bool operator==(const Str& a, const wchar_t* b);
bool operator==(const wchar_t* a, const Str& b);
bool operator!=(const Str& a, const Str& b);
bool operator!=(const Str& a, const wchar_t* b);
bool operator!=(const wchar_t* a, const Str& b);

// Loads string `id` into `buffer` (at most size - 1 characters) from `instance`, or from the program's
// own module when `instance` is null. Returns the length. A missing string leaves the buffer empty,
// is logged and shows a tracer box, and gives 0.
int SafeLoadStr(UINT id, HINSTANCE instance, wchar_t* buffer, int size);
