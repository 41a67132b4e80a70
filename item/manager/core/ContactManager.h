// ContactManager: the one object of a process that owns the "Contacts Database" and the search index
// beside it. It opens both and decides whether the index can be trusted (in step, stale and inspected,
// or rebuilt whole), turns the database's change notifications into index updates, and is the only
// path by which contacts are read whole, written and deleted. Among cooperating processes only the
// master writes the index; the others reopen it when told.
//
// Everything runs on the thread that opened it: notifications and both timers arrive as messages of
// its two hidden windows. The background save of the index files is the only other thread, and every
// write stops it first.
#pragma once
#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "extended/ContactNote.h"
#include "foundation/Array.h"
#include "foundation/Str.h"
#include "manager/core/ContactManagerListener.h"
#include "manager/core/SearchTypes.h"
#include "manager/aids/ListPositions.h"
#include "manager/aids/NameKeyCache.h"
#include "manager/aids/PositionSearch.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/index/ContactIndex.h"
#include "storage/index/ContactKeySource.h"
#include "storage/events/DbEventTarget.h"
#include "storage/events/DbEventsListener.h"
#include "storage/events/DbMsgStack.h"
#include "storage/events/IdleWorkWindow.h"

class BulkBuilder;
class PimSync;

// A record's oid and quick checksum, as the inspection of a stale index compares them.
struct RecordChecksum {
  CEOID oid;
  uint32_t sum;
};

// What the inspection of a stale index found, to be applied: the contacts gone from the database, the
// records added and changed with their quick checksums, and the database's time before the pass.
struct FoundDifferences {
  Array<CEOID> removed;
  Array<RecordChecksum> added;
  Array<RecordChecksum> changed;
  FILETIME stamp;
  int Total() const { return removed.GetSize() + added.GetSize() + changed.GetSize(); }
  void Clear() {
    removed.RemoveAll();
    added.RemoveAll();
    changed.RemoveAll();
  }
};

// What opening the index found.
enum IndexOpenState {
  IndexUnusable = 0,  // missing, damaged, cut off in a write, made for another database, or marked for reset
  IndexInStep = 1,
  IndexStale = 2,  // the database's time or count differs from the stamp
};

// What Open did about the index, for tools and tests.
struct IndexOpenReport {
  IndexOpenReport() { Clear(); }
  void Clear() {
    state = IndexUnusable;
    inspected = rebuilt = damageFound = overCapacity = FALSE;
    removed = added = changed = held = 0;
    reason.Empty();
  }
  int state;                    // IndexOpenState
  BOOL inspected;               // the stale index was compared contact by contact
  BOOL rebuilt;                 // the index was made anew
  BOOL damageFound;             // the walk after the start, or a read, found the index damaged
  int removed, added, changed;  // what the inspection found (and applied unless it rebuilt)
  BOOL overCapacity;            // the address book holds more contacts than the index has room for
  int held;                     // with overCapacity: how many contacts the index holds
  Str reason;                   // why the index was dropped, as logged; empty when it wasn't
};

class ContactManager : public ContactDatabase, public DbEventTarget, public NameSource {
 public:
  // How long, and how often, a rebuild tries again to make the new index files while a process that
  // was told to let go of them still holds their mappings.
  static const DWORD kCreateRetryMs = 100;
  static const int kCreateAttempts = 50;
  // Differences up to which a stale index is patched, and queued events up to which they are applied
  // one by one; above them a full rebuild is cheaper.
  static const int kMaxInspectChanges = 10;
  static const int kRebuildEventCount = 15;
  static const int kPendingNoticeCount = 10;
  static const UINT kGatherMs = 500;
  static const UINT kCommitMs = 2000;
  // The idle timer's period, and the work done at each tick.
  static const UINT kIdleTickMs = 10;
  static const DWORD kIdleSliceMs = 4;

  ContactManager();
  ~ContactManager() override;

  // The process's manager, made on first use.
  static ContactManager* GetInstance();
  static void DestroyInstance();

  // --- lifecycle ---------------------------------------------------------------------------------------
  // Opens the database with the notification window, the categories database and the index, and
  // brings the index in step (inspection or full rebuild) as far as this process may write.
  virtual BOOL Open(HINSTANCE instance, ContactManagerListener* listener, PimSync* sync,
                    IndexProgressSink* progress);
  // Starts a save still due, then closes the index, the databases and both windows.
  virtual void Close();
  // Closes the index files only; changes not yet saved are written back first, so that a process that
  // opens the files next finds them.
  virtual BOOL CloseIndex();
  // Opens the index again as it is, without repair: what a slave does when told to reload.
  virtual BOOL ReloadIndex();
  // Opens the index again and repairs it as a master does at start.
  virtual BOOL TakeOverIndex();
  // A full rebuild on demand; master only.
  virtual BOOL Rebuild();
  // Makes the keypad tree anew after the letter groups changed; master only.
  virtual BOOL RebuildKeypadTree();

  // --- contacts ------------------------------------------------------------------------------------------
  // Reads contact `id` whole: the record, the Note without its block of extended data, the extended
  // data from the props store (from the Note itself for a contact the index doesn't know).
  virtual BOOL ReadContact(CEOID id, Contact& contact);
  // Writes a new contact (its extended data merged into the Note) and adds it to the index; the new
  // id goes into `contact.oid`. Master only. A contact the index has no room for is still stored: the
  // result is true, and IsOverCapacity says that the index doesn't hold it.
  virtual BOOL AddContact(Contact& contact);
  // Writes the contact over its record and updates the index. `photoAuthoritative`: the photo in hand
  // is the photo to keep, an absent one meaning none. Master only. As with AddContact, a contact the
  // index has no more room for is stored, and left out of the index.
  virtual BOOL UpdateContact(Contact& contact, BOOL photoAuthoritative);
  // Deletes the record and takes the contact out of the index. Master only.
  virtual BOOL DeleteContact(CEOID id);
  // Stores the contact's default item (0 deletes it). Master only.
  virtual BOOL SetDefaultItem(CEOID id, uint32_t item);

  // --- search ------------------------------------------------------------------------------------------
  // Each clears its output first and gives true on success, false on failure or cancellation.
  virtual BOOL Search(const Str& query, int sortKind, const CategoryFilter& filter, Array<CEOID>& out,
                      SearchCancel* cancel);
  virtual BOOL KeypadSearch(const Str& query, int sortKind, const CategoryFilter& filter, Array<CEOID>& out);
  // Under the grouped order: `flat` holds for each group its size and then its ids; `titles` the
  // company of each group.
  virtual BOOL GroupedSearch(const Str& query, const CategoryFilter& filter, Array<uint32_t>& flat,
                             Array<Str>& titles, SearchCancel* cancel);
  virtual BOOL GroupedKeypadSearch(const Str& query, const CategoryFilter& filter, Array<uint32_t>& flat,
                                   Array<Str>& titles);
  // The contacts that have `number` among their phones, compared by its last digits; gives their
  // count. `numbers` (may be null) gets the digits that matched, one per id.
  virtual int FindByPhone(const Str& number, Array<CEOID>& ids, Array<Str>* numbers, int minDigits,
                          DWORD timeoutMs);
  // The searches' aids in ordinary memory: the list positions and the name-key cache. Off, every
  // search works from the lists and the records alone; the results are the same either way.
  void SetSearchAids(BOOL on);
  BOOL SearchAids() const { return searchAids; }
  NameKeyCache& NameKeys() { return nameKeys; }
  // Gives name-key entries to listed contacts that have none, going round the name list, for about
  // `budgetMs` milliseconds (0: the rest of the round); true when a whole round has gone by.
  virtual BOOL FillNameKeys(DWORD budgetMs);
  // NameSource: the names the ranking can't take from the cache come from the database.
  bool ReadNames(CEOID oid, Str& last, Str& first, Str& company) override;
  // Whether contact `id` comes from the SIM card. No SIM source is attached in this system: false.
  virtual BOOL IsSimContact(CEOID id);
  void SetSimSourceAttached(BOOL attached) { simSourceAttached = attached; }

  // --- change events and idle work (the hidden windows call these) ----------------------------------------
  void OnDbEvent(DWORD kind, CEOID parent, CEOID oid) override;
  void OnEventTimer() override;
  void OnSaveTimer() override;
  // A slice of the work left for idle time: first the walk over the index files that the start left
  // (damage found: a master rebuilds, a slave reports it), then the name cache (FillNameKeys). The
  // timer stops when nothing is left.
  void OnIdleTimer() override;
  // Whether idle work is still to come.
  BOOL IsIdleWorkDue() const { return idleWindow.IsTimerRunning(); }

  // --- state -----------------------------------------------------------------------------------------------
  // The index, with the differences a start found applied first.
  ContactIndex& Index() {
    ApplyDueChanges();
    return index;
  }
  DbEventsListener& EventsWindow() { return eventsWindow; }
  DbMsgStack& PendingWindow() { return pendingWindow; }
  IdleWorkWindow& IdleWindow() { return idleWindow; }
  ContactNote& Note() { return note; }
  const IndexOpenReport& LastOpenReport() const { return openReport; }
  // Whether the address book holds more contacts than the index has room for. The index then holds
  // IndexHolds() of them: every contact can still be read, and a search finds those indexed. Room
  // made by deletions is taken up by the others at once.
  BOOL IsOverCapacity() const { return overCapacity; }
  int IndexHolds() const { return indexHolds; }
  // The plain sentence about it, as logged: how many contacts the book and the index hold.
  Str CapacityNote() const;
  BOOL IsRebuilding() const { return rebuilding; }
  BOOL IsOpen() const { return opened; }
  void SetListener(ContactManagerListener* newListener) { listener = newListener; }
  PimSync* GetSync() const { return sync; }

  // Opens both index files and judges them against the database (IndexOpenState). Only the headers
  // are judged here and the files are copied in the background; the full walk over them comes in
  // idle time (OnIdleTimer), or at once before the first write.
  virtual int OpenIndex();
  // Reads every record and writes both index files anew; the old index stays when a read fails. The
  // old files are never read: they are deleted and made afresh. When the index has no room for every
  // contact it holds as many as it can (IsOverCapacity).
  virtual BOOL FullRebuild();
  // Compares the index with the database by checksums; up to ten differences are kept to be applied
  // (ApplyDueChanges); more, a duplicate or an empty index give a full rebuild.
  virtual BOOL Inspect();
  // Applies the differences the inspection found, if any are due: what every search, read and write
  // of the index, and the first idle slice, do first. The copies of the files are waited for here. A
  // failure leads to a full rebuild (the result is the rebuild's). Closing the index applies them too,
  // before the save.
  BOOL ApplyDueChanges();
  BOOL AreChangesDue() const { return due.Total() > 0; }

 protected:
  // Whether this process may write the index: the master, or a process without coordinator.
  BOOL MayWrite() const;
  // The start of every write of this process: false, with ERROR_ACCESS_DENIED, when it may not write;
  // otherwise the background save is stopped, and the index is made sound for the write
  // (EnsureIndexSound).
  BOOL BeginWrite();
  // Runs what is still due of the walk that writes rely on. When it finds damage the master rebuilds
  // the index (the result is the rebuild's) and a slave only reports it (false).
  BOOL EnsureIndexSound();
  // What the walk's finding of damage leads to: reported; a master rebuilds and tells the listener.
  BOOL RepairDamagedIndex();
  // Logs what the walk found, as one line.
  void ReportDamage(const wchar_t* function, int line);
  // ReportDropped of the index and props files as two that don't hold together, for `finding`.
  void ReportFilesApart(const Str& finding, const wchar_t* function, int line);
  // Logs, as one line, that the index is dropped and rebuilt, and why; keeps the reason for the report.
  void ReportDropped(const Str& why, const wchar_t* function, int line);
  // What a read of the index that failed with ERROR_INVALID_DATA leads to: the damage is reported and
  // a master rebuilds in its next idle slice. Gives `ok` with the last error kept.
  BOOL NoteRead(BOOL ok);
  // The index files made anew from the builder, tried again while another process still holds their
  // mappings (told to let go of them first).
  BOOL WriteNewIndex(BulkBuilder& builder);
  // The rebuild for an address book the index has no room for whole: the first contacts of the table,
  // as many as fit.
  BOOL RebuildPartly(int total, const FILETIME& time);
  // A contact the index had no room for: the index is over capacity from now on (logged once).
  void NoteOverCapacity();
  // Over capacity no longer (logged).
  void NoteCapacityRestored();
  // Over capacity: adds the contacts the index doesn't hold, in the table's order, as long as there is
  // room; says, and logs, when it holds every contact again.
  BOOL TakeInUnindexed();
  // Over capacity, after deletions: when the room the index has left would take every contact it
  // doesn't hold, it is rebuilt whole (a rebuild packs it tighter than single adds can); with room
  // for a few, those are added; otherwise nothing happens.
  BOOL UseFreedRoom();
  // The frame of every change of the index: the in-change byte is set before it, and after it the
  // stamp follows the database when `stamp` and no change of another program waits to be applied,
  // and the byte is cleared.
  void BeginIndexChange();
  void EndIndexChange(BOOL stamp);
  // Starts the idle timer unless it runs: after a start, a reload and every change.
  void StartIdleWork();
  // What an opened index needs: nothing when in step, the audit when stale, a full rebuild when
  // unusable. A process that may not write only takes what it finds; an unusable index is a failure.
  BOOL BringInStep(int state);
  // The ids of the open index's name list, ascending, read without waiting for the copies (with the
  // contact map and the records the comparison reads); false when one of them stands there twice, and
  // when the list, the map or the records can't be read.
  BOOL ListIndexedIds(Array<CEOID>& sorted);
  // Forgets the differences still due: the index is closed, reopened or made anew.
  void DropDueChanges();
  // Reads the added and changed records whole and writes the differences into the index, with the
  // in-change byte set and the progress shown as "Update indexes"; false, with the reason reported
  // and the progress closed, when a record can't be read or the index met damage.
  BOOL WriteFoundChanges(const FoundDifferences& found);
  // Waits for the copies of a deferred open; false, with the drop reported, when they failed or the
  // index header names structures past the file's end.
  BOOL WaitForIndexCopy();
  // Whether a failed read met the end of the table: the platform's "no more items", or the stepping
  // layer's end of file.
  static BOOL IsEndOfTable(DWORD error) { return error == ERROR_NO_MORE_ITEMS || error == ERROR_HANDLE_EOF; }
  // Marks both index files for a rebuild at the next start of a master.
  void SetResetMarks();
  BOOL HasResetMark() const;
  // Stamps the props store with the database's last modification time.
  void StampIndex();
  // Restarts the 2000 ms save timer.
  void StartCommit();
  void TellSlavesToReload();
  void TellSlavesToStop();
  // Reads the current record whole and steps on; computes its checksum and takes its Note's text
  // (with the extended block read from the Note into the contact).
  BOOL ReadForIndex(Contact& contact, Str& noteText);
  // The same for record `oid`.
  BOOL LoadForIndex(CEOID oid, Contact& contact, Str& noteText);
  // Applies one queued change; false only when an add or update of the index failed.
  BOOL ApplyChange(const PendingChange& change);
  // "Unable perform db operation!!!" and the private exception: the index can no longer follow.
  [[noreturn]] void FailDbOperation(int line);
  // Progress of a long pass over `total` items: the bar's steps are spread over them. The bar's range
  // is its own steps, or with `rangeOfItems` the items.
  void BeginProgress(int total, BOOL rangeOfItems, const wchar_t* text);
  void AdvanceProgress(int done);
  void EndProgress();
  // Progress of the keypad tree's rebuild, told to the listener in 18 steps.
  void AdvanceKeypadProgress(int done);
  // Reads every record of the database into `builder` (the first `limit` of them when not negative),
  // calling `onRead` with the count so far after each. False on a read failure other than the end of
  // the table.
  BOOL FeedAllRecords(BulkBuilder& builder, void (ContactManager::*onRead)(int), int limit = -1);

  // --- search parts (ContactSearch*.cpp) ----------------------------------------------------------------
  // The ids of the contacts that have, for every word of the query, a word beginning with it.
  BOOL TextMatch(const Str& query, Array<CEOID>& ids);
  // The ids under the keypad key sequence `query`.
  BOOL KeypadMatch(const Str& query, Array<CEOID>& ids);
  // The ids of the records that pass the filter.
  BOOL AllowedSet(const CategoryFilter& filter, Array<CEOID>& allowed);
  // The sorted list `sortKind` restricted to `match` (all of it for an empty query) and to the filter.
  BOOL PlainOrder(BOOL emptyQuery, const Array<CEOID>& match, int sortKind, const CategoryFilter& filter,
                  Array<CEOID>& out);
  // The match of a query in the order of sorted list `sortKind`, restricted to the filter, through
  // the list positions; false with `handled` false when the positions can't serve. `at`, when given,
  // receives the name-list position of each contact of `out` for the ranking.
  BOOL OrderedMatch(const Str& query, BOOL keypad, int sortKind, const CategoryFilter& filter,
                    Array<CEOID>& out, BOOL& handled, Array<int32_t>* at = nullptr);
  // Drops the SIM contacts when HideSim is on and a SIM source is attached.
  void HideSimStage(Array<CEOID>& ids);
  // The digits of every phone of record `oid`, its eleven phone properties first, then the extended
  // phones from the props store.
  BOOL ReadPhoneDigits(CEOID oid, Array<Str>& digits);
  // Adds the contacts of `all` one of whose phones contains the digits `query` to `out`, in the order
  // of `all`; false on cancel.
  BOOL WidenByPhone(const Str& query, int sortKind, const CategoryFilter& filter, Array<CEOID>& out,
                    SearchCancel* cancel);
  // Moves the contacts whose last name, first name or company has a word beginning with the query to
  // the front; false on cancel. `at`: the positions OrderedMatch gave for `out`, or null.
  BOOL ReorderByName(const Str& query, BOOL keypad, Array<CEOID>& out, SearchCancel* cancel,
                     const Array<int32_t>* at = nullptr);
  BOOL RunGroupedSearch(const Str& query, BOOL keypad, const CategoryFilter& filter, Array<uint32_t>& flat,
                        Array<Str>& titles, SearchCancel* cancel);
  // The category mask of the filter's categories; all zeros (one byte) when none of them is known.
  BOOL FilterMask(const CategoryFilter& filter, ByteBuffer& mask);
  // Whether the search is to be given up; sets ERROR_CANCELLED when it is.
  static BOOL IsCancelled(SearchCancel* cancel);
  // Whether `text` is not empty and all its characters are decimal digits.
  static BOOL IsAllDigits(const Str& text);
  // The characters 0 to 9 of `text`, in order.
  static Str DigitsOf(const wchar_t* text);
  // The ids of `list` that stand in the ascending `set`, in the order of `list`.
  static void KeepListed(const Array<CEOID>& list, const Array<CEOID>& set, Array<CEOID>& out);

  ContactIndex index;
  DatabaseKeySource keySource;
  IndexProgressSink* progress;
  HINSTANCE instance;
  BOOL rebuilding;
  ContactNote note;
  ContactManagerListener* listener;
  DbEventsListener eventsWindow;
  DbMsgStack pendingWindow;
  IdleWorkWindow idleWindow;
  PimSync* sync;
  BOOL opened;
  BOOL simSourceAttached;
  IndexOpenReport openReport;
  BOOL overCapacity;
  int indexHolds;
  // A read met damage: the master rebuilds in its next idle slice.
  BOOL repairDue;
  // Differences the start's inspection found, not yet applied; none when all is applied.
  FoundDifferences due;
  NameKeyCache nameKeys;
  ListPositions positions;
  PositionSearch aids;
  BOOL searchAids;
  // The user's data folder, where the photos are: read at the open and again by every write, so that
  // the reads of many contacts (a list's rows) don't each read the setting and look at the folder.
  Str dataFolder;
  // Progress of the pass in hand.
  double progressPer;
  int progressDone;
  double keypadPer;
  int keypadReported;
  int keypadStep;

 private:
  // After a write and SavePhoto: writes the record again when the photo's file name differs from the
  // one `merged` into its Note; `text` gets the Note's text anew.
  BOOL NameSavedPhoto(Contact& contact, const Str& merged, Str& text);
  // What an add (`added`) and an update share once the record is written: the photo's file under its
  // name, the checksum, the index (a contact it has no room for stays readable), the commit and the
  // slaves' reload. `text` is the Note's text, made anew when the record is written again.
  BOOL IndexWrittenContact(Contact& contact, Str& text, BOOL added);
  ContactManager(const ContactManager&);
  ContactManager& operator=(const ContactManager&);
};

extern ContactManager* g_contactManager;
