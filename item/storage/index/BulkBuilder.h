// BulkBuilder: everything a full rebuild needs, gathered in ordinary memory before the index files are
// made. Every contact is fed as the contact index feeds one, into two BulkTrees, and then kept, stripped
// to what the sorted lists need and its extended block, under its oid. When all are in, the index
// writes the builder out (ContactIndex::WriteBulk): the trees, the sorted lists, a props record for
// each contact in ascending oid order, and the contact map.
//
// A builder for the keypad tree alone feeds only that tree and keeps no contacts; it replaces the
// keypad tree when the keypad letters have changed (ContactIndex::ReplaceKeypadTree).
#pragma once

#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "storage/index/BulkTree.h"
#include "storage/index/ContactFeed.h"
#include "storage/index/OidTree.h"

class Contact;
class IndexStore;
class KeypadGroups;

class BulkBuilder : public IndexKeySink {
 public:
  // `groups` translates words into keypad keys; null is the process-wide table.
  explicit BulkBuilder(bool keypadOnly = false, const KeypadGroups* groups = nullptr);
  ~BulkBuilder() override;

  // Feeds the contact's texts and `noteText`, and keeps the contact (which the builder then owns),
  // stripped. A keypad-only builder deletes it at once. False, with the contact deleted, for an oid
  // that was given before.
  virtual BOOL AddContact(Contact* contact, const wchar_t* noteText);
  BOOL AddKey(int tree, CEOID oid, const Str& key) override;
  BOOL AddKeyChars(int tree, CEOID oid, const wchar_t* key, int length) override;

  bool IsKeypadOnly() const { return keypadOnly; }
  // Contacts kept, and in ascending oid order.
  int ContactCount() const { return kept.GetSize(); }
  void ContactsInOidOrder(Array<Contact*>& contacts) const;
  // Bytes of the props records of all contacts kept: the size a new props store is made for.
  uint32_t RecordBytes() const { return recordBytes; }
  const BulkTree& Tree(int kind) const { return trees[kind == 1 ? 1 : 0]; }

  // Writes tree `kind` into the store under its header slots.
  virtual BOOL WriteTree(IndexStore& store, int kind);
  // Writes both sorted lists, made by sorting the contacts by their keys; no contacts, no lists.
  virtual BOOL WriteSortedLists(IndexStore& store);
  // Writes the contact map in one go: the contacts in ascending oid order with `records[k]` for the
  // k-th of them; no contacts, no map.
  virtual BOOL WriteContactMap(IndexStore& store, const Array<uint32_t>& records);
  // Deletes the contacts and empties both trees.
  virtual void Clear();

 private:
  BulkBuilder(const BulkBuilder&);
  BulkBuilder& operator=(const BulkBuilder&);

  BulkTree trees[2];
  ContactFeed feed;
  OidTree byOid;  // oid -> index in kept
  Array<Contact*> kept;
  uint32_t recordBytes;
  bool keypadOnly;
};
