#include "manager/core/ContactManager.h"

#include "foundation/DataFolder.h"

#include "foundation/DebugUtils.h"
#include "foundation/Diagnostics.h"
#include "foundation/Settings.h"
#include "manager/letters/KeypadGroups.h"
#include "foundation/ShellSort.h"
#include "manager/core/IndexFileVerdict.h"
#include "storage/mapped/MappedFile.h"
#include "sync/PimSync.h"

#include <new>

ContactManager* g_contactManager = nullptr;

ContactManager::ContactManager()
    : keySource(this), progress(nullptr), instance(nullptr), rebuilding(FALSE), listener(nullptr),
      sync(nullptr), opened(FALSE), simSourceAttached(FALSE), overCapacity(FALSE), indexHolds(0),
      repairDue(FALSE), aids(positions, nameKeys), searchAids(TRUE), progressPer(0), progressDone(0),
      keypadPer(0), keypadReported(0), keypadStep(1) {
  index.SetKeySource(&keySource);
}

ContactManager::~ContactManager() { Close(); }

ContactManager* ContactManager::GetInstance() {
  if (!g_contactManager) g_contactManager = CheckAllocation(new (std::nothrow) ContactManager());
  return g_contactManager;
}

void ContactManager::DestroyInstance() {
  delete g_contactManager;
  g_contactManager = nullptr;
}

// --- lifecycle -----------------------------------------------------------------------------------------

BOOL ContactManager::Open(HINSTANCE moduleInstance, ContactManagerListener* newListener, PimSync* coordinator,
                          IndexProgressSink* sink) {
  Close();
  openReport.Clear();
  instance = moduleInstance;
  progress = sink;
  sync = coordinator;
  listener = newListener;
  RebuildKeypadGroups();
  dataFolder = GetDataFolder();

  if (!eventsWindow.Create(instance, this)) return FALSE;
  if (!ContactDatabase::Open(eventsWindow.GetNotifyRequest())) {
    DWORD error = GetLastError();
    eventsWindow.Destroy();
    SetLastError(error);
    return FALSE;
  }
  // The other two windows hang below the events window: a child window is much cheaper to make than
  // a top-level one, and they need nothing of their own but their timers.
  if (!pendingWindow.Create(instance, this, eventsWindow.GetHwnd()) ||
      !idleWindow.Create(instance, this, eventsWindow.GetHwnd())) {
    DWORD error = GetLastError();
    ContactDatabase::Close();
    pendingWindow.Destroy();
    eventsWindow.Destroy();
    SetLastError(error);
    return FALSE;
  }
  opened = TRUE;

  int state = OpenIndex();
  if (state != IndexUnusable && sync && sync->IsMaster() && HasResetMark()) {
    index.CloseStores();
    ReportDropped(Str(L"the index files are marked for a rebuild"), L"Open", __LINE__);
    state = IndexUnusable;
  }
  openReport.state = state;
  const BOOL inStep = BringInStep(state);
  // The timer's start keeps the error of a failed open for the caller.
  const DWORD error = GetLastError();
  StartIdleWork();
  SetLastError(error);
  return inStep;
}

BOOL ContactManager::BringInStep(int state) {
  const BOOL writer = MayWrite();
  if (state == IndexInStep) {
    // Room that deletions made meanwhile is taken up at once.
    return overCapacity && writer ? UseFreedRoom() : TRUE;
  }
  if (state == IndexStale) {
    // The inspection reads what it compares from the files themselves; the copies begin after it
    // (StartIdleWork), so that they don't compete with its pass over the table.
    return writer ? Inspect() : TRUE;
  }
  if (!writer) return FALSE;
  openReport.rebuilt = TRUE;
  return FullRebuild();
}

void ContactManager::Close() {
  // Differences the start found and no one has needed yet are applied, and saved below with the rest.
  ApplyDueChanges();
  if (eventsWindow.IsSaveTimerRunning()) {
    // A save was still due: start it now; closing the stores waits for it.
    eventsWindow.StopSaveTimer();
    index.Save(TRUE);
  }
  pendingWindow.StopTimer();
  pendingWindow.Clear();
  index.CloseStores();
  positions.Clear();
  nameKeys.Clear();
  ContactDatabase::Close();
  // The children first; the events window would take them with it all the same.
  idleWindow.Destroy();
  pendingWindow.Destroy();
  eventsWindow.Destroy();
  opened = FALSE;
}

BOOL ContactManager::CloseIndex() {
  ApplyDueChanges();
  if (eventsWindow.IsSaveTimerRunning()) {
    // Changes not yet written back: the process that opens the files next, perhaps from the disk,
    // finds them there. Closing the stores waits for the save.
    eventsWindow.StopSaveTimer();
    index.Save(TRUE);
  }
  index.CloseStores();
  // What another process wrote since is unknown: the names are read again.
  positions.Clear();
  nameKeys.Clear();
  return TRUE;
}

BOOL ContactManager::ReloadIndex() {
  CloseIndex();
  const BOOL reopened = OpenIndex() != IndexUnusable;
  const DWORD error = GetLastError();
  StartIdleWork();
  SetLastError(error);
  return reopened;
}

BOOL ContactManager::TakeOverIndex() {
  CloseIndex();
  openReport.Clear();
  openReport.state = OpenIndex();
  // What the inspection found goes in at once: the leaving master tells the slaves to reload as soon
  // as this returns, and they are to find the index in step then, not while it is still being copied
  // in and written.
  const BOOL inStep = BringInStep(openReport.state) && ApplyDueChanges();
  const DWORD error = GetLastError();
  StartIdleWork();
  SetLastError(error);
  return inStep;
}

int ContactManager::OpenIndex() {
  // Said once while it lasts, not at every reload.
  const BOOL wasOverCapacity = overCapacity;
  overCapacity = FALSE;
  indexHolds = 0;
  repairDue = FALSE;
  DropDueChanges();
  // The props store refuses a file whose in-change byte is set, so a write that was cut off leaves
  // the index unusable and the master rebuilds it. The headers, the structures they name and the two
  // files' counts are judged here from what the open read of the files; they are copied in behind
  // it once the start is through (StartIdleWork); the first search or write waits for the copy, and
  // the walk over both files (a contact listed twice among it) follows in idle time, or before the
  // first write.
  if (!index.OpenStores(TRUE)) {
    ReportDropped(DescribeUnusableIndex(index.IndexPath(), index.PropsPath(), GetLastError()), L"OpenIndex",
                  __LINE__);
    return IndexUnusable;
  }
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  ContactIndex::Heads heads;
  if (!index.ReadHeads(heads)) {
    Str why;
    why.Format(L"%s names structures past its end, or %s or %s couldn't be copied whole",
               BareFileName(index.IndexPath()), BareFileName(index.IndexPath()),
               BareFileName(index.PropsPath()));
    index.CloseStores();
    ReportDropped(why, L"OpenIndex", __LINE__);
    return IndexUnusable;
  }
  // Both files describe one database: the index file's contacts are the props store's records, one
  // each. Files of two different databases, or of two different times, never pass as in step.
  const uint32_t records = heads.records;
  const int contacts = static_cast<int>(heads.contacts);
  if (contacts < 0 || static_cast<uint32_t>(contacts) != records) {
    Str why;
    why.Format(L"%s names %d contacts and %s holds %u records: the files don't belong together",
               BareFileName(index.IndexPath()), contacts, BareFileName(index.PropsPath()), records);
    index.CloseStores();
    ReportDropped(why, L"OpenIndex", __LINE__);
    return IndexUnusable;
  }
  // The stamp is the database's time at the last change the index took in. With the same time, an
  // index holding fewer contacts than the database is one that had no room for the others.
  const FILETIME stamp = heads.stamp;
  const BOOL sameTime =
      stamp.dwLowDateTime == time.dwLowDateTime && stamp.dwHighDateTime == time.dwHighDateTime;
  if (!sameTime || records > count) return IndexStale;
  // Fewer contacts than the database at the same time: the index had no room for the others, if it
  // has filled a good part of its mapping; otherwise a change it never took in.
  if (records < count && heads.indexLength < MappedFile::kMaxLength / 2) return IndexStale;
  if (records < count) {
    overCapacity = TRUE;
    indexHolds = contacts;
    openReport.overCapacity = TRUE;
    openReport.held = contacts;
    if (!wasOverCapacity) LogError(CapacityNote(), L"ContactManager", L"OpenIndex", __LINE__);
  }
  return IndexInStep;
}

// --- helpers -----------------------------------------------------------------------------------------------

BOOL ContactManager::ListIndexedIds(Array<CEOID>& sorted) {
  sorted.RemoveAll();
  // The comparison reads the name list, the contact map and the checksums from the files while the
  // copies still run; whoever writes waits for them afterwards (WaitForIndexCopy). The walk over both
  // files stays in idle time.
  if (!index.FetchForCompare()) {
    ReportFilesApart(Str(L"the name list, the contact map or the records couldn't be read, or the header "
                         L"names structures past the file's end"),
                     L"ListIndexedIds", __LINE__);
    return FALSE;
  }
  if (!index.ListNamesForCompare(sorted)) return FALSE;
  SortIds(sorted);
  for (int i = 1; i < sorted.GetSize(); ++i) {
    if (sorted[i] == sorted[i - 1]) return FALSE;
  }
  return TRUE;
}

BOOL ContactManager::WaitForIndexCopy() {
  // Damage is as good as a duplicate: the writes that follow need the files whole.
  if (index.EnsureLoaded()) return TRUE;
  ReportFilesApart(Str(L"load: a file couldn't be copied whole, or its header names structures past its end"),
                   L"WaitForIndexCopy", __LINE__);
  return FALSE;
}

BOOL ContactManager::MayWrite() const { return !sync || sync->IsMaster(); }

BOOL ContactManager::BeginWrite() {
  if (!MayWrite()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  index.CancelSave();
  if (!EnsureIndexSound()) return FALSE;
  // The change makes names to read again for the ranking's cache.
  StartIdleWork();
  return TRUE;
}

void ContactManager::ReportDamage(const wchar_t* function, int line) {
  // The first finding says why; the files are rebuilt together whichever of them it concerns.
  const Str& report = index.WalkReport();
  const int end = report.FindOneOf(L"\r\n");
  ReportFilesApart(end >= 0 ? report.Left(end) : report, function, line);
}

void ContactManager::ReportFilesApart(const Str& finding, const wchar_t* function, int line) {
  Str why;
  why.Format(L"%s and %s don't hold together: ", BareFileName(index.IndexPath()),
             BareFileName(index.PropsPath()));
  why += finding;
  ReportDropped(why, function, line);
}

void ContactManager::ReportDropped(const Str& why, const wchar_t* function, int line) {
  const DWORD error = GetLastError();
  openReport.reason = why;
  Str message = MayWrite() ? L"the index is dropped and rebuilt: " : L"the index can't be used: ";
  message += why;
  LogError(message, L"ContactManager", function, line);
  SetLastError(error);
}

BOOL ContactManager::NoteRead(BOOL ok) {
  if (ok || GetLastError() != ERROR_INVALID_DATA || repairDue) return ok;
  // A read met a structure that doesn't hold together: the same as damage the walk finds.
  ReportDropped(Str(L"a read of the index met a structure that doesn't hold together"), L"NoteRead",
                __LINE__);
  openReport.damageFound = TRUE;
  if (MayWrite()) {
    repairDue = TRUE;
    StartIdleWork();
  }
  SetLastError(ERROR_INVALID_DATA);
  return ok;
}

BOOL ContactManager::EnsureIndexSound() {
  if (!index.WalkForWrites()) return RepairDamagedIndex();
  return ApplyDueChanges();
}

BOOL ContactManager::RepairDamagedIndex() {
  openReport.damageFound = TRUE;
  if (!repairDue) ReportDamage(L"RepairDamagedIndex", __LINE__);
  repairDue = FALSE;
  // A slave only reads: the master rebuilds and tells it to reload.
  if (!MayWrite()) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  openReport.rebuilt = TRUE;
  const BOOL rebuilt = FullRebuild();
  if (listener) listener->OnReloaded();
  return rebuilt;
}

void ContactManager::StartIdleWork() {
  if (!idleWindow.IsTimerRunning()) idleWindow.StartTimer(kIdleTickMs);
  // The copies of a deferred open go on in the background from here: the start has judged the files
  // by their heads.
  index.StartLoading();
}

void ContactManager::OnIdleTimer() {
  if (repairDue) {
    RepairDamagedIndex();
    return;
  }
  // The differences the start found, in a slice of their own.
  if (AreChangesDue()) {
    ApplyDueChanges();
    return;
  }
  if (index.IsWalkDue()) {
    // One slice per tick; nothing at all while a copy still runs.
    if (!index.Walk(kIdleSliceMs, FALSE)) return;
    if (index.WalkFoundDamage()) RepairDamagedIndex();
    return;
  }
  // Slices of the name cache's fill until a whole round of the list has gone by; names that can't be
  // read then would not be read on another round either.
  if (searchAids && index.IsOpen() && !index.IsDamaged() && aids.Sync(index.Store()) &&
      !aids.Fill(*this, kIdleSliceMs))
    return;
  idleWindow.StopTimer();
}

void ContactManager::SetResetMarks() {
  SetDirtyMark(index.IndexPath());
  SetDirtyMark(index.PropsPath());
}

BOOL ContactManager::HasResetMark() const {
  return IsDirtyMark(index.IndexPath()) || IsDirtyMark(index.PropsPath());
}

void ContactManager::StampIndex() {
  FILETIME time;
  DWORD count = 0;
  if (GetCountAndTime(time, count) && index.Props().IsOpen()) index.Props().SetDbState(time);
}

void ContactManager::BeginIndexChange() {
  if (index.IsOpen() && index.Props().IsOpen()) index.Props().SetInChange(1);
}

void ContactManager::EndIndexChange(BOOL stamp) {
  const DWORD error = GetLastError();
  if (index.IsOpen() && index.Props().IsOpen()) {
    // Changes of other programs gathered but not yet applied keep the stamp where it was: should the
    // process end before their timer runs out, the next start inspects and finds them.
    if (stamp && !rebuilding && pendingWindow.Count() == 0) StampIndex();
    index.Props().SetInChange(0);
  }
  SetLastError(error);
}

Str ContactManager::CapacityNote() const {
  FILETIME time;
  DWORD count = 0;
  const_cast<ContactManager*>(this)->GetCountAndTime(time, count);
  Str note;
  note.Format(
      L"the address book holds %u contacts, more than the index has room for: it holds %d of them; the "
      L"others can be read but no search finds them",
      static_cast<unsigned>(count), indexHolds);
  return note;
}

void ContactManager::NoteOverCapacity() {
  const DWORD error = GetLastError();
  indexHolds = index.ContactCount();
  if (!overCapacity) {
    overCapacity = TRUE;
    LogError(CapacityNote(), L"ContactManager", L"NoteOverCapacity", __LINE__);
  }
  openReport.overCapacity = TRUE;
  openReport.held = indexHolds;
  SetLastError(error);
}

void ContactManager::NoteCapacityRestored() {
  openReport.overCapacity = FALSE;
  openReport.held = indexHolds;
  Str note;
  note.Format(L"the index has room for every contact again: it holds all %d", indexHolds);
  LogError(note, L"ContactManager", L"NoteCapacityRestored", __LINE__);
}

BOOL ContactManager::UseFreedRoom() {
  if (!index.IsOpen() || !EnsureIndexSound()) return FALSE;
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  const int held = index.ContactCount();
  if (held <= 0 || static_cast<int>(count) <= held) return TakeInUnindexed();
  // What a contact takes in the index now, and what is left: the free blocks and the rest of the
  // mapping.
  IndexStore& store = index.Store();
  const uint64_t length = store.Length();
  const uint64_t free = store.Arena().FreeBytes();
  const uint64_t used = length > free ? length - free : 0;
  const uint64_t perContact = used / static_cast<uint64_t>(held);
  const uint64_t room = (MappedFile::kMaxLength > length ? MappedFile::kMaxLength - length : 0) + free;
  const uint64_t missing = count - static_cast<uint64_t>(held);
  if (room >= missing * perContact + used / 32) {
    const BOOL rebuilt = FullRebuild();
    if (listener) listener->OnReloaded();
    if (rebuilt && !overCapacity) NoteCapacityRestored();
    return rebuilt;
  }
  return room >= 2 * perContact ? TakeInUnindexed() : TRUE;
}

BOOL ContactManager::TakeInUnindexed() {
  if (!index.IsOpen() || !EnsureIndexSound()) return FALSE;
  Array<CEOID> indexed;
  if (!index.ListAll(SortByName, indexed)) return NoteRead(FALSE);
  SortIds(indexed);
  Array<CEOID> all;
  ListFilter everyone;
  if (!EnumerateOids(everyone, all)) return FALSE;
  index.CancelSave();
  BeginIndexChange();
  BOOL full = FALSE;
  BOOL ok = TRUE;
  int taken = 0;
  for (int i = 0; i < all.GetSize() && !full && ok; ++i) {
    if (ContainsId(indexed, all[i])) continue;
    Contact contact;
    Str text;
    // A record gone meanwhile has its own event to come.
    if (!LoadForIndex(all[i], contact, text)) continue;
    if (index.AddContact(contact, text)) {
      nameKeys.Forget(contact.oid);
      ++taken;
    } else if (GetLastError() == kMappingFullError) {
      full = TRUE;
    } else {
      ok = FALSE;
    }
  }
  EndIndexChange(ok);
  indexHolds = index.ContactCount();
  openReport.held = indexHolds;
  if (ok && !full) {
    overCapacity = FALSE;
    NoteCapacityRestored();
  }
  if (taken > 0) {
    StartCommit();
    TellSlavesToReload();
    if (listener) listener->OnReloaded();
  }
  return ok;
}

void ContactManager::StartCommit() { eventsWindow.StartSaveTimer(kCommitMs); }

void ContactManager::TellSlavesToReload() {
  if (sync) sync->SlaveReload();
}

void ContactManager::TellSlavesToStop() {
  if (sync) sync->SlaveStop();
}

void ContactManager::FailDbOperation(int line) {
  LogError(L"Unable perform db operation!!!", L"ContactManager", L"", line);
  RaiseException(EXCEPTION_UNRECOVERABLE_DB_ERROR, kPrivateExceptionFlags, 0, nullptr);
  // Not continuable; should a handler resume anyway, the process ends here.
  TerminateProcess(GetCurrentProcess(), EXCEPTION_UNRECOVERABLE_DB_ERROR);
  for (;;) {
  }
}

void ContactManager::BeginProgress(int total, BOOL rangeOfItems, const wchar_t* text) {
  progressDone = 0;
  progressPer = 0;
  if (!progress) return;
  const int steps = progress->GetStepCount();
  progressPer = steps > 0 ? static_cast<double>(total) / steps : 0;
  progress->SetRange(1, (rangeOfItems ? total : steps) + 1);
  progress->SetStep(1);
  progress->SetText(text);
  progress->Show();
}

void ContactManager::AdvanceProgress(int done) {
  if (!progress || progressPer <= 0) return;
  const int target = static_cast<int>(done / progressPer);
  while (progressDone < target) {
    progress->Step();
    ++progressDone;
  }
}

void ContactManager::EndProgress() {
  if (progress) progress->Close();
}

BOOL ContactManager::IsSimContact(CEOID) {
  // LATER(SIM contacts): no SIM source is attached, so no contact counts as one; returns false.
  return FALSE;
}

void ContactManager::OnSaveTimer() {
  // Both files, the index first; each starts its own write-back.
  if (index.IsOpen()) index.Store().Save(TRUE);
  if (index.Props().IsOpen()) index.Props().Save(TRUE);
}
