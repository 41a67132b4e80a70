#include "storage/db/DbProperty.h"

#include "foundation/DebugUtils.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

namespace {

// Index to platform type. Index 4 also stands for the type number 4, which some writers use for file
// times.
const WORD kPlatformTypes[] = {
    CEVT_I2, CEVT_UI2, CEVT_I4, CEVT_UI4, CEVT_FILETIME, CEVT_LPWSTR, CEVT_BLOB, CEVT_BOOL, CEVT_R8,
};
const int kTypeCount = sizeof(kPlatformTypes) / sizeof(kPlatformTypes[0]);

const wchar_t kNoText[] = L"";

bool CanOwn(WORD type) { return type == CEVT_LPWSTR || type == CEVT_BLOB; }

}  // namespace

int DbProperty::TypeIndex(WORD platformType) {
  if (platformType == 0) return kTypeIndexEmpty;
  if (platformType == 4) return 4;
  for (int i = 0; i < kTypeCount; ++i) {
    if (kPlatformTypes[i] == platformType) return i;
  }
  return kTypeIndexEmpty;
}

WORD DbProperty::PlatformType(int typeIndex) {
  if (typeIndex < 0 || typeIndex >= kTypeCount) return 0;
  return kPlatformTypes[typeIndex];
}

DbProperty::DbProperty() : m_sortFlags(0), m_owned(false), m_listOwned(false) {
  memset(&m_value, 0, sizeof(m_value));
}

DbProperty::DbProperty(int16_t value, WORD number) : DbProperty() {
  SetNumber(number);
  SetI2(value);
}

DbProperty::DbProperty(uint16_t value, WORD number) : DbProperty() {
  SetNumber(number);
  SetUI2(value);
}

DbProperty::DbProperty(int32_t value, WORD number) : DbProperty() {
  SetNumber(number);
  SetI4(value);
}

DbProperty::DbProperty(uint32_t value, WORD number) : DbProperty() {
  SetNumber(number);
  SetUI4(value);
}

DbProperty::DbProperty(bool value, WORD number) : DbProperty() {
  SetNumber(number);
  SetBool(value);
}

DbProperty::DbProperty(const FILETIME& value, WORD number) : DbProperty() {
  SetNumber(number);
  SetFileTime(value);
}

DbProperty::DbProperty(const wchar_t* text, WORD number, int copyMode) : DbProperty() {
  SetNumber(number);
  SetText(text, copyMode);
}

DbProperty::DbProperty(const void* data, DWORD length, WORD number, int copyMode) : DbProperty() {
  SetNumber(number);
  SetBlob(data, length, copyMode);
}

DbProperty::DbProperty(const DbProperty& other)
    : m_value(other.m_value), m_sortFlags(other.m_sortFlags), m_owned(false), m_listOwned(false) {}

DbProperty& DbProperty::operator=(const DbProperty& other) {
  if (this == &other) return *this;
  FreeData();
  m_value = other.m_value;
  m_sortFlags = other.m_sortFlags;
  return *this;
}

DbProperty::~DbProperty() { FreeData(); }

void DbProperty::SetId(CEPROPID id) {
  if (LOWORD(id) != GetType()) FreeData();
  m_value.propid = id;
}

void DbProperty::SetNumber(WORD number) { m_value.propid = MAKE_CEPROPID(number, GetType()); }

void DbProperty::SetType(WORD platformType) {
  if (platformType != GetType()) FreeData();
  m_value.propid = MAKE_CEPROPID(GetNumber(), platformType);
}

void DbProperty::SetDelete(bool on) {
  if (on)
    m_value.wFlags = static_cast<WORD>(m_value.wFlags | CEDB_PROPDELETE);
  else
    m_value.wFlags = static_cast<WORD>(m_value.wFlags & ~CEDB_PROPDELETE);
}

void DbProperty::SetValue(const CEPROPVAL& value) {
  FreeData();
  m_value = value;
}

void DbProperty::Retype(WORD platformType) {
  SetType(platformType);
  FreeData();
  memset(&m_value.val, 0, sizeof(m_value.val));
}

void DbProperty::SetI2(int16_t value) {
  Retype(CEVT_I2);
  m_value.val.iVal = value;
}

void DbProperty::SetUI2(uint16_t value) {
  Retype(CEVT_UI2);
  m_value.val.uiVal = value;
}

void DbProperty::SetI4(int32_t value) {
  Retype(CEVT_I4);
  m_value.val.lVal = value;
}

void DbProperty::SetUI4(uint32_t value) {
  Retype(CEVT_UI4);
  m_value.val.ulVal = value;
}

void DbProperty::SetBool(bool value) {
  Retype(CEVT_BOOL);
  m_value.val.boolVal = value ? TRUE : FALSE;
}

void DbProperty::SetFileTime(const FILETIME& value) {
  Retype(CEVT_FILETIME);
  m_value.val.filetime = value;
}

void DbProperty::SetDouble(double value) {
  Retype(CEVT_R8);
  m_value.val.dblVal = value;
}

void DbProperty::SetText(const wchar_t* text, int copyMode) {
  Retype(CEVT_LPWSTR);
  if (text == nullptr) text = kNoText;
  if (copyMode == DbBorrow) {
    m_value.val.lpwstr = const_cast<wchar_t*>(text);
  } else if (copyMode == DbCopy) {
    size_t length = wcslen(text);
    // Room for the text and two more characters.
    wchar_t* copy = CheckAllocation(static_cast<wchar_t*>(malloc((length + 2) * sizeof(wchar_t))));
    memcpy(copy, text, (length + 1) * sizeof(wchar_t));
    copy[length + 1] = 0;
    m_value.val.lpwstr = copy;
    m_owned = true;
  }
}

void DbProperty::SetBlob(const void* data, DWORD length, int copyMode) {
  Retype(CEVT_BLOB);
  if (copyMode == DbBorrow) {
    m_value.val.blob.dwCount = length;
    m_value.val.blob.lpb = static_cast<LPBYTE>(const_cast<void*>(data));
  } else if (copyMode == DbCopy) {
    BYTE* copy = CheckAllocation(static_cast<BYTE*>(malloc(length > 0 ? length : 1)));
    if (length > 0 && data != nullptr)
      memcpy(copy, data, length);
    else
      length = 0;
    m_value.val.blob.dwCount = length;
    m_value.val.blob.lpb = copy;
    m_owned = true;
  }
}

const wchar_t* DbProperty::GetText() const {
  if (GetType() != CEVT_LPWSTR || m_value.val.lpwstr == nullptr) return kNoText;
  return m_value.val.lpwstr;
}

void DbProperty::Clear() {
  FreeData();
  memset(&m_value, 0, sizeof(m_value));
  m_sortFlags = 0;
}

void DbProperty::FreeData() {
  if (!m_owned) return;
  m_owned = false;
  if (!CanOwn(GetType())) return;
  if (GetType() == CEVT_LPWSTR) {
    free(m_value.val.lpwstr);
    m_value.val.lpwstr = nullptr;
  } else {
    free(m_value.val.blob.lpb);
    m_value.val.blob.lpb = nullptr;
    m_value.val.blob.dwCount = 0;
  }
}
