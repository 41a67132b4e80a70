// ContactDatabase: the platform's "Contacts Database" and "\Categories Database" as the contact
// manager sees them: whole and partial reads of contacts, their writes, and the enumerations that the
// lists and the index are built from.
#pragma once

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/db/ByteBuffer.h"
#include "storage/categories/CategoryCounter.h"
#include "storage/contact/Contact.h"
#include "storage/db/DbDatabase.h"
#include "storage/categories/PPC2003CategoryDBManager.h"

#include <windows.h>
#include <windbase.h>

#include <stdint.h>

extern const wchar_t kContactsDatabaseName[];    // "Contacts Database"
extern const wchar_t kCategoriesDatabaseName[];  // "\Categories Database", of the categories library
// The categories database is opened in the order of the category positions.
const CEPROPID kCategoryPositionId = MAKE_CEPROPID(0x4002, CEVT_I2);
const CEPROPID kCompanyId = MAKE_CEPROPID(0x3A16, CEVT_LPWSTR);

// One row of an enumeration: the record, its company and its list name.
struct ListEntry {
  CEOID oid;
  Str company;
  Str name;
};

// Which records an enumeration yields.
enum ListCategoryFilter {
  ListAnyCategory = 0,
  ListNoCategory = 1,    // no categories property, or an empty mask, or a single zero byte
  ListCategoryMask = 2,  // the record's mask and `mask` share a set bit
};

struct ListFilter {
  ListFilter() : category(ListAnyCategory), byOids(false) {}
  int category;
  ByteBuffer mask;  // with ListCategoryMask; a mask of zeros means ListNoCategory
  bool byOids;      // only the records whose oid is in `oids`
  Array<CEOID> oids;
};

class ContactDatabase {
 public:
  ContactDatabase();
  virtual ~ContactDatabase();

  // Opens "Contacts Database" (no sort order, notifications to `notifyRequest`) and then the
  // categories database; false if either fails.
  bool Open(CENOTIFYREQUEST* notifyRequest);
  void Close();
  // The record count and last modification time of the contacts database; zeros and false when the
  // database can't tell.
  bool GetCountAndTime(FILETIME& time, DWORD& count) const;

  DbDatabase& Contacts() { return m_contacts; }
  CategoriesDBManager& Categories() { return m_categories; }
  // The category use counters that writes keep: the categories database's own from construction;
  // null counts nothing.
  void SetCategoryCounter(CategoryCounter* counter) { m_categoryCounter = counter; }
  CategoryCounter* GetCategoryCounter() const { return m_categoryCounter; }

  // --- whole contacts ----------------------------------------------------------------------------------
  // Reads every property of the current record and steps to the next one.
  bool LoadCurrent(Contact& contact);
  // Reads every property of record `oid`; the position stays on it.
  bool LoadByOid(CEOID oid, Contact& contact);
  // Reads what the lists show of record `oid`: the texts, dates, default item and categories.
  bool LoadDisplayFields(CEOID oid, Contact& contact);
  // The property map: every property of `record` that a Contact has a field for goes into it.
  static void MapProperties(const DbRecord& record, Contact& contact);
  // The same for the `count` raw values of a read.
  static void MapValues(const CEPROPVAL* values, int count, Contact& contact);

  // --- partial reads by oid -----------------------------------------------------------------------------
  bool ReadNameFields(CEOID oid, Str& last, Str& first, Str& company, Str& title);
  bool ReadNameFields(CEOID oid, Str& last, Str& first, Str& company);
  // Last, first, title and middle name straight into `contact`.
  bool ReadNameParts(CEOID oid, Contact& contact);
  bool ReadFileAs(CEOID oid, Str& fileAs);
  // The filled phones, in the order work, work 2, work fax, home, home 2, home fax, pager, car,
  // radio, mobile, assistant.
  bool ReadPhones(CEOID oid, Array<Str>& phones);
  bool ReadCategories(CEOID oid, ByteBuffer& categories);

  // --- writes --------------------------------------------------------------------------------------------
  // Writes `contact` as a new record and stores its oid in it. The Note goes along with `withNote`.
  bool AddContact(Contact& contact, bool withNote);
  // Writes every field of `contact` over its record; cleared fields are deleted from the record.
  bool UpdateContact(Contact& contact, bool withNote);
  // Deletes record `oid`, or the current record for 0.
  bool DeleteContact(CEOID oid);
  // Stores `value` as the default item of record `oid`; 0 deletes it.
  bool SetDefaultItem(CEOID oid, uint32_t value);

  // The checksum of the current record from its raw properties, as Contact::ComputeChecksum gives it
  // for the same record. The position stays.
  bool QuickChecksum(uint32_t& checksum, CEOID& oid);

  // --- enumerations ------------------------------------------------------------------------------------------
  bool EnumerateContacts(const ListFilter& filter, Array<ListEntry>& entries);
  bool EnumerateOids(const ListFilter& filter, Array<CEOID>& oids);
  // The distinct non-empty company names, in the order of the company sort.
  bool AllCompanies(Array<Str>& companies);

 private:
  ContactDatabase(const ContactDatabase&) = delete;
  ContactDatabase& operator=(const ContactDatabase&) = delete;

  // Seeks `oid` and reads `count` properties (all when 0) without stepping.
  CEOID ReadByOid(CEOID oid, DbRecord& record, int count, const CEPROPID* ids);
  bool Enumerate(const ListFilter& filter, bool withNames, Array<ListEntry>* entries, Array<CEOID>* oids);
  bool CompaniesInOrder(DbDatabase& database, Array<Str>& companies);

  DbDatabase m_contacts;
  CategoriesDBManager m_categories;
  CategoryCounter* m_categoryCounter;
  // The buffer of the whole-record reads, kept from record to record.
  DbReadBuffer m_read;
};
