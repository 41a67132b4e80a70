#include "WideText.h"
#include "TracerBoxWatcher.h"

#include "foundation/Array.h"
#include "foundation/Str.h"

#include <doctest/doctest.h>

#include <stdint.h>
#include <string.h>

namespace {

// A record that counts its lives and marks its memory when destroyed.
template <int Bytes>
struct Record {
  static int live;
  static int constructed;
  static int destroyed;

  int32_t id;
  int32_t mark;
  char padding[Bytes - 8];

  Record() : id(-1), mark(1) {
    memset(padding, 0x5A, sizeof(padding));
    ++live;
    ++constructed;
  }
  Record(const Record& other) : id(other.id), mark(other.mark) {
    memcpy(padding, other.padding, sizeof(padding));
    ++live;
    ++constructed;
  }
  Record& operator=(const Record& other) = default;
  ~Record() {
    // Through a volatile lvalue: a store just before the end of an object's life is otherwise dropped
    // by the optimiser, and the tests read the bytes of destroyed slots.
    *const_cast<volatile int32_t*>(&mark) = 0xDEAD;
    --live;
    ++destroyed;
  }
  static void ResetCounts() {
    live = 0;
    constructed = 0;
    destroyed = 0;
  }
};
template <int Bytes>
int Record<Bytes>::live = 0;
template <int Bytes>
int Record<Bytes>::constructed = 0;
template <int Bytes>
int Record<Bytes>::destroyed = 0;

// The record of 8 bytes has no padding member.
template <>
struct Record<8> {
  static int live;
  static int constructed;
  static int destroyed;
  int32_t id;
  int32_t mark;
  Record() : id(-1), mark(1) {
    ++live;
    ++constructed;
  }
  Record(const Record& other) : id(other.id), mark(other.mark) {
    ++live;
    ++constructed;
  }
  Record& operator=(const Record& other) = default;
  ~Record() {
    // Through a volatile lvalue: a store just before the end of an object's life is otherwise dropped
    // by the optimiser, and the tests read the bytes of destroyed slots.
    *const_cast<volatile int32_t*>(&mark) = 0xDEAD;
    --live;
    ++destroyed;
  }
  static void ResetCounts() {
    live = 0;
    constructed = 0;
    destroyed = 0;
  }
};
int Record<8>::live = 0;
int Record<8>::constructed = 0;
int Record<8>::destroyed = 0;

// The four words of an Array as they lie in memory.
struct ArrayWords {
  void* data;
  int32_t size;
  int32_t maxSize;
  int32_t growBy;
};

template <class T>
const ArrayWords& WordsOf(const Array<T>& array) {
  return *reinterpret_cast<const ArrayWords*>(&array);
}

int32_t RawId(const void* slot) {
  int32_t id;
  memcpy(&id, slot, 4);
  return id;
}

int32_t RawMark(const void* slot) {
  int32_t mark;
  memcpy(&mark, static_cast<const char*>(slot) + 4, 4);
  return mark;
}

}  // namespace

TEST_CASE("the four words of an array: data, size, maxSize, growBy") {
  static_assert(sizeof(Array<int>) == sizeof(ArrayWords), "no other fields");
  Array<int> a;
  CHECK(WordsOf(a).data == nullptr);
  CHECK(WordsOf(a).size == 0);
  CHECK(WordsOf(a).maxSize == 0);
  CHECK(WordsOf(a).growBy == 0);
  a.SetSize(5, 3);
  CHECK(WordsOf(a).data == a.GetData());
  CHECK(WordsOf(a).data != nullptr);
  CHECK(WordsOf(a).size == 5);
  CHECK(WordsOf(a).maxSize == 5);
  CHECK(WordsOf(a).growBy == 3);
  a.SetSize(6);
  CHECK(WordsOf(a).maxSize == 8);
}

TEST_CASE("the first allocation is exact") {
  Array<int> a;
  a.SetSize(5);
  CHECK(a.GetSize() == 5);
  CHECK(a.GetMaxSize() == 5);
  Array<int> b;
  b.Add(1);
  CHECK(b.GetMaxSize() == 1);
}

TEST_CASE("an array of 79 growing by one goes to 88; one of 16000 grows by 1024") {
  Array<int> a;
  a.SetSize(79);
  REQUIRE(a.GetMaxSize() == 79);
  CHECK(a.Add(7) == 79);
  CHECK(a.GetSize() == 80);
  CHECK(a.GetMaxSize() == 88);
  int* data = a.GetData();
  for (int i = 80; i < 88; ++i) a.Add(i);
  CHECK(a.GetData() == data);
  CHECK(a.GetMaxSize() == 88);
  a.Add(88);
  CHECK(a.GetMaxSize() == 88 + 11);

  Array<int> big;
  big.SetSize(16000);
  big.Add(1);
  CHECK(big.GetMaxSize() == 16000 + 1024);
  big.SetSize(big.GetMaxSize() + 1);
  CHECK(big.GetMaxSize() == 16000 + 2 * 1024);
}

TEST_CASE("growth steps: at least 4, a fixed growBy, and never below the new size") {
  Array<int> small;
  small.SetSize(3);
  small.Add(1);
  CHECK(small.GetMaxSize() == 7);

  Array<int> fixed;
  fixed.SetSize(10, 5);
  fixed.SetSize(11);
  CHECK(fixed.GetMaxSize() == 15);
  CHECK(fixed.GetGrowBy() == 5);
  fixed.SetSize(16, -1);
  CHECK(fixed.GetMaxSize() == 20);
  CHECK(fixed.GetGrowBy() == 5);

  Array<int> jump;
  jump.SetSize(10);
  jump.SetSize(100);
  CHECK(jump.GetMaxSize() == 100);

  Array<int> automatic;
  automatic.SetSize(10, 7);
  automatic.SetSize(10, 0);
  automatic.SetSize(11);
  CHECK(automatic.GetMaxSize() == 14);
}

TEST_CASE("growth moves the elements and keeps their values") {
  Array<int> a;
  for (int i = 0; i < 1000; ++i) CHECK(a.Add(i * 3) == i);
  REQUIRE(a.GetSize() == 1000);
  bool same = true;
  for (int i = 0; i < 1000; ++i) same = same && a[i] == i * 3;
  CHECK(same);
}

TEST_CASE("SetSize(0) frees the storage; a smaller non-zero size keeps it") {
  Array<int> a;
  a.SetSize(20);
  int* data = a.GetData();
  a.SetSize(5);
  CHECK(a.GetData() == data);
  CHECK(a.GetMaxSize() == 20);
  CHECK(a.GetSize() == 5);
  a.SetSize(1);
  CHECK(a.GetData() == data);
  CHECK(a.GetMaxSize() == 20);

  a.SetSize(0);
  CHECK(a.GetData() == nullptr);
  CHECK(a.GetMaxSize() == 0);
  CHECK(a.GetSize() == 0);
  a.SetSize(3);
  CHECK(a.GetMaxSize() == 3);
}

TEST_CASE("plain slots are zero-filled when they are made, also over old values") {
  Array<int> a;
  a.SetSize(5);
  for (int i = 0; i < 5; ++i) {
    CHECK(a[i] == 0);
    a[i] = 100 + i;
  }
  a.SetSize(2);
  a.SetSize(5);
  CHECK(a[0] == 100);
  CHECK(a[1] == 101);
  CHECK(a[2] == 0);
  CHECK(a[3] == 0);
  CHECK(a[4] == 0);

  Array<void*> pointers;
  pointers.SetSize(3);
  CHECK(pointers[0] == nullptr);
  CHECK(pointers[2] == nullptr);
  Array<uint16_t> shorts;
  shorts.SetSize(4);
  CHECK(shorts[3] == 0);
}

TEST_CASE("Str slots start as the empty string and are released when cut off") {
  Array<Str> a;
  a.SetSize(3);
  for (int i = 0; i < 3; ++i) CHECK(a[i].Header() == Str::EmptyBlock());

  Str shared(L"shared");
  a[0] = shared;
  a.SetAt(2, shared);
  CHECK(shared.Header()->refCount == 3);
  {
    Str got = a.GetAt(0);
    CHECK(static_cast<const wchar_t*>(got) == static_cast<const wchar_t*>(shared));
    CHECK(shared.Header()->refCount == 4);
  }
  CHECK(shared.Header()->refCount == 3);

  // Growth moves the pointers by bytes: no count changes.
  a.SetSize(40);
  CHECK(shared.Header()->refCount == 3);
  CHECK(U8(a[2]) == "shared");
  CHECK(a[39].Header() == Str::EmptyBlock());

  a.SetSize(2);
  CHECK(shared.Header()->refCount == 2);
  a.SetSize(0);
  CHECK(shared.Header()->refCount == 1);
}

TEST_CASE_TEMPLATE("records are constructed and destroyed per element", R, Record<8>, Record<12>, Record<16>,
                   Record<20>) {
  CHECK(sizeof(R) == (std::is_same<R, Record<8>>::value    ? 8
                      : std::is_same<R, Record<12>>::value ? 12
                      : std::is_same<R, Record<16>>::value ? 16
                                                           : 20));
  R::ResetCounts();
  {
    Array<R> a;
    a.SetSize(5);
    CHECK(R::live == 5);
    CHECK(a[4].id == -1);
    CHECK(a[4].mark == 1);
    a.SetSize(3);
    CHECK(R::live == 3);
    CHECK(R::destroyed == 2);
    int before = R::constructed;
    a.SetSize(30);  // growth: the three are moved by bytes, only the new ones are made
    CHECK(R::live == 30);
    CHECK(R::constructed == before + 27);
    CHECK(R::destroyed == 2);
    a.RemoveAt(1, 4);
    CHECK(R::live == 26);
    R r;
    r.id = 77;
    a.InsertAt(2, r, 3);
    CHECK(a.GetSize() == 29);
    CHECK(a[2].id == 77);
    CHECK(a[4].id == 77);
    CHECK(a[5].id == -1);
    CHECK(R::live == 29 + 1);
  }
  CHECK(R::live == 0);
}

TEST_CASE("Add returns the index; an element of the array itself may be added") {
  Array<Str> a;
  CHECK(a.Add(Str(L"one")) == 0);
  CHECK(a.Add(Str(L"two")) == 1);
  for (int i = 0; i < 20; ++i) a.Add(a[0]);  // the source lives in the storage that may move
  CHECK(a.GetSize() == 22);
  CHECK(U8(a[21]) == "one");
  CHECK(a[0].Header()->refCount == 21);
}

TEST_CASE("Copy takes the other's size and shares its strings; Append adds them at the end") {
  Array<Str> a;
  a.Add(Str(L"x"));
  a.Add(Str(L"y"));
  Array<Str> b;
  b.SetSize(7);
  b.Copy(a);
  CHECK(b.GetSize() == 2);
  CHECK(static_cast<const wchar_t*>(b[1]) == static_cast<const wchar_t*>(a[1]));
  CHECK(a[1].Header()->refCount == 2);

  Array<Str> c;
  c.Copy(a);
  CHECK(c.GetMaxSize() == 2);

  CHECK(b.Append(a) == 2);
  CHECK(b.GetSize() == 4);
  CHECK(U8(b[2]) == "x");
  CHECK(U8(b[3]) == "y");
  CHECK(b.Append(b) == 4);
  CHECK(b.GetSize() == 8);
  CHECK(U8(b[7]) == "y");

  Array<int> numbers;
  numbers.Add(1);
  Array<int> copy(numbers);
  CHECK(copy.GetSize() == 1);
  CHECK(copy[0] == 1);
  copy = Array<int>();
  CHECK(copy.GetSize() == 0);
}

TEST_CASE("InsertAt inside shifts the tail up; at or past the end it extends the array") {
  Array<int> a;
  for (int v : {1, 2, 3}) a.Add(v);
  a.InsertAt(1, 9, 2);
  REQUIRE(a.GetSize() == 5);
  CHECK(a[0] == 1);
  CHECK(a[1] == 9);
  CHECK(a[2] == 9);
  CHECK(a[3] == 2);
  CHECK(a[4] == 3);

  Array<int> b;
  b.Add(1);
  b.Add(2);
  b.InsertAt(5, 7);
  REQUIRE(b.GetSize() == 6);
  CHECK(b[2] == 0);
  CHECK(b[4] == 0);
  CHECK(b[5] == 7);
  b.InsertAt(6, 8, 2);
  CHECK(b.GetSize() == 8);
  CHECK(b[7] == 8);

  Array<Str> s;
  Str value(L"v");
  s.Add(Str(L"a"));
  s.Add(Str(L"b"));
  s.InsertAt(0, value, 2);
  REQUIRE(s.GetSize() == 4);
  CHECK(U8(s[0]) == "v");
  CHECK(U8(s[1]) == "v");
  CHECK(U8(s[2]) == "a");
  CHECK(U8(s[3]) == "b");
  CHECK(value.Header()->refCount == 3);
  s.InsertAt(6, value);
  REQUIRE(s.GetSize() == 7);
  CHECK(s[4].Header() == Str::EmptyBlock());
  CHECK(s[5].Header() == Str::EmptyBlock());
  CHECK(s[6].Header() == value.Header());
}

TEST_CASE("RemoveAt moves the tail down and keeps the capacity") {
  Array<int> a;
  for (int v : {10, 11, 12, 13, 14}) a.Add(v);
  int* data = a.GetData();
  int capacity = a.GetMaxSize();
  a.RemoveAt(1, 2);
  REQUIRE(a.GetSize() == 3);
  CHECK(a[0] == 10);
  CHECK(a[1] == 13);
  CHECK(a[2] == 14);
  CHECK(a.GetData() == data);
  CHECK(a.GetMaxSize() == capacity);

  Str shared(L"s");
  Array<Str> s;
  s.Add(shared);
  s.Add(shared);
  s.Add(Str(L"t"));
  CHECK(shared.Header()->refCount == 3);
  s.RemoveAt(0);
  CHECK(shared.Header()->refCount == 2);
  CHECK(U8(s[0]) == "s");
  CHECK(U8(s[1]) == "t");
}

TEST_CASE("RemoveAt of the last element moves nothing") {
  using R = Record<12>;
  R::ResetCounts();
  Array<R> a;
  a.SetSize(4);
  for (int i = 0; i < 4; ++i) a[i].id = 10 + i;
  a.SetSize(3);  // slot 3 keeps the bytes of element 13, marked as destroyed
  R* data = a.GetData();
  int destroyedBefore = R::destroyed;

  a.RemoveAt(2);
  CHECK(a.GetSize() == 2);
  CHECK(a.GetMaxSize() == 4);
  CHECK(a.GetData() == data);
  CHECK(R::destroyed == destroyedBefore + 1);
  CHECK(a[0].id == 10);
  CHECK(a[1].id == 11);
  // Slot 2 still holds the removed element's own bytes: destroyed in place, nothing moved over it.
  CHECK(RawId(data + 2) == 12);
  CHECK(RawMark(data + 2) == 0xDEAD);
  CHECK(RawId(data + 3) == 13);
}

TEST_CASE("a bad index shows the box, then the access is carried out") {
  Array<int> a;
  a.SetSize(10);
  a.SetSize(3);  // the storage for ten stays
  TracerBoxWatcher boxes;

  a.SetAt(5, 42);
  CHECK(a.GetData()[5] == 42);
  int got = a.GetAt(5);
  CHECK(got == 42);
  a.ElementAt(6) = 9;
  CHECK(a.GetData()[6] == 9);
  a[7] = 8;
  CHECK(a.GetData()[7] == 8);
  const Array<int>& constant = a;
  CHECK(constant[3] == 0);

  std::vector<TracerBoxWatcher::Box> seen = boxes.Boxes();
  REQUIRE(seen.size() == 5);
  CHECK(U8(seen[0].text) == "Array::SetAt index (5) out of range (3)");
  CHECK(U8(seen[1].text) == "Array::GetAt index (5) out of range (3)");
  CHECK(U8(seen[2].text) == "Array::ElementAt index (6) out of range (3)");
  CHECK(U8(seen[3].text) == "Array::ElementAt index (7) out of range (3)");
  CHECK(U8(seen[4].text) == "Array::ElementAt index (3) out of range (3)");
  for (const TracerBoxWatcher::Box& box : seen) CHECK(box.owner == nullptr);
}

TEST_CASE("a negative index shows the box too") {
  Array<int> a;
  a.SetSize(3);
  TracerBoxWatcher boxes;
  (void)a.GetAt(-1);
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"Array::GetAt index (-1) out of range (3)"});
}

TEST_CASE("indexes within the size show no box") {
  Array<Str> a;
  a.SetSize(3);
  TracerBoxWatcher boxes;
  a.SetAt(0, Str(L"a"));
  a.SetAt(2, Str(L"c"));
  CHECK(U8(a.GetAt(0)) == "a");
  CHECK(U8(a.ElementAt(2)) == "c");
  CHECK(a[1].IsEmpty());
  CHECK(boxes.Count() == 0);
}
