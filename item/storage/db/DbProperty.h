// DbProperty: one typed value of a database record, as the platform's CEPROPVAL, with a sort flag word
// for when it names a sort order.
//
// A property either borrows its text or blob from someone else (a read buffer, the caller's memory) or
// owns a copy of it; only texts (type 31) and blobs (type 65) can own memory. A property that belongs
// to its record's list is deleted by the record.
#pragma once

#include <windows.h>
#include <windbase.h>

#include <stdint.h>

// Text and blob setters: how the value is taken.
enum DbCopyMode {
  DbBorrow = 0,  // point at the caller's memory
  DbCopy = 1,    // keep a private copy
};

class DbProperty {
 public:
  // The small index of a value type in the layer's table; kTypeIndexEmpty for an id with no type.
  static constexpr int kTypeIndexEmpty = 9;
  static int TypeIndex(WORD platformType);
  static WORD PlatformType(int typeIndex);

  DbProperty();
  DbProperty(int16_t value, WORD number);
  DbProperty(uint16_t value, WORD number);
  DbProperty(int32_t value, WORD number);
  DbProperty(uint32_t value, WORD number);
  DbProperty(bool value, WORD number);
  DbProperty(const FILETIME& value, WORD number);
  DbProperty(const wchar_t* text, WORD number, int copyMode = DbCopy);
  DbProperty(const void* data, DWORD length, WORD number, int copyMode = DbCopy);
  // Copies the value record and the sort word; never the ownership of the data.
  DbProperty(const DbProperty& other);
  DbProperty& operator=(const DbProperty& other);
  virtual ~DbProperty();

  // --- identity ------------------------------------------------------------------------------------
  CEPROPID GetId() const { return m_value.propid; }
  WORD GetNumber() const { return HIWORD(m_value.propid); }
  WORD GetType() const { return LOWORD(m_value.propid); }
  void SetId(CEPROPID id);
  void SetNumber(WORD number);
  // Changes the value type; owned data is freed when the type changes.
  void SetType(WORD platformType);

  WORD GetFlags() const { return m_value.wFlags; }
  void SetFlags(WORD flags) { m_value.wFlags = flags; }
  // The property was asked for and the record has none.
  bool IsNotFound() const { return (m_value.wFlags & CEDB_PROPNOTFOUND) != 0; }
  // On write, the property is deleted from the record.
  void SetDelete(bool on);

  DWORD GetSortFlags() const { return m_sortFlags; }
  void SetSortFlags(DWORD flags) { m_sortFlags = flags; }

  bool OwnsData() const { return m_owned; }
  bool IsListOwned() const { return m_listOwned; }
  void SetListOwned(bool on) { m_listOwned = on; }

  // The platform's value record, as written or as read.
  const CEPROPVAL& Value() const { return m_value; }
  CEPROPVAL& Value() { return m_value; }
  // Takes the 16 bytes of a value record as they are: the data stays where it points.
  void SetValue(const CEPROPVAL& value);

  // --- values --------------------------------------------------------------------------------------
  void SetI2(int16_t value);
  void SetUI2(uint16_t value);
  void SetI4(int32_t value);
  void SetUI4(uint32_t value);
  void SetBool(bool value);
  void SetFileTime(const FILETIME& value);
  void SetDouble(double value);
  // Copy mode DbBorrow points at `text`, DbCopy copies it, any other stores nothing. Null is "".
  void SetText(const wchar_t* text, int copyMode = DbCopy);
  void SetBlob(const void* data, DWORD length, int copyMode = DbCopy);

  int16_t GetI2() const { return m_value.val.iVal; }
  uint16_t GetUI2() const { return m_value.val.uiVal; }
  int32_t GetI4() const { return static_cast<int32_t>(m_value.val.lVal); }
  uint32_t GetUI4() const { return static_cast<uint32_t>(m_value.val.ulVal); }
  bool GetBool() const { return m_value.val.boolVal != 0; }
  FILETIME GetFileTime() const { return m_value.val.filetime; }
  double GetDouble() const { return m_value.val.dblVal; }
  // Never null for a text property: an absent pointer reads as "".
  const wchar_t* GetText() const;
  const BYTE* GetBlobData() const { return m_value.val.blob.lpb; }
  DWORD GetBlobLength() const { return m_value.val.blob.dwCount; }

  // Frees owned data and forgets the value: no id, no type, no flags.
  void Clear();

 private:
  void FreeData();
  void Retype(WORD platformType);

  CEPROPVAL m_value;
  DWORD m_sortFlags;
  bool m_owned;
  bool m_listOwned;
};
