#include "ProgramLog.h"
#include "TestPaths.h"
#include "WideText.h"
#include "TracerBoxWatcher.h"
#include "test_strings_ids.h"

#include "foundation/DebugUtils.h"
#include "foundation/Str.h"

#include <doctest/doctest.h>

#include <malloc.h>
#include <string.h>

namespace {

int Refs(const Str& s) { return s.Header()->refCount; }

int Capacity(const Str& s) { return s.Header()->capacity; }

const wchar_t* Ptr(const Str& s) { return s; }

bool IsEmptyBlock(const Str& s) { return s.Header() == Str::EmptyBlock(); }

// The characters of the long test strings: id 1000 + n holds n characters of this pattern.
std::wstring PatternText(int length) {
  static const wchar_t alphabet[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  std::wstring text;
  int id = IDS_TEST_LONG_BASE + length;
  for (int i = 0; i < length; ++i) text += alphabet[(i + id) % 62];
  return text;
}

}  // namespace

TEST_CASE("the empty block: one static block with count 100, length 0, class 64") {
  StrHeader* empty = Str::EmptyBlock();
  CHECK(empty->refCount >= 100);  // copies of empty strings may have raised it since
  CHECK(empty->length == 0u);
  CHECK(empty->capacity == 64);
  CHECK(reinterpret_cast<const wchar_t*>(empty + 1)[0] == 0);

  Str none;
  CHECK(none.Header() == empty);
  CHECK(none.GetLength() == 0);
  CHECK(none.IsEmpty());
  CHECK(wcscmp(none, L"") == 0);
}

TEST_CASE("null, empty text and the character 0 all give the default string's very pointer") {
  Str none;
  Str fromNull(static_cast<const wchar_t*>(nullptr));
  Str fromEmpty(L"");
  Str fromZero(L'\0');
  Str fromNoChars(L"abc", 0);
  CHECK(Ptr(fromNull) == Ptr(none));
  CHECK(Ptr(fromEmpty) == Ptr(none));
  CHECK(Ptr(fromZero) == Ptr(none));
  CHECK(Ptr(fromNoChars) == Ptr(none));

  Str assigned(L"text");
  assigned = L"";
  CHECK(Ptr(assigned) == Ptr(none));
  assigned = L"more";
  assigned = static_cast<const wchar_t*>(nullptr);
  CHECK(Ptr(assigned) == Ptr(none));
}

TEST_CASE("sharing the empty block adds to its count; releasing it never counts down") {
  Str none;
  int before = Refs(none);
  {
    Str copy(none);
    CHECK(Ptr(copy) == Ptr(none));
    CHECK(Refs(none) == before + 1);
    Str assigned(L"x");
    assigned = none;
    CHECK(Refs(none) == before + 2);
  }
  CHECK(Refs(none) == before + 2);
  CHECK(Str::EmptyBlock()->length == 0u);
}

TEST_CASE(
    "size classes: 2 * (n + 7) rounded up to 64, 128, 256, 512, then itself; the heap block is four times "
    "that") {
  struct Case {
    int length;
    int sizeClass;
  };
  const Case cases[] = {{1, 64},    {24, 64},   {25, 128},  {56, 128},  {57, 256},  {120, 256},
                        {121, 512}, {248, 512}, {249, 512}, {250, 514}, {300, 614}, {1000, 2014}};
  for (const Case& c : cases) {
    CAPTURE(c.length);
    CHECK(Str::SizeClass(static_cast<uint32_t>(c.length)) == c.sizeClass);
    std::wstring text(c.length, L'q');
    Str s(text.c_str());
    CHECK(s.GetLength() == c.length);
    CHECK(s.Header()->length == static_cast<uint32_t>(c.length));
    CHECK(Capacity(s) == c.sizeClass);
    CHECK(Refs(s) == 1);
    CHECK(_msize(s.Header()) == static_cast<size_t>(4 * c.sizeClass));
    CHECK(U8(s) == U8(text));
  }
  CHECK(Str::SizeClass(0) == 64);
}

TEST_CASE("the header words lie right before the text") {
  Str s(L"abc");
  const unsigned char* text = reinterpret_cast<const unsigned char*>(Ptr(s));
  int32_t words[3];
  memcpy(words, text - 12, 12);
  CHECK(words[0] == 1);
  CHECK(words[1] == 3);
  CHECK(words[2] == 64);
  CHECK(sizeof(Str) == sizeof(void*));
  CHECK(sizeof(StrHeader) == 12);
}

TEST_CASE("a character gives a block of one character") {
  Str s(L'Z');
  CHECK(U8(s) == "Z");
  CHECK(s.GetLength() == 1);
  CHECK(Refs(s) == 1);
  CHECK(Capacity(s) == 64);
}

TEST_CASE("copies share the block and count it; the last release frees it") {
  Str a(L"shared text");
  CHECK(Refs(a) == 1);
  {
    Str b(a);
    CHECK(Ptr(b) == Ptr(a));
    CHECK(Refs(a) == 2);
    Str c;
    c = b;
    CHECK(Ptr(c) == Ptr(a));
    CHECK(Refs(a) == 3);
  }
  CHECK(Refs(a) == 1);
}

TEST_CASE("assignment between strings") {
  SUBCASE("the same pointer changes nothing") {
    Str a(L"abc");
    Str b(a);
    b = a;
    CHECK(Refs(a) == 2);
    a = a;
    CHECK(Refs(a) == 2);
    CHECK(U8(a) == "abc");
  }
  SUBCASE("the old block is released and the source shared") {
    Str old(L"old");
    Str target(old);
    Str source(L"new");
    target = source;
    CHECK(Refs(old) == 1);
    CHECK(Ptr(target) == Ptr(source));
    CHECK(Refs(source) == 2);
  }
  SUBCASE("a locked source is copied, never shared") {
    Str locked(L"locked text");
    locked.Header()->refCount = -1;
    Str target;
    target = locked;
    CHECK(Ptr(target) != Ptr(locked));
    CHECK(U8(target) == "locked text");
    CHECK(Refs(target) == 1);
    CHECK(Refs(locked) == -1);
    Str constructed(locked);
    CHECK(Ptr(constructed) != Ptr(locked));
    CHECK(U8(constructed) == "locked text");
    CHECK(Refs(locked) == -1);
    locked.Header()->refCount = 1;
  }
  SUBCASE("a locked target takes a copy of the text and the source stays unshared") {
    Str target(L"a locked target");
    StrHeader* lockedBlock = target.Header();
    lockedBlock->refCount = -1;
    Str source(L"source");
    target = source;
    CHECK(U8(target) == "source");
    CHECK(Ptr(target) != Ptr(source));
    CHECK(Refs(source) == 1);
    if (target.Header() != lockedBlock)
      free(lockedBlock);  // the copy went to a new block; the locked one had no other owner
    else
      lockedBlock->refCount = 1;
  }
  SUBCASE("assignment from its own text changes nothing; from a part of it, copies first") {
    Str a(L"abcdef");
    const wchar_t* before = a;
    a = static_cast<const wchar_t*>(a);
    CHECK(Ptr(a) == before);
    CHECK(U8(a) == "abcdef");
    a = static_cast<const wchar_t*>(a) + 2;
    CHECK(U8(a) == "cdef");
  }
}

TEST_CASE("changing a shared string leaves the other owner's text unchanged") {
  const Str original(L"  Shared Text xx  ");
  auto check = [&](void (*change)(Str&)) {
    Str copy(original);
    REQUIRE(Ptr(copy) == Ptr(original));
    change(copy);
    CHECK(U8(original) == "  Shared Text xx  ");
    CHECK(Refs(original) == 1);
    CHECK(Ptr(copy) != Ptr(original));
  };
  SUBCASE("SetAt") {
    check([](Str& s) { s.SetAt(2, L'*'); });
  }
  SUBCASE("MakeUpper") {
    check([](Str& s) { s.MakeUpper(); });
  }
  SUBCASE("MakeLower") {
    check([](Str& s) { s.MakeLower(); });
  }
  SUBCASE("MakeReverse") {
    check([](Str& s) { s.MakeReverse(); });
  }
  SUBCASE("TrimLeft") {
    check([](Str& s) { s.TrimLeft(); });
  }
  SUBCASE("TrimRight") {
    check([](Str& s) { s.TrimRight(); });
  }
  SUBCASE("TrimRight set") {
    check([](Str& s) { s.TrimRight(L" x"); });
  }
  SUBCASE("Remove") {
    check([](Str& s) { s.Remove(L'x'); });
  }
  SUBCASE("append") {
    check([](Str& s) { s += L"!"; });
  }
  SUBCASE("GetBuffer") {
    check([](Str& s) {
      s.GetBuffer(0)[0] = L'#';
      s.ReleaseBuffer();
    });
  }
  SUBCASE("Format") {
    check([](Str& s) { s.Format(L"%d", 7); });
  }
}

TEST_CASE("CopyBeforeWrite makes the block private and long enough, and adds to the length") {
  SUBCASE("a private block with room stays") {
    Str s(L"abc");
    const wchar_t* before = s;
    s.CopyBeforeWrite(2);
    CHECK(Ptr(s) == before);
    CHECK(s.GetLength() == 5);
  }
  SUBCASE("a shared block is copied with its terminator") {
    Str a(L"abc");
    Str b(a);
    b.CopyBeforeWrite(30);
    CHECK(Ptr(b) != Ptr(a));
    CHECK(b.GetLength() == 33);
    CHECK(Capacity(b) == Str::SizeClass(33));
    CHECK(wcscmp(b, L"abc") == 0);  // old text and terminator; the caller writes the rest
    CHECK(Refs(a) == 1);
    CHECK(Refs(b) == 1);
  }
  SUBCASE("a block that is too small moves") {
    Str s(L"abc");
    const wchar_t* before = s;
    s.CopyBeforeWrite(23);  // 26 characters need 2 * 33 = 66 > 64
    CHECK(Ptr(s) != before);
    CHECK(Capacity(s) == 128);
    CHECK(s.GetLength() == 26);
  }
  SUBCASE("the empty block is never written") {
    Str s;
    s.CopyBeforeWrite(0);
    CHECK_FALSE(IsEmptyBlock(s));
    CHECK(s.GetLength() == 0);
    CHECK(Str::EmptyBlock()->length == 0u);
  }
}

TEST_CASE("GetBuffer, ReleaseBuffer and GetBufferSetLength") {
  SUBCASE("a private block with room is returned as it is, length unchanged") {
    Str s(L"abc");
    const wchar_t* before = s;
    wchar_t* buffer = s.GetBuffer(20);
    CHECK(buffer == before);
    CHECK(s.GetLength() == 3);
  }
  SUBCASE("a shared block is copied; the new length word is the requested size until released") {
    Str a(L"abc");
    Str b(a);
    wchar_t* buffer = b.GetBuffer(10);
    CHECK(buffer != Ptr(a));
    CHECK(wcscmp(buffer, L"abc") == 0);
    CHECK(b.GetLength() == 10);
    CHECK(Refs(a) == 1);
    wcscpy(buffer, L"hello");
    b.ReleaseBuffer();
    CHECK(b.GetLength() == 5);
    CHECK(U8(b) == "hello");
    CHECK(U8(a) == "abc");
  }
  SUBCASE("a request above the block's class moves the text to a bigger block") {
    Str s(L"abc");
    wchar_t* buffer = s.GetBuffer(100);
    CHECK(Capacity(s) == 256);
    CHECK(wcscmp(buffer, L"abc") == 0);
    for (int i = 0; i < 100; ++i) buffer[i] = L'a' + i % 26;
    s.ReleaseBuffer(100);
    CHECK(s.GetLength() == 100);
    CHECK(Ptr(s)[100] == 0);
  }
  SUBCASE("ReleaseBuffer with a length writes the length word and the terminator") {
    Str s(L"abcdef");
    s.GetBuffer(0);
    s.ReleaseBuffer(2);
    CHECK(U8(s) == "ab");
    CHECK(s.GetLength() == 2);
  }
  SUBCASE("ReleaseBuffer makes a shared block private") {
    Str a(L"abc");
    Str b(a);
    b.ReleaseBuffer(1);
    CHECK(U8(a) == "abc");
    CHECK(U8(b) == "a");
  }
  SUBCASE("GetBufferSetLength") {
    Str s(L"abcdef");
    wchar_t* buffer = s.GetBufferSetLength(4);
    CHECK(buffer == Ptr(s));
    CHECK(s.GetLength() == 4);
    CHECK(U8(s) == "abcd");
    Str empty;
    empty.GetBufferSetLength(3);
    CHECK(empty.GetLength() == 3);
    CHECK(Ptr(empty)[3] == 0);
  }
}

TEST_CASE("AssignCopy reuses a private block with room and otherwise takes a new one") {
  Str s(L"abcdef");
  const wchar_t* before = s;
  s.AssignCopy(3, L"xyz--");
  CHECK(Ptr(s) == before);
  CHECK(U8(s) == "xyz");
  CHECK(s.GetLength() == 3);

  Str shared(s);
  s.AssignCopy(2, L"pq");
  CHECK(Ptr(s) != Ptr(shared));
  CHECK(U8(shared) == "xyz");
  CHECK(U8(s) == "pq");

  std::wstring longText(40, L'L');
  s.AssignCopy(40, longText.c_str());
  CHECK(Capacity(s) == 128);
  CHECK(U8(s) == U8(longText));
}

TEST_CASE("case changes and reversal") {
  Str s(L"Hello World");
  s.MakeUpper();
  CHECK(U8(s) == "HELLO WORLD");
  s.MakeLower();
  CHECK(U8(s) == "hello world");
  s.MakeReverse();
  CHECK(U8(s) == "dlrow olleh");
  Str umlaut(L"\u00e4\u00f6");
  umlaut.MakeUpper();
  CHECK(U8(umlaut) == U8(L"\u00c4\u00d6"));
  Str empty;
  empty.MakeUpper();
  CHECK(IsEmptyBlock(empty));
}

TEST_CASE("SetAt writes the character in a private copy") {
  Str s(L"cat");
  s.SetAt(0, L'b');
  CHECK(U8(s) == "bat");
}

TEST_CASE("TrimRight of only blanks leaves the empty text; a text without a trailing blank is unchanged") {
  Str blanks(L" \t  \r\n ");
  blanks.TrimRight();
  CHECK(blanks.GetLength() == 0);
  CHECK(IsEmptyBlock(blanks));

  Str plain(L"  text");
  const wchar_t* before = plain;
  plain.TrimRight();
  CHECK(U8(plain) == "  text");
  CHECK(plain.GetLength() == 6);
  CHECK(Ptr(plain) == before);

  Str inner(L"a b  c \t ");
  inner.TrimRight();
  CHECK(U8(inner) == "a b  c");
  CHECK(inner.GetLength() == 6);
}

TEST_CASE("TrimRight with a character or a set cuts the last unbroken run") {
  Str s(L"xaxbxx");
  s.TrimRight(L'x');
  CHECK(U8(s) == "xaxb");
  Str set(L"a.,b,.,");
  set.TrimRight(L",.");
  CHECK(U8(set) == "a.,b");
  Str all(L"....");
  all.TrimRight(L'.');
  CHECK(IsEmptyBlock(all));

  Str untouched(L"abc  ");
  untouched.TrimRight(static_cast<const wchar_t*>(nullptr));
  CHECK(U8(untouched) == "abc  ");
  untouched.TrimRight(L"");
  CHECK(U8(untouched) == "abc  ");
}

TEST_CASE("TrimLeft drops the leading white space, character or set") {
  Str s(L" \t\r\n text ");
  s.TrimLeft();
  CHECK(U8(s) == "text ");
  CHECK(s.GetLength() == 5);

  Str zeros(L"000120");
  zeros.TrimLeft(L'0');
  CHECK(U8(zeros) == "120");

  Str set(L"-+-+5-");
  set.TrimLeft(L"+-");
  CHECK(U8(set) == "5-");

  Str untouched(L"  abc");
  untouched.TrimLeft(static_cast<const wchar_t*>(nullptr));
  CHECK(U8(untouched) == "  abc");
  untouched.TrimLeft(L"");
  CHECK(U8(untouched) == "  abc");

  Str blanks(L"   ");
  blanks.TrimLeft();
  CHECK(IsEmptyBlock(blanks));
}

TEST_CASE("Remove deletes every occurrence in place and counts them") {
  Str s(L"a-b-c--");
  const wchar_t* before = s;
  CHECK(s.Remove(L'-') == 4);
  CHECK(U8(s) == "abc");
  CHECK(s.GetLength() == 3);
  CHECK(Ptr(s) == before);
  CHECK(s.Remove(L'z') == 0);
  CHECK(U8(s) == "abc");
}

TEST_CASE("Find gives -1 when the start is at or past the length, even for the empty needle") {
  Str s(L"abcabc");
  CHECK(s.Find(L'a', 6) == -1);
  CHECK(s.Find(L"", 6) == -1);
  CHECK(s.Find(L"a", 6) == -1);
  CHECK(s.Find(L'a', 9) == -1);
  CHECK(s.FindOneOf(L"abc", 6) == -1);
  CHECK(s.Find(L"", 5) == 5);
  Str empty;
  CHECK(empty.Find(L"") == -1);
  CHECK(empty.Find(L'a') == -1);
}

TEST_CASE("Find, FindOneOf and ReverseFind give character indexes") {
  Str s(L"abcabc");
  CHECK(s.Find(L'b') == 1);
  CHECK(s.Find(L'b', 2) == 4);
  CHECK(s.Find(L'z') == -1);
  CHECK(s.Find(L"ca") == 2);
  CHECK(s.Find(L"bc", 2) == 4);
  CHECK(s.Find(L"cb") == -1);
  CHECK(s.FindOneOf(L"xc") == 2);
  CHECK(s.FindOneOf(L"xc", 3) == 5);
  CHECK(s.FindOneOf(L"xyz") == -1);
  CHECK(s.ReverseFind(L'a') == 3);
  CHECK(s.ReverseFind(L'z') == -1);
}

TEST_CASE("Mid(0, length) shares the block; Mid(length + 1, 3) gives the empty string") {
  Str s(L"hello");
  Str whole = s.Mid(0, 5);
  CHECK(Ptr(whole) == Ptr(s));
  CHECK(Refs(s) == 2);
  Str clippedWhole = s.Mid(0, 50);
  CHECK(Ptr(clippedWhole) == Ptr(s));

  Str past = s.Mid(6, 3);
  CHECK(IsEmptyBlock(past));
  CHECK(IsEmptyBlock(s.Mid(5, 3)));
}

TEST_CASE("Mid clips its arguments and builds a new block for a part") {
  Str s(L"hello");
  Str part = s.Mid(1, 3);
  CHECK(U8(part) == "ell");
  CHECK(Ptr(part) != Ptr(s));
  CHECK(Refs(part) == 1);
  CHECK(Refs(s) == 1);
  CHECK(U8(s.Mid(-2, 2)) == "he");
  CHECK(IsEmptyBlock(s.Mid(1, -1)));
  CHECK(IsEmptyBlock(s.Mid(1, 0)));
  CHECK(U8(s.Mid(3, 100)) == "lo");
  CHECK(U8(s.Mid(2)) == "llo");
}

TEST_CASE("Left and Right share the whole text and cut a new block otherwise") {
  Str s(L"hello");
  CHECK(Ptr(s.Left(5)) == Ptr(s));
  CHECK(Ptr(s.Left(9)) == Ptr(s));
  CHECK(Ptr(s.Right(5)) == Ptr(s));
  CHECK(Ptr(s.Right(7)) == Ptr(s));
  CHECK(U8(s.Left(2)) == "he");
  CHECK(U8(s.Right(2)) == "lo");
  CHECK(IsEmptyBlock(s.Left(-1)));
  CHECK(IsEmptyBlock(s.Right(-3)));
  CHECK(IsEmptyBlock(s.Left(0)));
}

TEST_CASE("operator+ shares the other side when one side is empty, and otherwise builds one block") {
  Str a(L"left");
  Str b(L"right");
  Str empty;

  SUBCASE("(Str, Str)") {
    CHECK(Ptr(a + empty) == Ptr(a));
    CHECK(Ptr(empty + b) == Ptr(b));
    Str sum = a + b;
    CHECK(U8(sum) == "leftright");
    CHECK(Refs(sum) == 1);
    CHECK(Capacity(sum) == Str::SizeClass(9));
  }
  SUBCASE("(Str, text)") {
    CHECK(Ptr(a + L"") == Ptr(a));
    CHECK(Ptr(a + static_cast<const wchar_t*>(nullptr)) == Ptr(a));
    CHECK(U8(empty + L"text") == "text");
    CHECK(U8(a + L"-text") == "left-text");
  }
  SUBCASE("(Str, character)") {
    CHECK(Ptr(a + L'\0') == Ptr(a));
    Str one = empty + L'x';
    CHECK(U8(one) == "x");
    CHECK(one.GetLength() == 1);
    CHECK(U8(a + L'!') == "left!");
  }
  SUBCASE("(text, Str)") {
    CHECK(Ptr(L"" + b) == Ptr(b));
    CHECK(Ptr(static_cast<const wchar_t*>(nullptr) + b) == Ptr(b));
    CHECK(U8(L"text" + empty) == "text");
    CHECK(U8(L"the " + b) == "the right");
  }
  SUBCASE("(character, Str)") {
    CHECK(Ptr(L'\0' + b) == Ptr(b));
    CHECK(U8(L'y' + empty) == "y");
    CHECK(U8(L'>' + b) == ">right");
  }
  SUBCASE("a long sum gets the class of its length") {
    std::wstring half(200, L'h');
    Str h(half.c_str());
    Str sum = h + h;
    CHECK(sum.GetLength() == 400);
    CHECK(Capacity(sum) == 814);
  }
}

TEST_CASE("operator+= appends in place while the class allows and ignores empty right sides") {
  Str s(L"0123456789");
  const wchar_t* before = s;
  s += Str();
  s += L"";
  s += static_cast<const wchar_t*>(nullptr);
  s += L'\0';
  CHECK(Ptr(s) == before);
  CHECK(s.GetLength() == 10);

  s += L"abcdefghijklmno";  // 25 characters: 2 * 32 = 64 still fits the class of 64
  CHECK(Ptr(s) == before);
  CHECK(s.GetLength() == 25);
  s += L'x';
  CHECK(Ptr(s) != before);
  CHECK(Capacity(s) == 128);
  CHECK(U8(s) == "0123456789abcdefghijklmnox");

  Str tail(L"-tail");
  s += tail;
  CHECK(U8(s) == "0123456789abcdefghijklmnox-tail");
  CHECK(Refs(tail) == 1);

  Str empty;
  empty += L'a';
  CHECK(U8(empty) == "a");
  CHECK(Str::EmptyBlock()->length == 0u);
}

TEST_CASE("appending a string to itself") {
  Str s(L"abc");
  s += s;
  CHECK(U8(s) == "abcabc");
  Str big(std::wstring(20, L'z').c_str());
  big += big;
  CHECK(big.GetLength() == 40);
  CHECK(U8(big) == std::string(40, 'z'));
  Str part(L"xyz");
  part += static_cast<const wchar_t*>(part) + 1;
  CHECK(U8(part) == "xyzyz");
}

TEST_CASE("IsEqual and the comparison operators") {
  Str a(L"same");
  Str b(a);
  Str c(L"same");
  Str d(L"samE");
  Str e(L"sam");
  CHECK(Str::IsEqual(a, b));
  CHECK(Str::IsEqual(a, c));
  CHECK_FALSE(Str::IsEqual(a, d));
  CHECK_FALSE(Str::IsEqual(a, e));
  CHECK(a == c);
  CHECK(a != d);
  CHECK(a == L"same");
  CHECK(L"same" == a);
  CHECK(a != L"other");
  CHECK(Str() == static_cast<const wchar_t*>(nullptr));
}

TEST_CASE("Compare follows the collation order of the system locale") {
  CHECK(Str::Compare(L"apple", L"Banana") == -1);  // by code unit "B" would come first
  CHECK(Str::Compare(L"Banana", L"apple") == 1);
  CHECK(Str::Compare(L"same", L"same") == 0);
  CHECK(Str::Compare(L"", L"a") == -1);
  CHECK(Str::Compare(nullptr, L"") == 0);
}

TEST_CASE("Empty points at the empty block") {
  Str s(L"text");
  Str keep(s);
  s.Empty();
  CHECK(IsEmptyBlock(s));
  CHECK(Refs(keep) == 1);
  Str none;
  none.Empty();
  CHECK(IsEmptyBlock(none));
}

TEST_CASE("Format renders with the platform's wide conventions") {
  Str s;
  s.Format(L"%d-%s", 42, L"abc");
  CHECK(U8(s) == "42-abc");
  s.Format(L"%S|%hs|%ls|%lS", "nar", "row", L"wi", L"de");
  CHECK(U8(s) == "nar|row|wi|de");
  s.Format(L"%c%C%hc%lc", L'a', 'b', 'c', L'd');
  CHECK(U8(s) == "abcd");
  s.Format(L"%I64d %I64x", 1234567890123LL, 0x123456789abLL);
  CHECK(U8(s) == "1234567890123 123456789ab");
  s.Format(L"%5.2f|%-4d|%04x|%+d|%#x", 3.14159, 7, 255, 3, 26);
  CHECK(U8(s) == " 3.14|7   |00ff|+3|0x1a");
  s.Format(L"%*d|%.*s", 5, 12, 2, L"abc");
  CHECK(U8(s) == "   12|ab");
  s.Format(L"100%%");
  CHECK(U8(s) == "100%");
  s.Format(L"%e", 1.5);
  CHECK(U8(s).rfind("1.500000e+", 0) == 0);
}

TEST_CASE("Format(\"%s\", null) is sized for 6 characters") {
  CHECK(Str::FormatBound(L"%s", static_cast<const wchar_t*>(nullptr)) == 6);
  CHECK(Str::FormatBound(L"%S", static_cast<const char*>(nullptr)) == 6);
  Str s;
  s.Format(L"%s", static_cast<const wchar_t*>(nullptr));
  CHECK(U8(s) == "(null)");
  CHECK(s.GetLength() == 6);
}

TEST_CASE("the bound of Format, rule by rule") {
  // plain characters and "%%" count 2 each
  CHECK(Str::FormatBound(L"abc") == 6);
  CHECK(Str::FormatBound(L"%%") == 2);
  CHECK(Str::FormatBound(L"a%%b") == 6);
  CHECK(Str::FormatBound(L"") == 0);
  // texts: their length, at least 1, clipped to the precision, raised to the width
  CHECK(Str::FormatBound(L"%s", L"hello") == 5);
  CHECK(Str::FormatBound(L"%s", L"") == 1);
  CHECK(Str::FormatBound(L"%10s", L"hi") == 10);
  CHECK(Str::FormatBound(L"%.2s", L"hello") == 2);
  CHECK(Str::FormatBound(L"%8.2s", L"hello") == 8);
  CHECK(Str::FormatBound(L"%ls", L"wide") == 4);
  CHECK(Str::FormatBound(L"%lS", L"wide") == 4);
  CHECK(Str::FormatBound(L"%S", "narrow") == 6);
  CHECK(Str::FormatBound(L"%hs", "narrow") == 6);
  CHECK(Str::FormatBound(L"%hS", "narrow") == 6);
  CHECK(Str::FormatBound(L"%Ls", L"wide") == 4);  // F, L and N are skipped
  CHECK(Str::FormatBound(L"%*s", 12, L"x") == 12);
  CHECK(Str::FormatBound(L"%.*s", 3, L"abcdef") == 3);
  // characters count 2, with width and precision applied the same way
  CHECK(Str::FormatBound(L"%c", L'a') == 2);
  CHECK(Str::FormatBound(L"%C", 'a') == 2);
  CHECK(Str::FormatBound(L"%hc%lc", 'a', L'b') == 4);
  CHECK(Str::FormatBound(L"%5c", L'a') == 5);
  // integers and pointers: the larger of 32 and width + precision
  CHECK(Str::FormatBound(L"%d", 1) == 32);
  CHECK(Str::FormatBound(L"%i%o%u%x%X", 1, 2, 3, 4, 5) == 160);
  CHECK(Str::FormatBound(L"%40.5d", 1) == 45);
  CHECK(Str::FormatBound(L"%.40d", 1) == 40);
  CHECK(Str::FormatBound(L"%p", nullptr) == 32);
  CHECK(Str::FormatBound(L"%50p", nullptr) == 50);
  CHECK(Str::FormatBound(L"%I64d", 1LL) == 32);
  // "#" adds 2 for the prefix; the other flags are skipped
  CHECK(Str::FormatBound(L"%#x", 1) == 34);
  CHECK(Str::FormatBound(L"%-+ 040d", 1) == 40);
  // floating point: e, g, G count the larger of 128 and width + precision; E is not recognised
  CHECK(Str::FormatBound(L"%e", 1.0) == 128);
  CHECK(Str::FormatBound(L"%g%G", 1.0, 2.0) == 256);
  CHECK(Str::FormatBound(L"%100.50e", 1.0) == 150);
  CHECK(Str::FormatBound(L"%E", 1.0) == 0);
  // f is rendered with precision + 6 and counted
  CHECK(Str::FormatBound(L"%f", 3.5) == 8);       // "3.500000"
  CHECK(Str::FormatBound(L"%.2f", 3.5) == 10);    // "3.50000000"
  CHECK(Str::FormatBound(L"%12f", 3.5) == 12);    // "    3.500000"
  CHECK(Str::FormatBound(L"%f", -1234.5) == 12);  // "-1234.500000"
  CHECK(Str::FormatBound(L"%f", 1e300) == 308);   // 301 digits, the point and six decimals
  // n takes its argument and counts nothing; unknown conversions count nothing
  int count = 0;
  CHECK(Str::FormatBound(L"%n", &count) == 0);
  CHECK(Str::FormatBound(L"%k") == 0);
  CHECK(Str::FormatBound(L"abc%") == 6);
}

TEST_CASE("the bound walks the argument list as the conversions take it") {
  // "*" widths and precisions take their own argument before the value
  CHECK(Str::FormatBound(L"%*d%s", 50, 7, L"abc") == 53);
  CHECK(Str::FormatBound(L"%.*s|%s", 2, L"abcdef", L"xyz") == 2 + 2 + 3);
  CHECK(Str::FormatBound(L"%I64d%s", 1LL << 40, L"abcd") == 36);
  CHECK(Str::FormatBound(L"%f%s", 2.5, L"abcd") == 8 + 4);
  CHECK(Str::FormatBound(L"%e%s", 2.5, L"abcd") == 128 + 4);
  CHECK(Str::FormatBound(L"%c%s", L'c', L"abcd") == 2 + 4);
  CHECK(Str::FormatBound(L"%p%s", nullptr, L"abcd") == 32 + 4);
  int count = 0;
  CHECK(Str::FormatBound(L"%n%s", &count, L"abcd") == 4);
  // neither "E" nor an unknown conversion takes an argument
  CHECK(Str::FormatBound(L"%E%s", L"abcd") == 4);
  CHECK(Str::FormatBound(L"%k%s", L"abcd") == 4);
}

TEST_CASE("Format reserves its bound with GetBuffer") {
  Str s;
  s.Format(L"%300d", 1);
  CHECK(s.GetLength() == 300);
  CHECK(Capacity(s) == Str::SizeClass(300));  // 614: the bound of 300, not the 300 characters
  CHECK(Ptr(s)[299] == L'1');

  Str text;
  std::wstring long600(600, L'w');
  text.Format(L"%s", long600.c_str());
  CHECK(Capacity(text) == Str::SizeClass(600));
  CHECK(U8(text) == U8(long600));

  // A private block that is big enough is kept.
  const wchar_t* before = s;
  s.Format(L"%d", 5);
  CHECK(Ptr(s) == before);
  CHECK(U8(s) == "5");

  // A conversion that the bound doesn't see still lands in the block's slack.
  Str unseen;
  unseen.Format(L"%E", 1.5);
  CHECK(U8(unseen).rfind("1.500000E+", 0) == 0);
}

TEST_CASE("an empty format gives an empty string") {
  Str s(L"before");
  s.Format(L"");
  CHECK(s.GetLength() == 0);
  CHECK(wcscmp(s, L"") == 0);
  Str none;
  none.Format(L"");
  CHECK(none.GetLength() == 0);
  CHECK(Str::EmptyBlock()->length == 0u);
}

TEST_CASE("Format may take its format from the string's own text") {
  Str s(L"value %d");
  s.Format(s, 5);
  CHECK(U8(s) == "value 5");
}

TEST_CASE("LoadResource reads short texts and texts of any length") {
  Str s;
  CHECK(s.LoadResource(IDS_TEST_SHORT));
  CHECK(U8(s) == "Hello, resources");
  CHECK(s.LoadResource(IDS_TEST_SHORT, GetModuleHandleW(nullptr)));
  CHECK(U8(s) == "Hello, resources");

  // Around the first read of 255 characters and the 256-character steps of the retries.
  for (int length : {1, 254, 255, 256, 510, 511, 512, 700, 1000}) {
    CAPTURE(length);
    Str loaded;
    CHECK(loaded.LoadResource(IDS_TEST_LONG_BASE + length));
    CHECK(loaded.GetLength() == length);
    CHECK(U8(loaded) == U8(PatternText(length)));
    CHECK(Ptr(loaded)[length] == 0);
  }
}

TEST_CASE("a missing string: SafeLoadStr logs, shows the box and gives 0; LoadResource gives false") {
  HMODULE program = GetModuleHandleW(nullptr);
  SetLogModule(program);
  std::wstring logPath = LogPathOf(program);
  DeleteFileW(logPath.c_str());
  TracerBoxWatcher boxes;

  wchar_t buffer[64];
  wcscpy(buffer, L"stale");
  CHECK(SafeLoadStr(IDS_TEST_MISSING, nullptr, buffer, 64) == 0);
  CHECK(buffer[0] == 0);

  std::vector<TracerBoxWatcher::Box> seen = boxes.Boxes();
  REQUIRE(seen.size() == 1);
  CHECK(U8(seen[0].text) == "SafeLoadStr failed, resid: 999");
  CHECK(seen[0].owner == nullptr);

  std::vector<std::string> lines = LogLines(testpaths::ReadFileText(logPath));
  REQUIRE(lines.size() == 1);
  std::string stamp, rest;
  REQUIRE(SplitLogLine(lines[0], stamp, rest));
  char expected[128];
  snprintf(expected, sizeof(expected), "Resource loading fail (id: 999 hInst: %x)\t\tStr:  (173)",
           static_cast<unsigned>(reinterpret_cast<uintptr_t>(program)));
  CHECK(rest == expected);

  Str s(L"previous");
  CHECK_FALSE(s.LoadResource(IDS_TEST_MISSING));
  CHECK(IsEmptyBlock(s));
  CHECK(boxes.Count() == 2);
  CHECK(LogLines(testpaths::ReadFileText(logPath)).size() == 2);
  DeleteFileW(logPath.c_str());
}

TEST_CASE("SafeLoadStr returns the length and cuts at the buffer") {
  TracerBoxWatcher boxes;
  wchar_t buffer[8];
  CHECK(SafeLoadStr(IDS_TEST_SHORT, nullptr, buffer, 8) == 7);
  CHECK(U8(buffer) == "Hello, ");
  wchar_t whole[64];
  CHECK(SafeLoadStr(IDS_TEST_SHORT, GetModuleHandleW(nullptr), whole, 64) == 16);
  CHECK(U8(whole) == "Hello, resources");
  CHECK(boxes.Count() == 0);
}

TEST_CASE("FormatResource formats with a string of the resources") {
  Str s;
  s.FormatResource(IDS_TEST_FORMAT, 3, L"the box");
  CHECK(U8(s) == "3 items in the box");

  TracerBoxWatcher boxes;
  s.FormatResource(IDS_TEST_MISSING, 3);
  CHECK(s.GetLength() == 0);
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"SafeLoadStr failed, resid: 999"});
}
