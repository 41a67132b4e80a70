// ContactIndex: the search index of the contacts, held as one unit with the props store.
//
// The index file (IndexStore) holds the word tree and the keypad tree with their reverse maps, the
// contact lists sorted by name and by File As, and the contact map from each contact's oid to its
// record in the props store (PropsStore, pim_index2.dat). On opening, the contact map is read into a
// red-black tree in ordinary memory, which answers every lookup of a contact's record from then on.
//
// Only the master process writes, from one thread, with the background save of both files stopped
// first; readers in other processes see the same mappings.
//
// A quick start opens both files deferred: only their headers are judged at once, the files are copied
// into their mappings in the background, and every read or write waits for the copy (EnsureLoaded).
// The full walk over both files then runs in slices (Walk); until it has run, every read still checks
// each offset, count and link against the file before it follows it.
#pragma once

#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/index/ContactFeed.h"
#include "storage/index/IndexFormat.h"
#include "storage/index/IndexStore.h"
#include "storage/index/OidTree.h"
#include "storage/props/PropsStore.h"
#include "storage/index/SearchTree.h"

class BulkBuilder;
class Contact;
class ContactKeySource;
class IndexStoreWalk;

class ContactIndex : public IndexKeySink {
 public:
  ContactIndex();
  ~ContactIndex() override;

  // The files and trees for direct use; after a deferred open each waits for the copy first, so that
  // nothing half copied is read through them.
  IndexStore& Store() {
    EnsureLoaded();
    return store;
  }
  PropsStore& Props() {
    EnsureLoaded();
    return props;
  }
  SearchTree& Tree(int kind) {
    EnsureLoaded();
    return kind == KeypadTree ? keypadTree : wordTree;
  }
  // The backing files, without waiting for anything.
  const wchar_t* IndexPath() const { return store.GetPath(); }
  const wchar_t* PropsPath() const { return props.Path(); }
  // Where the keys of the contacts already in the sorted lists are read; null reads every key as
  // empty, and the lists then stand in the order of the oids.
  void SetKeySource(ContactKeySource* source) { keys = source; }
  ContactKeySource* GetKeySource() const { return keys; }
  // The keypad groups the feed translates words with; null is the process-wide table.
  void SetKeypadGroups(const KeypadGroups* table);

  // --- the index file ----------------------------------------------------------------------------
  // A new, empty index file (IndexStore::Create(102400)).
  virtual BOOL Create();
  // Opens the index file, runs its whole check (IndexStore::Check) and reads its contact map into the
  // contact tree. A file that fails the check is refused and closed (ERROR_INVALID_DATA).
  virtual BOOL Open();
  virtual void Close();
  BOOL IsOpen() const { return store.Data() != nullptr; }

  // --- both files ----------------------------------------------------------------------------------
  // New, empty props store with room for `expectedPropsBytes` of records, and a new index file.
  virtual BOOL CreateStores(uint32_t expectedPropsBytes);
  // Opens the props store and then the index file; false, with both closed, when either fails.
  // Without `deferred` every check of both files runs here (PropsStore::Open, IndexStore::Open) and
  // the contact tree is read. With it only the headers are judged (marks, versions, the files' check
  // words, the in-change byte) and the files are copied into their mappings in the background; the
  // rest comes with EnsureLoaded and the walk.
  virtual BOOL OpenStores(BOOL deferred = FALSE);
  virtual void CloseStores();
  // Waits until the files of a deferred open are whole, then checks that the structures the index
  // header names lie inside the file and reads the contact tree. False, with ERROR_INVALID_DATA, when
  // a copy failed or a structure passes the file's end: the index is damaged then, and every read and
  // write of it fails. True at once for stores opened otherwise.
  BOOL EnsureLoaded() const;
  // Lets the copies of a deferred open begin, once the opener has judged the headers: until then
  // they wait, so that the start isn't slowed by them (MappedFile::StartLoad). EnsureLoaded starts
  // them too.
  void StartLoading();
  // Whether a copy of a deferred open still runs or waits to begin, without waiting for it.
  BOOL IsLoading() const;
  // What a start judges the two files by, read without waiting for a copy: the props store's record
  // count and stamp, the index file's length and its contact count as its contact map's count word
  // says it. False, with ERROR_INVALID_DATA, when the index is known to be damaged or its header names
  // a structure past the file's end; ERROR_INVALID_HANDLE when the files aren't open.
  struct Heads {
    uint32_t records;
    FILETIME stamp;
    uint32_t contacts;
    uint32_t indexLength;
  };
  BOOL ReadHeads(Heads& heads) const;
  // Whether the index is known to be damaged: a copy failed, the header names structures past the
  // file's end, or an operation met a structure that doesn't hold together (IndexStore::IsDamaged).
  // Every read and write of it fails with ERROR_INVALID_DATA then, until it is made anew.
  BOOL IsDamaged() const { return loadState == StoresDamaged || store.IsDamaged(); }

  // --- the comparison of a stale index, before the copies have ended ----------------------------------
  // Brings in from the files what a comparison of the index with the database reads: the name list,
  // the contact map (kept sorted by contact beside the stores) and a view of the props file for the
  // records' checksums. Once that is done the three calls below answer without waiting for the
  // copies; for stores opened otherwise, or whose copies have ended, they read the mappings. False,
  // with ERROR_INVALID_DATA, when the index is known to be damaged, a structure passes its file's end
  // or can't be read, or the map names a contact twice.
  BOOL FetchForCompare();
  // The ids of the name list, in its order.
  BOOL ListNamesForCompare(Array<CEOID>& ids) const;
  // The props record of contact `oid`, from the contact map.
  BOOL FindForCompare(CEOID oid, uint32_t* propsOffset) const;
  // The checksum kept in the props record at `propsOffset`.
  BOOL ChecksumForCompare(uint32_t propsOffset, uint32_t& checksum) const;

  // --- the walk after a deferred open -----------------------------------------------------------------
  // The full walk over both files that a deferred open leaves: the load, the arena of the index file,
  // the props store's pool and records against the contact map, the name list without duplicates, the
  // index file's own walk (IndexStore::Check) and the contact tree's rules. It stops at the first part
  // that finds anything.
  BOOL IsWalkDue() const { return walkPhase != WalkNone && walkPhase != WalkEnded; }
  // Walks on for about `budgetMs` milliseconds (0: to the end). Without `waitForCopy` it gives false
  // at once while a copy still runs. True when the walk has ended (or none was due).
  BOOL Walk(DWORD budgetMs, BOOL waitForCopy);
  // Runs the walk's parts that a write relies on, if they are still due, at once and waiting for the
  // copy. False when the walk has found damage (now or before).
  BOOL WalkForWrites();
  // Whether the walk has passed what a write relies on: the load, the arena, the props store and the
  // name list. A walk not yet begun counts as passed.
  BOOL IsWalkedForWrites() const { return walkPhase == WalkNone || walkPhase >= WalkIndexFile; }
  // What the last walk found; empty when nothing.
  BOOL WalkFoundDamage() const { return walkDamage; }
  const Str& WalkReport() const { return walkReport; }
  // Probes: walks ended since this object was made, and slices that did some of a walk.
  int WalksEnded() const { return walksEnded; }
  int WalkSlices() const { return walkSlices; }
  // Saves both files, in the background or at once.
  virtual BOOL Save(BOOL background);
  // Stops the background save of both files; every writer calls it first.
  virtual void CancelSave();

  // --- contacts --------------------------------------------------------------------------------------
  // Index only: feeds the contact's texts and `noteText` into both trees and records the nodes in the
  // reverse maps, puts the contact into both sorted lists and maps its oid to `propsOffset`. False
  // when the index file can't grow, and then the contact is left out of the index altogether.
  virtual BOOL AddContact(const Contact& contact, const wchar_t* noteText, uint32_t propsOffset);
  // Index only: takes the contact out of both trees and adds it again.
  virtual BOOL UpdateContact(const Contact& contact, const wchar_t* noteText, uint32_t propsOffset);
  // Takes the contact out of both trees, both sorted lists, the contact map and the contact tree, and
  // deletes its record from the props store when that is open. False when the contact wasn't known.
  virtual BOOL RemoveContact(CEOID oid);
  // With the props store: the contact's extended block and checksum become a new record, and the
  // contact goes into the index under it. On failure neither keeps anything of the contact.
  virtual BOOL AddContact(const Contact& contact, const wchar_t* noteText);
  // With the props store: the contact's record is rewritten (or made, for a contact not yet known),
  // then the contact is updated in the index.
  virtual BOOL UpdateContact(const Contact& contact, const wchar_t* noteText);

  // The props record of contact `oid`.
  virtual BOOL Find(CEOID oid, uint32_t* propsOffset) const;
  int ContactCount() const {
    EnsureLoaded();
    return contacts.Count();
  }

  // --- lookups -------------------------------------------------------------------------------------
  // The oids of every key of tree `tree` that begins with `key`, ascending, no duplicates.
  virtual BOOL FindPrefix(int tree, const wchar_t* key, Array<CEOID>& ids) const;
  // The oids that have, for each word of `text`, a key beginning with that word: ascending, no
  // duplicates; nothing at once when one word finds nothing.
  virtual BOOL FindWords(int tree, const wchar_t* text, Array<CEOID>& ids) const;
  // The oids of a sorted list (SortByName, SortByFileAs), in its order.
  virtual BOOL ListAll(int kind, Array<CEOID>& ids) const;
  // The oids of the list that are also in `ids`, in the list's order; when `ids` is as long as the
  // list, the whole list.
  virtual BOOL ListFiltered(int kind, const Array<CEOID>& ids, Array<CEOID>& result) const;

  // --- the feed ----------------------------------------------------------------------------------------
  virtual BOOL FeedContact(const Contact& contact, const wchar_t* noteText);
  virtual BOOL AddText(CEOID oid, const wchar_t* text);
  virtual BOOL AddPhone(CEOID oid, const wchar_t* number);
  BOOL AddKey(int tree, CEOID oid, const Str& key) override;

  // --- rebuilds ------------------------------------------------------------------------------------------
  // Makes both files anew from everything the builder holds: props records for its contacts, both
  // trees, both sorted lists and the contact map.
  virtual BOOL WriteBulk(BulkBuilder& builder);
  // Replaces the keypad tree by the builder's.
  virtual BOOL ReplaceKeypadTree(BulkBuilder& builder);

  // Every check of IndexStore::Check, the contact tree's own rules and its agreement with the contact
  // map, the order of the sorted lists by their keys (with a key source), and, when the props store
  // is open, the props store's own check against the records the contact map names. One line per
  // finding; true when there was none.
  virtual BOOL Check(Str& report) const;

 protected:
  // Reads the contact map of the file into the contact tree; false when the map passes the file's end.
  BOOL LoadContactTree();
  // Reads the contact map into compareMap, sorted by contact; false when it passes the file's end or
  // names a contact twice.
  BOOL ReadCompareMap();
  // The work of EnsureLoaded.
  BOOL FinishLoad();
  // One part of the walk, or a slice of the index file's; false when the budget ran out in it.
  BOOL WalkPart(DWORD started, DWORD budgetMs);
  // Notes a finding of the walk.
  void WalkFinding(const wchar_t* line);
  void ClearWalk();
  // Takes `oid` out of the index only; `withTouched` also clears the nodes touched by a feed in
  // progress that the reverse maps don't list yet.
  BOOL RemoveFromIndex(CEOID oid, bool withTouched);
  // The sorted lists.
  BOOL InsertSorted(int kind, const Contact& contact);
  void RemoveSorted(int kind, CEOID oid);
  // Reads the key of `oid`; false when it can't be read.
  bool ReadKey(int kind, CEOID oid, Str& key) const;
  // The contact map.
  BOOL MapContact(CEOID oid, uint32_t propsOffset);
  BOOL UnmapContact(CEOID oid);
  static uint32_t ListSlot(int kind) { return kind == SortByFileAs ? kFileAsListSlot : kNameListSlot; }

  IndexStore store;
  PropsStore props;
  SearchTree wordTree;
  SearchTree keypadTree;
  ContactFeed feed;
  // Nodes of each tree that the contact in progress was added to.
  Array<uint32_t> touched[2];
  OidTree contacts;
  // The contact map as the comparison of a deferred open reads it, until the copies have ended.
  Array<ContactMapEntry> compareMap;
  ContactKeySource* keys;

  enum LoadState { StoresLoaded, StoresLoading, StoresDamaged };
  int loadState;
  enum WalkPhase {
    WalkNone,
    WalkLoad,
    WalkArena,
    WalkProps,
    WalkDuplicates,
    WalkIndexFile,
    WalkContactTree,
    WalkEnded
  };
  int walkPhase;
  // The index file's own walk, and the store's change count when it began: a change since begins it
  // anew.
  IndexStoreWalk* indexWalk;
  uint32_t indexWalkChanges;
  Str walkReport;
  BOOL walkDamage;
  int walksEnded;
  int walkSlices;

 private:
  ContactIndex(const ContactIndex&);
  ContactIndex& operator=(const ContactIndex&);
};
