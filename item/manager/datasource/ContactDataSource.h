// ContactDataSource: the one object between the user interface and the contact data. It remembers
// the current search (its kind, both queries apart, the sort kind and the category filter), keeps the
// result as groups of contact ids with a first row and a title for each, caches up to 500 loaded
// contacts, and runs the search again when the contact manager reports a change. It hears what the
// manager tells its listener and what the coordinator's registered messages say, and passes on to its
// view (the Today item's ItemListener) what the view needs to know.
//
// A position in the result is (group, row); (-1, -1) is none. Under sort kinds 0 and 1 the result is
// a single group with an empty title; under sort kind 2 there is a group per company.
//
// Everything runs on the item's window thread.
#pragma once
#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "manager/core/ContactManagerListener.h"
#include "manager/core/SearchTypes.h"
#include "sync/SyncMessageHandler.h"

class Contact;
class ContactManager;
class ContactCacheMap;
class ItemListener;
class PimSync;

// The kind of the remembered search.
enum SearchKind {
  SearchKindKeypad = 0,
  SearchKindText = 1,
};

// One row of the result.
struct ResultPosition {
  int group;
  int row;
};

class ContactDataSource : public ContactManagerListener, public SyncMessageHandler {
 public:
  // Loaded contacts kept at most, and the hash buckets of the map that finds them.
  static const int kCacheSize = 500;
  static const int kCacheBuckets = 10;

  ContactDataSource();
  ~ContactDataSource() override;

  // --- lifecycle ---------------------------------------------------------------------------------------
  // Makes the cache if there is none, gets the process's contact manager and opens it with this
  // object as its listener; true when it stands. While open this object takes the coordinator's
  // messages (g_syncMessageHandler).
  virtual BOOL Open(HINSTANCE instance, IndexProgressSink* progress, PimSync* sync);
  // Forgets the view, destroys the contact manager, empties the result and frees the cache.
  virtual void Close();
  void SetListener(ItemListener* view) { listener = view; }
  ItemListener* GetListener() const { return listener; }
  BOOL IsOpen() const { return opened; }
  ContactManager* GetManager() const { return manager; }
  PimSync* GetSync() const { return sync; }

  // --- searches ------------------------------------------------------------------------------------------
  // Runs the remembered search again; nothing, and true, while not open. A failed search empties the
  // result and the cache.
  virtual BOOL Refresh();
  // A text search. With `useKeep` under sort kind 0 or 1 the keep list becomes the result and nothing
  // is searched; under sort kind 2 the grouped search runs and each group is cut down to the keep
  // list, groups that empty are dropped. The arguments are remembered when it succeeds; a failure
  // empties result and cache and leaves the remembered arguments.
  virtual BOOL SearchText(const Str& query, int sortKind, const CategoryFilter& filter,
                          const Array<CEOID>& keep, BOOL useKeep, SearchCancel* cancel);
  // A keypad search: as SearchText, except that under sort kind 2 the keep list is not applied.
  virtual BOOL SearchKeypad(const Str& query, int sortKind, const CategoryFilter& filter,
                            const Array<CEOID>& keep, BOOL useKeep);

  // --- the result ----------------------------------------------------------------------------------------
  int GroupCount() const { return groups.GetSize(); }
  // 0 for a group out of range.
  int RowsInGroup(int group) const;
  // 0 for a position out of range, negative ones included.
  CEOID GetIdAt(int group, int row) const;
  // The first position of `id`, walking the groups in order; (-1, -1) and false when it isn't there.
  BOOL FindPosition(CEOID id, int& group, int& row) const;
  // The row at which `group` begins when the groups' rows are counted one after the other; -1 for a
  // group out of range.
  int GroupFirstRow(int group) const;
  // The empty string for a group out of range, and for the single group of sort kinds 0 and 1.
  Str GroupTitle(int group) const;
  int TotalRows() const { return totalRows; }

  // --- what is remembered ------------------------------------------------------------------------------
  int GetSearchKind() const { return searchKind; }
  const Str& GetTextQuery() const { return textQuery; }
  const Str& GetKeypadQuery() const { return keypadQuery; }
  int GetSortKind() const { return sortKind; }
  const CategoryFilter& GetFilter() const { return filter; }

  // --- contacts ------------------------------------------------------------------------------------------
  // Reads the contact at the position into `contact`, bypassing the cache.
  virtual BOOL ReadAt(int group, int row, Contact& contact);
  // The contact at the position from the cache, read and cached when it isn't there. `photoSize` is
  // the size of the square the photo is shown in: 1 only asks whether there is a photo. The cache
  // owns the contact; the pointer is good until the contact is evicted.
  virtual BOOL GetCachedContact(int group, int row, Contact*& contact, int photoSize);
  // Adds a contact through the manager, runs the search again and gives the new contact's position,
  // (-1, -1) when the result doesn't hold it. A contact stored but left out of the index, which has no
  // room for it (ContactManager::IsOverCapacity), gives false with kMappingFullError and its oid set:
  // it stands in the database, but no search shows it.
  virtual BOOL AddContact(Contact& contact, int& group, int& row);
  // Writes an edited contact through the manager, gives the cached copy the new data and runs the
  // search again.
  virtual BOOL UpdateContact(Contact& contact);
  // Deletes the contacts at `positions`, which stand in ascending order: the rows are taken out of the
  // result from the last to the first, a group that empties goes, and then each contact is evicted
  // and deleted in the order of the list. False when any deletion failed; the others are still tried.
  virtual BOOL DeleteRows(const Array<ResultPosition>& positions);
  // Stores the default item of contact `id`. A slave hands it to the master and gives true.
  virtual BOOL UpdateDefaultItem(CEOID id, uint32_t item);

  // --- the cache -----------------------------------------------------------------------------------------
  // The cached contact of `id`, or null.
  Contact* FindCached(CEOID id) const;
  // Puts a contact into the cache, which owns it from then on: the cursor moves on by one, and a
  // contact that came in through that ring cell is evicted first.
  void CacheContact(Contact* contact);
  // Takes the contact of `id` out of the cache and deletes it; its ring cell stays as it is.
  void Evict(CEOID id);
  void ClearCache();
  int CachedCount() const;
  int CacheCursor() const { return cursor; }
  CEOID RingAt(int cell) const { return cell >= 0 && cell < kCacheSize ? ring[cell] : 0; }

  // Empties the result: no groups, no rows.
  void ClearResult();

  // --- ContactManagerListener ------------------------------------------------------------------------------
  void OnContactAdded(CEOID id) override;
  void OnContactChanged(CEOID id) override;
  void OnContactDeleted(CEOID id) override;
  void OnReloaded() override;
  void OnListEvent(DWORD a, DWORD b) override;
  void OnKeypadRebuildProgress(int step) override;
  void SetDataReady(BOOL ready) override;
  void SetUpdatePending(BOOL pending) override;
  void OnListEvent2(DWORD a, DWORD b) override;

  // --- SyncMessageHandler ----------------------------------------------------------------------------------
  // Each is ignored while the data source isn't open or has no coordinator.
  void OnChangeToMaster() override;
  void OnChangeToSlave() override;
  void OnSlaveReload() override;
  void OnSlaveStop() override;
  void OnUpdateLinkType(DWORD id, DWORD item) override;

 protected:
  // Runs a search of `kind` into the result; false, with the result untouched, when it fails.
  BOOL RunSearch(int kind, const Str& query, int searchSort, const CategoryFilter& searchFilter,
                 SearchCancel* cancel);
  // The common path of both searches.
  BOOL Search(int kind, const Str& query, int searchSort, const CategoryFilter& searchFilter,
              const Array<CEOID>& keep, BOOL useKeep, SearchCancel* cancel);
  // The result becomes the single group `ids`.
  void SetSingleGroup(const Array<CEOID>& ids);
  // The result becomes the groups of a grouped search: for each group its size, then its ids.
  void SetGroups(const Array<uint32_t>& flat, const Array<Str>& groupTitles);
  // Drops the rows that aren't in `keep`, and the groups that empty.
  void CutToKeep(const Array<CEOID>& keep);
  // Takes one row out; a group that empties goes. False for a position out of range.
  BOOL RemoveRow(int group, int row);
  // First rows and the total, after the groups changed.
  void CountRows();
  // Both at once, as the reactions to a reloaded index do.
  void ClearAll();
  // What is shown changed: the view runs its search again.
  void TellView();
  // A freshly read contact's photo, made fit for `photoSize`.
  void FitPhoto(Contact& contact, int photoSize);
  // Whether a reaction to the coordinator applies.
  BOOL ReactsToSync() const { return opened && sync != nullptr; }

  ItemListener* listener;
  ContactManager* manager;
  int searchKind;
  Str textQuery;
  Str keypadQuery;
  int sortKind;
  CategoryFilter filter;
  ContactCacheMap* cache;
  CEOID ring[kCacheSize];
  int cursor;
  Array<Array<CEOID>> groups;
  Array<int> firstRows;
  Array<Str> titles;
  int totalRows;
  BOOL opened;
  PimSync* sync;

 private:
  ContactDataSource(const ContactDataSource&);
  ContactDataSource& operator=(const ContactDataSource&);
};

extern ContactDataSource g_dataSource;
