#include "StorageTestSupport.h"

#include "storage/db/DbProperty.h"
#include "storage/db/DbRecord.h"

#include <doctest/doctest.h>

#include <wchar.h>

using namespace storetest;

TEST_CASE("the value types have the layer's small indexes; type 4 is a file time and 0 is empty") {
  const WORD types[] = {CEVT_I2,     CEVT_UI2,  CEVT_I4,   CEVT_UI4, CEVT_FILETIME,
                        CEVT_LPWSTR, CEVT_BLOB, CEVT_BOOL, CEVT_R8};
  for (int i = 0; i < 9; ++i) {
    CHECK(DbProperty::TypeIndex(types[i]) == i);
    CHECK(DbProperty::PlatformType(i) == types[i]);
  }
  CHECK(DbProperty::TypeIndex(4) == 4);
  CHECK(DbProperty::TypeIndex(0) == DbProperty::kTypeIndexEmpty);
  CHECK(DbProperty::kTypeIndexEmpty == 9);
  CHECK(DbProperty::PlatformType(9) == 0);
}

TEST_CASE("constructors by type take the value and the property number") {
  DbProperty i2(static_cast<int16_t>(-5), 0x4002);
  CHECK(i2.GetId() == 0x40020002u);
  CHECK(i2.GetI2() == -5);
  DbProperty ui2(static_cast<uint16_t>(65000), 0x10);
  CHECK(ui2.GetId() == 0x00100012u);
  CHECK(ui2.GetUI2() == 65000);
  DbProperty i4(static_cast<int32_t>(-70000), 0x0050);
  CHECK(i4.GetId() == 0x00500003u);
  CHECK(i4.GetI4() == -70000);
  DbProperty ui4(static_cast<uint32_t>(0xF0001234u), 0x0050);
  CHECK(ui4.GetId() == 0x00500013u);
  CHECK(ui4.GetUI4() == 0xF0001234u);
  DbProperty flag(true, 0x0102);
  CHECK(flag.GetId() == 0x0102000Bu);
  CHECK(flag.GetBool());
  FILETIME time = TimeOf(0x01C8A000u, 0x11223344u);
  DbProperty date(time, 0x4001);
  CHECK(date.GetId() == 0x40010040u);
  CHECK(date.GetFileTime().dwHighDateTime == 0x01C8A000u);
  CHECK(date.GetFileTime().dwLowDateTime == 0x11223344u);
  DbProperty text(L"Smith", 0x3A11);
  CHECK(text.GetId() == 0x3A11001Fu);
  CHECK(U8(text.GetText()) == "Smith");
  const BYTE bytes[] = {1, 2, 3};
  DbProperty blob(bytes, 3, 0x0016);
  CHECK(blob.GetId() == 0x00160041u);
  CHECK(blob.GetBlobLength() == 3u);
  CHECK(memcmp(blob.GetBlobData(), bytes, 3) == 0);
  for (const DbProperty* p : {&i2, &ui2, &i4, &ui4, &flag, &date, &text, &blob}) {
    CHECK(p->GetFlags() == 0);
    CHECK(p->GetSortFlags() == 0u);
    CHECK_FALSE(p->IsListOwned());
  }
}

TEST_CASE("text copy modes: 0 borrows, 1 copies with room for two more characters, others store nothing") {
  wchar_t source[] = L"abc";
  DbProperty borrowed(source, 0x3A06, DbBorrow);
  CHECK(borrowed.Value().val.lpwstr == source);
  CHECK_FALSE(borrowed.OwnsData());

  DbProperty copied(source, 0x3A06, DbCopy);
  CHECK(copied.Value().val.lpwstr != source);
  CHECK(copied.OwnsData());
  source[0] = L'X';
  CHECK(U8(copied.GetText()) == "abc");
  CHECK(U8(borrowed.GetText()) == "Xbc");
  CHECK(copied.Value().val.lpwstr[4] == 0);  // the second spare character

  DbProperty nothing(source, 0x3A06, 2);
  CHECK(nothing.GetType() == CEVT_LPWSTR);
  CHECK(nothing.Value().val.lpwstr == nullptr);
  CHECK_FALSE(nothing.OwnsData());
  CHECK(U8(nothing.GetText()) == "");
}

TEST_CASE("blob copy modes: 0 borrows, 1 copies, others store nothing") {
  BYTE bytes[] = {9, 8, 7, 6};
  DbProperty borrowed(bytes, 4, 0x0017, DbBorrow);
  CHECK(borrowed.GetBlobData() == bytes);
  CHECK_FALSE(borrowed.OwnsData());
  DbProperty copied(bytes, 4, 0x0017, DbCopy);
  CHECK(copied.GetBlobData() != bytes);
  CHECK(copied.OwnsData());
  bytes[0] = 0;
  CHECK(copied.GetBlobData()[0] == 9);
  DbProperty nothing(bytes, 4, 0x0017, 5);
  CHECK(nothing.GetBlobData() == nullptr);
  CHECK(nothing.GetBlobLength() == 0u);
  CHECK_FALSE(nothing.OwnsData());
}

TEST_CASE("only texts and blobs own memory; a change of type frees it") {
  DbProperty property(L"owned", 0x3A06, DbCopy);
  REQUIRE(property.OwnsData());
  property.SetType(CEVT_LPWSTR);
  CHECK(property.OwnsData());  // same type: the data stays
  CHECK(U8(property.GetText()) == "owned");
  property.SetType(CEVT_I4);
  CHECK_FALSE(property.OwnsData());
  CHECK(property.GetId() == 0x3A060003u);

  property.SetI4(12);
  CHECK_FALSE(property.OwnsData());
  property.SetBlob("xy", 2, DbCopy);
  CHECK(property.OwnsData());
  property.SetUI2(3);
  CHECK_FALSE(property.OwnsData());
  CHECK(property.GetType() == CEVT_UI2);
}

TEST_CASE("a copy of a property takes the value record and the sort word, never the ownership") {
  DbProperty original(L"shared text", 0x3A11, DbCopy);
  original.SetSortFlags(CEDB_SORT_DESCENDING);
  original.SetFlags(CEDB_PROPDELETE);
  original.SetListOwned(true);
  {
    DbProperty copy(original);
    CHECK(copy.GetId() == original.GetId());
    CHECK(copy.Value().val.lpwstr == original.Value().val.lpwstr);
    CHECK(copy.GetFlags() == CEDB_PROPDELETE);
    CHECK(copy.GetSortFlags() == static_cast<DWORD>(CEDB_SORT_DESCENDING));
    CHECK_FALSE(copy.OwnsData());
    CHECK_FALSE(copy.IsListOwned());
    DbProperty assigned;
    assigned = original;
    CHECK_FALSE(assigned.OwnsData());
    CHECK(assigned.Value().val.lpwstr == original.Value().val.lpwstr);
  }
  // The copies are gone and the original's text is still its own.
  CHECK(U8(original.GetText()) == "shared text");
  CHECK(original.OwnsData());
}

TEST_CASE("Clear frees and forgets everything; the delete flag goes on and off") {
  DbProperty property(L"x", 0x4013, DbCopy);
  property.SetDelete(true);
  CHECK(property.GetFlags() == CEDB_PROPDELETE);
  property.SetDelete(false);
  CHECK(property.GetFlags() == 0);
  property.SetSortFlags(2);
  property.Clear();
  CHECK(property.GetId() == 0u);
  CHECK(property.GetFlags() == 0);
  CHECK(property.GetSortFlags() == 0u);
  CHECK_FALSE(property.OwnsData());
  CHECK(DbProperty::TypeIndex(property.GetType()) == DbProperty::kTypeIndexEmpty);
}

TEST_CASE("DbRecord::Find with a property number matches whatever the type half of the id says") {
  DbRecord record;
  DbProperty asText(L"text", 0x3A06);
  DbProperty asNumber(static_cast<int32_t>(4), 0x4002);
  DbProperty otherType(static_cast<int16_t>(7), 0x3A06);
  record.Add(&asText);
  record.Add(&asNumber);
  record.Add(&otherType);
  CHECK(record.Count() == 3);
  CHECK(record.Find(0x3A06) == &asText);  // the first of the two with that number
  CHECK(record.Find(0x4002) == &asNumber);
  CHECK(record.Find(0x4002)->GetType() == CEVT_I4);
  CHECK(record.Find(0x1234) == nullptr);
  CHECK(record.GetAt(2) == &otherType);

  CHECK(record.Remove(0x3A06));
  CHECK(record.Find(0x3A06) == &otherType);
  CHECK_FALSE(record.Remove(0x9999));
  record.Clear();  // none is list-owned: the stack objects stay alone
  CHECK(record.Count() == 0);
  CHECK(record.GetOid() == 0u);
}

TEST_CASE("a record deletes its list-owned properties; a copy owns copies of every value") {
  DbRecord record;
  DbProperty* text = new DbProperty(L"kept apart", 0x3A11, DbCopy);
  text->SetListOwned(true);
  BYTE bytes[] = {1, 0, 1};
  DbProperty* blob = new DbProperty(bytes, 3, 0x0016, DbBorrow);
  blob->SetListOwned(true);
  record.Add(text);
  record.Add(blob);
  record.SetOid(0x10005);

  DbRecord copy(record);
  CHECK(copy.GetOid() == 0x10005u);
  REQUIRE(copy.Count() == 2);
  CHECK(copy.GetAt(0) != text);
  CHECK(copy.GetAt(0)->Value().val.lpwstr != text->Value().val.lpwstr);
  CHECK(U8(copy.GetAt(0)->GetText()) == "kept apart");
  CHECK(copy.GetAt(1)->GetBlobData() != bytes);
  CHECK(copy.GetAt(1)->GetBlobLength() == 3u);
  CHECK(copy.GetAt(0)->IsListOwned());

  record.Clear();
  CHECK(record.Count() == 0);
  bytes[0] = 5;
  CHECK(U8(copy.GetAt(0)->GetText()) == "kept apart");
  CHECK(copy.GetAt(1)->GetBlobData()[0] == 1);

  DbRecord assigned;
  assigned = copy;
  CHECK(assigned.Count() == 2);
  CHECK(assigned.GetAt(1)->GetBlobData() != copy.GetAt(1)->GetBlobData());
}
