#include "foundation/Str.h"

#include "foundation/DebugUtils.h"

#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include <wctype.h>

namespace {

struct EmptyStorage {
  StrHeader header;
  wchar_t text[2];
};

// The block of every empty string. Constant-initialised, so it exists before the first Str is made,
// also by the constructors of other static objects. Its count only ever goes up: releases skip it.
EmptyStorage g_empty = {{100, 0, 64}, {0, 0}};

// The module that holds this code: the library in the product, the program in tools and tests.
HINSTANCE OwnModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&OwnModule), &module);
  return module;
}

bool IsBlank(wchar_t ch) { return iswctype(ch, _SPACE) != 0; }

bool InSet(wchar_t ch, const wchar_t* set) { return ch != 0 && wcschr(set, ch) != nullptr; }

int DigitsAt(const wchar_t*& p) {
  int value = 0;
  while (*p >= L'0' && *p <= L'9') {
    value = value * 10 + (*p - L'0');
    ++p;
  }
  return value;
}

// Length of a double rendered with "%*.*f" at the given width and precision + 6. The scratch text
// lives on this function's stack frame, which ends with the call.
__attribute__((noinline)) int RenderedFixedLength(double value, int width, int precision) {
  if (precision < 0) precision = 0;
  // 309 integer digits, a sign and a point are the most a double needs beside its decimals.
  int size = (width > precision + 330 ? width : precision + 330) + 1;
  wchar_t* scratch = static_cast<wchar_t*>(_alloca(size * sizeof(wchar_t)));
  _snwprintf(scratch, size, L"%*.*f", width, precision + 6, value);
  scratch[size - 1] = 0;
  return static_cast<int>(wcslen(scratch));
}

}  // namespace

// --- blocks ---------------------------------------------------------------------------------------------

StrHeader* Str::EmptyBlock() { return &g_empty.header; }

int32_t Str::SizeClass(uint32_t length) {
  // Header, text and terminator in bytes; the class is that, rounded up to four steps for short
  // texts. The heap block is four times the class, which leaves room to append without moving.
  int64_t bytes = 2 * (static_cast<int64_t>(length) + 7);
  if (bytes < 64) return 64;
  if (bytes < 128) return 128;
  if (bytes < 256) return 256;
  if (bytes < 512) return 512;
  return static_cast<int32_t>(bytes);
}

StrHeader* Str::AllocBlock(uint32_t length) {
  int32_t sizeClass = SizeClass(length);
  StrHeader* header = static_cast<StrHeader*>(malloc(4 * static_cast<size_t>(sizeClass)));
  if (header == nullptr) LogError(L"Memory allocation failed", L"Str", L"", 23);
  header->refCount = 1;
  header->length = length;
  header->capacity = sizeClass;
  TextOf(header)[length] = 0;
  return header;
}

void Str::Release(StrHeader* header) {
  if (header == EmptyBlock()) return;
  if (header->refCount == 1)
    free(header);
  else
    --header->refCount;
}

bool Str::IsLocked(const StrHeader* header) {
  // The empty block's count may run over into the negative after many shares; that isn't a lock.
  return header->refCount < 0 && header != EmptyBlock();
}

bool Str::IsLargeEnough(const StrHeader* header, uint32_t length) {
  return header->refCount == 1 && header != EmptyBlock() &&
         static_cast<int64_t>(header->capacity) >= 2 * (static_cast<int64_t>(length) + 7);
}

void Str::ReleaseToEmpty() {
  Release(Header());
  m_text = TextOf(EmptyBlock());
}

// --- construction and assignment --------------------------------------------------------------------------

Str::Str() : m_text(TextOf(EmptyBlock())) {}

Str::Str(const Str& other) : m_text(other.m_text) {
  StrHeader* header = other.Header();
  if (IsLocked(header)) {
    // A locked block stays with its one owner: take a copy of the text.
    m_text = TextOf(EmptyBlock());
    AssignCopy(static_cast<int>(header->length), other.m_text);
    return;
  }
  ++header->refCount;
}

Str::Str(const wchar_t* text) : m_text(TextOf(EmptyBlock())) {
  if (text == nullptr || *text == 0) return;
  uint32_t length = static_cast<uint32_t>(wcslen(text));
  StrHeader* header = AllocBlock(length);
  memcpy(TextOf(header), text, length * sizeof(wchar_t));
  m_text = TextOf(header);
}

Str::Str(const wchar_t* text, int count) : m_text(TextOf(EmptyBlock())) {
  if (text == nullptr || count <= 0) return;
  StrHeader* header = AllocBlock(static_cast<uint32_t>(count));
  memcpy(TextOf(header), text, count * sizeof(wchar_t));
  m_text = TextOf(header);
}

Str::Str(wchar_t ch) : m_text(TextOf(EmptyBlock())) {
  if (ch == 0) return;
  StrHeader* header = AllocBlock(1);
  TextOf(header)[0] = ch;
  m_text = TextOf(header);
}

Str::~Str() { Release(Header()); }

Str& Str::operator=(const Str& other) {
  if (m_text == other.m_text) return *this;
  StrHeader* mine = Header();
  StrHeader* theirs = other.Header();
  if (IsLocked(mine) || IsLocked(theirs)) {
    AssignCopy(static_cast<int>(theirs->length), other.m_text);
    return *this;
  }
  ++theirs->refCount;
  Release(mine);
  m_text = other.m_text;
  return *this;
}

Str& Str::operator=(const wchar_t* text) {
  if (text == m_text) return *this;
  // Built before the old block goes, since `text` may lie inside it.
  Str fresh(text);
  wchar_t* old = m_text;
  m_text = fresh.m_text;
  fresh.m_text = old;
  return *this;
}

// --- raw access -------------------------------------------------------------------------------------------

void Str::CopyBeforeWrite(int extra) {
  StrHeader* header = Header();
  uint32_t length = header->length + static_cast<uint32_t>(extra);
  if (IsLargeEnough(header, length)) {
    header->length = length;
    return;
  }
  StrHeader* fresh = AllocBlock(length);
  memcpy(TextOf(fresh), m_text, (header->length + 1) * sizeof(wchar_t));
  Release(header);
  m_text = TextOf(fresh);
}

wchar_t* Str::GetBuffer(int n) {
  StrHeader* header = Header();
  uint32_t wanted =
      n > 0 && static_cast<uint32_t>(n) > header->length ? static_cast<uint32_t>(n) : header->length;
  if (!IsLargeEnough(header, wanted)) {
    // The new block's length word says `wanted` until ReleaseBuffer sets the real one.
    StrHeader* fresh = AllocBlock(wanted);
    memcpy(TextOf(fresh), m_text, (header->length + 1) * sizeof(wchar_t));
    Release(header);
    m_text = TextOf(fresh);
  }
  return m_text;
}

void Str::ReleaseBuffer(int n) {
  CopyBeforeWrite(0);
  uint32_t length = static_cast<uint32_t>(n) == 0xFFFFFFFFu ? static_cast<uint32_t>(wcslen(m_text))
                                                            : static_cast<uint32_t>(n);
  Header()->length = length;
  m_text[length] = 0;
}

wchar_t* Str::GetBufferSetLength(int n) {
  GetBuffer(n);
  Header()->length = static_cast<uint32_t>(n);
  m_text[n] = 0;
  return m_text;
}

void Str::AssignCopy(int count, const wchar_t* chars) {
  uint32_t length = count > 0 ? static_cast<uint32_t>(count) : 0;
  StrHeader* header = Header();
  if (!IsLargeEnough(header, length)) {
    StrHeader* fresh = AllocBlock(length);
    // Copied before the release: `chars` may be the old block's own text.
    memcpy(TextOf(fresh), chars, length * sizeof(wchar_t));
    Release(header);
    m_text = TextOf(fresh);
    return;
  }
  memmove(m_text, chars, length * sizeof(wchar_t));
  header->length = length;
  m_text[length] = 0;
}

// --- text operations --------------------------------------------------------------------------------------

void Str::MakeUpper() {
  if (IsEmpty()) return;
  CopyBeforeWrite(0);
  CharUpperW(m_text);
}

void Str::MakeLower() {
  if (IsEmpty()) return;
  CopyBeforeWrite(0);
  CharLowerW(m_text);
}

void Str::MakeReverse() {
  if (IsEmpty()) return;
  CopyBeforeWrite(0);
  _wcsrev(m_text);
}

void Str::SetAt(int index, wchar_t ch) {
  CopyBeforeWrite(0);
  m_text[index] = ch;
}

// Drops the first `skip` characters of a private block; an all-trimmed text becomes the empty block.
void Str::TrimLeftAt(int skip) {
  uint32_t length = Header()->length - static_cast<uint32_t>(skip);
  if (length == 0) {
    ReleaseToEmpty();
    return;
  }
  if (skip > 0) {
    memmove(m_text, m_text + skip, (length + 1) * sizeof(wchar_t));
    Header()->length = length;
  }
}

// Cuts a private block at `length`; an all-trimmed text becomes the empty block.
void Str::CutAt(int length) {
  if (length == 0) {
    ReleaseToEmpty();
    return;
  }
  Header()->length = static_cast<uint32_t>(length);
  m_text[length] = 0;
}

void Str::TrimLeft() {
  if (IsEmpty()) return;
  CopyBeforeWrite(0);
  int skip = 0;
  while (m_text[skip] != 0 && IsBlank(m_text[skip])) ++skip;
  TrimLeftAt(skip);
}

void Str::TrimLeft(wchar_t ch) {
  if (IsEmpty()) return;
  CopyBeforeWrite(0);
  int skip = 0;
  while (m_text[skip] != 0 && m_text[skip] == ch) ++skip;
  TrimLeftAt(skip);
}

void Str::TrimLeft(const wchar_t* set) {
  if (set == nullptr || *set == 0 || IsEmpty()) return;
  CopyBeforeWrite(0);
  int skip = 0;
  while (InSet(m_text[skip], set)) ++skip;
  TrimLeftAt(skip);
}

void Str::TrimRight() {
  if (IsEmpty()) return;
  CopyBeforeWrite(0);
  // Scan from the start and remember where the last unbroken run of blanks began.
  int runStart = -1;
  for (int i = 0; m_text[i] != 0; ++i) {
    if (IsBlank(m_text[i])) {
      if (runStart < 0) runStart = i;
    } else {
      runStart = -1;
    }
  }
  if (runStart >= 0) CutAt(runStart);
}

void Str::TrimRight(wchar_t ch) {
  if (IsEmpty()) return;
  CopyBeforeWrite(0);
  int runStart = -1;
  for (int i = 0; m_text[i] != 0; ++i) {
    if (m_text[i] == ch) {
      if (runStart < 0) runStart = i;
    } else {
      runStart = -1;
    }
  }
  if (runStart >= 0) CutAt(runStart);
}

void Str::TrimRight(const wchar_t* set) {
  if (set == nullptr || *set == 0 || IsEmpty()) return;
  CopyBeforeWrite(0);
  int runStart = -1;
  for (int i = 0; m_text[i] != 0; ++i) {
    if (InSet(m_text[i], set)) {
      if (runStart < 0) runStart = i;
    } else {
      runStart = -1;
    }
  }
  if (runStart >= 0) CutAt(runStart);
}

int Str::Remove(wchar_t ch) {
  if (IsEmpty()) return 0;
  CopyBeforeWrite(0);
  int length = GetLength();
  int kept = 0;
  for (int i = 0; i < length; ++i) {
    if (m_text[i] != ch) m_text[kept++] = m_text[i];
  }
  int removed = length - kept;
  if (removed > 0) CutAt(kept);
  return removed;
}

int Str::Find(wchar_t ch, int start) const {
  if (start < 0) start = 0;
  if (start >= GetLength()) return -1;
  const wchar_t* hit = wcschr(m_text + start, ch);
  return hit == nullptr ? -1 : static_cast<int>(hit - m_text);
}

int Str::Find(const wchar_t* text, int start) const {
  if (start < 0) start = 0;
  if (start >= GetLength()) return -1;
  const wchar_t* hit = wcsstr(m_text + start, text != nullptr ? text : L"");
  return hit == nullptr ? -1 : static_cast<int>(hit - m_text);
}

int Str::FindOneOf(const wchar_t* set, int start) const {
  if (start < 0) start = 0;
  if (start >= GetLength() || set == nullptr) return -1;
  const wchar_t* hit = wcspbrk(m_text + start, set);
  return hit == nullptr ? -1 : static_cast<int>(hit - m_text);
}

int Str::ReverseFind(wchar_t ch) const {
  const wchar_t* hit = wcsrchr(m_text, ch);
  return hit == nullptr ? -1 : static_cast<int>(hit - m_text);
}

Str Str::Mid(int start, int count) const {
  int length = GetLength();
  if (start < 0) start = 0;
  if (count < 0) count = 0;
  if (start > length) return Str();
  if (count > length - start) count = length - start;
  if (start == 0 && count == length) return *this;
  return Str(m_text + start, count);
}

Str Str::Mid(int start) const { return Mid(start, GetLength() - (start < 0 ? 0 : start)); }

Str Str::Left(int count) const {
  if (count < 0) count = 0;
  if (count >= GetLength()) return *this;
  return Str(m_text, count);
}

Str Str::Right(int count) const {
  if (count < 0) count = 0;
  int length = GetLength();
  if (count >= length) return *this;
  return Str(m_text + length - count, count);
}

// --- concatenation ----------------------------------------------------------------------------------------

void Str::Append(const wchar_t* chars, int count) {
  if (count <= 0) return;
  uint32_t oldLength = Header()->length;
  // When the characters come from this very block, a second owner keeps them in place while the
  // text moves to a larger block.
  Str keep;
  if (chars >= m_text && chars <= m_text + oldLength) keep = *this;
  CopyBeforeWrite(count);
  memcpy(m_text + oldLength, chars, count * sizeof(wchar_t));
  m_text[oldLength + count] = 0;
}

Str& Str::operator+=(const Str& other) {
  Append(other.m_text, other.GetLength());
  return *this;
}

Str& Str::operator+=(const wchar_t* text) {
  if (text != nullptr) Append(text, static_cast<int>(wcslen(text)));
  return *this;
}

Str& Str::operator+=(wchar_t ch) {
  if (ch != 0) Append(&ch, 1);
  return *this;
}

Str Str::Concat(const wchar_t* a, uint32_t aLength, const wchar_t* b, uint32_t bLength) {
  Str result;
  StrHeader* header = AllocBlock(aLength + bLength);
  memcpy(TextOf(header), a, aLength * sizeof(wchar_t));
  memcpy(TextOf(header) + aLength, b, bLength * sizeof(wchar_t));
  result.m_text = TextOf(header);
  return result;
}

Str operator+(const Str& a, const Str& b) {
  if (a.IsEmpty()) return b;
  if (b.IsEmpty()) return a;
  return Str::Concat(a.m_text, a.Header()->length, b.m_text, b.Header()->length);
}

Str operator+(const Str& a, const wchar_t* b) {
  if (b == nullptr || *b == 0) return a;
  if (a.IsEmpty()) return Str(b);
  return Str::Concat(a.m_text, a.Header()->length, b, static_cast<uint32_t>(wcslen(b)));
}

Str operator+(const Str& a, wchar_t b) {
  if (b == 0) return a;
  if (a.IsEmpty()) return Str(b);
  return Str::Concat(a.m_text, a.Header()->length, &b, 1);
}

Str operator+(const wchar_t* a, const Str& b) {
  if (a == nullptr || *a == 0) return b;
  if (b.IsEmpty()) return Str(a);
  return Str::Concat(a, static_cast<uint32_t>(wcslen(a)), b.m_text, b.Header()->length);
}

Str operator+(wchar_t a, const Str& b) {
  if (a == 0) return b;
  if (b.IsEmpty()) return Str(a);
  return Str::Concat(&a, 1, b.m_text, b.Header()->length);
}

// --- comparison -------------------------------------------------------------------------------------------

bool Str::IsEqual(const Str& a, const Str& b) {
  if (a.m_text == b.m_text) return true;
  if (a.Header()->length != b.Header()->length) return false;
  return wcscmp(a.m_text, b.m_text) == 0;
}

int Str::Compare(const wchar_t* a, const wchar_t* b) {
  int result =
      CompareStringW(LOCALE_SYSTEM_DEFAULT, 0, a != nullptr ? a : L"", -1, b != nullptr ? b : L"", -1);
  if (result == CSTR_LESS_THAN) return -1;
  if (result == CSTR_GREATER_THAN) return 1;
  return 0;
}

bool operator==(const Str& a, const Str& b) { return Str::IsEqual(a, b); }

bool operator==(const Str& a, const wchar_t* b) { return wcscmp(a, b != nullptr ? b : L"") == 0; }

bool operator==(const wchar_t* a, const Str& b) { return b == a; }

bool operator!=(const Str& a, const Str& b) { return !Str::IsEqual(a, b); }

bool operator!=(const Str& a, const wchar_t* b) { return !(a == b); }

bool operator!=(const wchar_t* a, const Str& b) { return !(b == a); }

void Str::Empty() {
  if (Header()->length != 0) ReleaseToEmpty();
}

// --- formatting -------------------------------------------------------------------------------------------

int Str::FormatBound(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  int bound = FormatBoundV(format, args);
  va_end(args);
  return bound;
}

int Str::FormatBoundV(const wchar_t* format, va_list args) {
  if (format == nullptr) return 0;
  va_list list;
  va_copy(list, args);

  // A generous estimate, never the exact length: plain characters count twice, numbers a fixed
  // 32 or 128, and only fixed-point numbers are really rendered, since they can be 300 digits long.
  int bound = 0;
  for (const wchar_t* p = format; *p != 0; ++p) {
    if (*p != L'%' || *(++p) == L'%') {
      bound += 2;
      continue;
    }

    int width = 0;
    for (; *p != 0; ++p) {
      if (*p == L'#')
        bound += 2;  // room for "0x"
      else if (*p == L'*')
        width = va_arg(list, int);
      else if (*p != L'-' && *p != L'+' && *p != L'0' && *p != L' ')
        break;
    }
    if (width == 0) width = DigitsAt(p);
    // A negative width from the arguments is a left-aligned field of that size.
    if (width < 0) width = -width;

    int precision = 0;
    bool hasPrecision = false;
    if (*p == L'.') {
      ++p;
      hasPrecision = true;
      if (*p == L'*') {
        precision = va_arg(list, int);
        ++p;
      } else {
        precision = DigitsAt(p);
      }
      if (precision < 0) {  // printf treats it as no precision at all
        precision = 0;
        hasPrecision = false;
      }
    }

    bool is64 = false;
    bool narrow = false;
    bool wide = false;
    if (p[0] == L'I' && p[1] == L'6' && p[2] == L'4') {
      is64 = true;
      p += 3;
    } else if (*p == L'h') {
      narrow = true;
      ++p;
    } else if (*p == L'l') {
      wide = true;
      ++p;
    } else if (*p == L'F' || *p == L'L' || *p == L'N') {
      ++p;
    }

    if (*p == 0)  // a lone "%" at the end
      break;

    bool isText = false;
    int item = 0;
    switch (*p) {
      case L'c':
      case L'C':
        isText = true;
        item = 2;
        (void)va_arg(list, int);
        break;
      case L's':
      case L'S':
        if (is64) break;  // not a text conversion: counts nothing and takes nothing
        isText = true;
        if ((*p == L's' && !narrow) || (*p == L'S' && wide)) {
          const wchar_t* text = va_arg(list, const wchar_t*);
          item = text == nullptr ? 6 : static_cast<int>(wcslen(text));
        } else {
          const char* text = va_arg(list, const char*);
          item = text == nullptr ? 6 : static_cast<int>(strlen(text));
        }
        if (item < 1) item = 1;
        break;
      case L'd':
      case L'i':
      case L'o':
      case L'u':
      case L'x':
      case L'X':
        if (is64)
          (void)va_arg(list, long long);
        else
          (void)va_arg(list, int);
        item = width + precision > 32 ? width + precision : 32;
        break;
      case L'p':
        (void)va_arg(list, void*);
        item = width + precision > 32 ? width + precision : 32;
        break;
      case L'e':
      case L'g':
      case L'G':
        (void)va_arg(list, double);
        item = width + precision > 128 ? width + precision : 128;
        break;
      case L'f':
        item = RenderedFixedLength(va_arg(list, double), width, precision);
        break;
      case L'n':
        (void)va_arg(list, int*);
        break;
      default:
        // Unknown conversions, "E" among them, count nothing and leave the arguments alone.
        break;
    }
    if (isText) {
      if (hasPrecision && item > precision) item = precision;
      if (item < width) item = width;
    }
    bound += item;
  }
  va_end(list);
  return bound;
}

void Str::Format(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  FormatV(format, args);
  va_end(args);
}

void Str::FormatV(const wchar_t* format, va_list args) {
  if (format == nullptr) format = L"";
  // A format taken from this string's own text must survive GetBuffer: a second owner holds it.
  Str keep;
  if (format >= m_text && format <= m_text + GetLength()) keep = *this;

  va_list counting;
  va_copy(counting, args);
  int bound = FormatBoundV(format, counting);
  va_end(counting);

  wchar_t* buffer = GetBuffer(bound);
  // The heap block is four times the size class; writing stops at its real end, not at the bound.
  int room = 2 * Header()->capacity - static_cast<int>(sizeof(StrHeader) / sizeof(wchar_t));
  int written = _vsnwprintf(buffer, static_cast<size_t>(room), format, args);
  if (written < 0 || written >= room) buffer[room - 1] = 0;
  ReleaseBuffer(-1);
}

void Str::FormatResource(UINT id, ...) {
  Str format;
  format.LoadResource(id, nullptr);
  va_list args;
  va_start(args, id);
  FormatV(format, args);
  va_end(args);
}

// --- resources --------------------------------------------------------------------------------------------

bool Str::LoadResource(UINT id, HINSTANCE instance) {
  wchar_t shortText[256];
  int length = SafeLoadStr(id, instance, shortText, 256);
  if (length < 255) {
    *this = shortText;
    return GetLength() > 0;
  }
  // The text filled the stack buffer: read it again into ever larger blocks until it fits with room
  // to spare, which is the only sign that nothing was cut.
  int size = 512;
  for (;;) {
    length = SafeLoadStr(id, instance, GetBuffer(size - 1), size);
    if (size - length >= 2) break;
    size += 256;
  }
  ReleaseBuffer(length);
  return GetLength() > 0;
}

int SafeLoadStr(UINT id, HINSTANCE instance, wchar_t* buffer, int size) {
  HINSTANCE module = instance != nullptr ? instance : OwnModule();
  int length = LoadStringW(module, id, buffer, size);
  if (length == 0) {
    if (size > 0) buffer[0] = 0;
    wchar_t message[128];
    _snwprintf(message, 127, L"Resource loading fail (id: %d hInst: %x)", static_cast<int>(id),
               static_cast<unsigned>(reinterpret_cast<uintptr_t>(module)));
    message[127] = 0;
    LogError(message, L"Str", L"", 173);
    TracerBox(L"SafeLoadStr failed, resid: %d", static_cast<int>(id));
    return 0;
  }
  return length;
}
