// Contact: the in-memory form of one contact.
//
// The fixed part is a chain of records: ContactRoot (identity, dates, default item), ContactText (the 43
// text fields and the two blobs) and Contact, which adds the extended block as a second base and the
// photo. Every level copies and compares its own fields and hands the rest to the level below.
//
// Texts and buffers are shared by reference, so copying a Contact copies no text.
#pragma once

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/db/ByteBuffer.h"
#include "storage/contact/ContactExtended.h"
#include "storage/contact/ContactFieldTable.h"
#include "storage/contact/ContactPhoto.h"

#include <windows.h>
#include <windbase.h>

#include <stdint.h>

class ContactRoot {
 public:
  ContactRoot();
  virtual ~ContactRoot();
  // Copies this level's fields, and those of the levels above when `other` has them.
  virtual void CopyCore(const ContactRoot& other);
  virtual bool EqualsCore(const ContactRoot& other) const;
  virtual bool DiffersCore(const ContactRoot& other) const;
  virtual void Clear();
  virtual bool IsEmpty() const;
  // Copies `other` whole; nothing happens when it is this very record.
  virtual void Assign(const ContactRoot& other);
  virtual bool Equals(const ContactRoot& other) const;
  virtual bool Differs(const ContactRoot& other) const;

  CEOID oid;
  FILETIME anniversary;
  FILETIME birthday;
  uint32_t defaultItem;  // property id of the preferred phone or mail; 0 is none
  uint32_t flag102;      // read on a full load and copied, never written

 protected:
  ContactRoot(const ContactRoot& other);
  ContactRoot& operator=(const ContactRoot& other);
};

class ContactText : public ContactRoot {
 public:
  ContactText();
  void CopyCore(const ContactRoot& other) override;
  bool EqualsCore(const ContactRoot& other) const override;
  void Clear() override;
  bool IsEmpty() const override;

  Str text[kContactTextCount];  // indexed by ContactField
  Array<Str> scratch;           // working list; empty in a stored record
  ByteBuffer categories;        // category bit mask; a new contact has the single byte 0
  ByteBuffer noteBlob;          // the Note as the platform stores it

 protected:
  ContactText(const ContactText& other);
  ContactText& operator=(const ContactText& other);
};

class Contact : public ContactText, public ContactExtended {
 public:
  Contact();
  Contact(const Contact& other);
  Contact& operator=(const Contact& other);
  ~Contact() override;

  void CopyCore(const ContactRoot& other) override;
  bool EqualsCore(const ContactRoot& other) const override;
  void Clear() override;
  bool IsEmpty() const override;
  using ContactText::Differs;
  using ContactText::Equals;

  // --- custom items and hashes ------------------------------------------------------------------------
  // The synthetic property id of an extended phone or mail: the label's hash with the top nibble set
  // in the high half, the value's hash sign-extended from 16 bits in the low half.
  static uint32_t CustomItemId(const wchar_t* label, const wchar_t* value);
  static bool IsCustomItemId(uint32_t id) { return (id & 0xF0000000u) == 0xF0000000u; }
  static uint32_t Hash(const wchar_t* text);

  // --- phones and mails --------------------------------------------------------------------------------
  // The phone that `propertyId` names; otherwise the first phone there is, whose id then goes back in
  // `propertyId`. False only when the contact has no phone.
  bool GetPhoneByType(uint32_t& propertyId, Str& value, Str& label) const;
  // The phone or mail that `defaultItem` names, or the first there is. Labels in lower case.
  bool GetDefaultCommunication(Str& value, Str& label) const;
  // Every phone as {list label, value}; `selectedIndex` is the place of `defaultItem`, or 0.
  void ListPhones(Array<LabelValue>& pairs, int& selectedIndex) const;
  void ListPhonesWithIds(Array<LabelValue>& pairs, Array<uint32_t>& ids) const;
  // Moves `defaultItem` by `step` through the filled phones (and mails unless `forPhonesOnly`),
  // wrapping at both ends. Returns the new id, or 0 when there are fewer than two items.
  uint32_t NextPhone(int step, bool forPhonesOnly);
  // The label of the first field whose digits contain `number`; false when none does.
  bool LabelForNumber(const wchar_t* number, Str& label) const;
  // The contact's ring tone file, or the empty string.
  Str Ringtone() const;

  // --- checksum ------------------------------------------------------------------------------------------
  uint32_t ComputeChecksum() const;
  static uint32_t TextHash(const wchar_t* text);
  static uint32_t BlobHash(const BYTE* data, uint32_t length);

  // Keeps only what sorting needs: the name fields, the company and FileAs.
  void StripForSort();

  uint32_t checksum;
  ByteBuffer rawNote;  // the Note's text without the block of extended data
  bool photoLoaded;
  ContactPhoto photo;

 private:
  // Every item of the contact with its id, in the order of NextPhone.
  void CollectItems(Array<uint32_t>& ids, bool phonesOnly) const;
};
