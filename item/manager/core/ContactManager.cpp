#include "manager/core/ContactManager.h"

#include "foundation/DebugUtils.h"
#include "foundation/Diagnostics.h"
#include "foundation/Settings.h"
#include "manager/letters/KeypadGroups.h"
#include "foundation/ShellSort.h"
#include "sync/PimSync.h"

#include <new>

ContactManager* g_contactManager = nullptr;

ContactManager::ContactManager()
    : keySource(this), progress(nullptr), instance(nullptr), rebuilding(FALSE), listener(nullptr),
      sync(nullptr), opened(FALSE), simSourceAttached(FALSE), aids(positions, nameKeys), searchAids(TRUE),
      progressPer(0), progressDone(0), keypadPer(0), keypadReported(0), keypadStep(1) {
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

  if (!eventsWindow.Create(instance, this)) return FALSE;
  if (!ContactDatabase::Open(eventsWindow.GetNotifyRequest())) {
    DWORD error = GetLastError();
    eventsWindow.Destroy();
    SetLastError(error);
    return FALSE;
  }
  if (!pendingWindow.Create(instance, this) || !idleWindow.Create(instance, this)) {
    DWORD error = GetLastError();
    ContactDatabase::Close();
    eventsWindow.Destroy();
    pendingWindow.Destroy();
    SetLastError(error);
    return FALSE;
  }
  opened = TRUE;

  int state = OpenIndex();
  if (state != IndexUnusable && sync && sync->IsMaster() && HasResetMark()) {
    index.CloseStores();
    state = IndexUnusable;
  }
  openReport.state = state;
  const BOOL inStep = BringInStep(state);
  StartIdleWork();
  return inStep;
}

BOOL ContactManager::BringInStep(int state) {
  if (state == IndexInStep) return TRUE;
  const BOOL writer = MayWrite();
  if (state == IndexStale) return writer ? Inspect() : TRUE;
  if (!writer) return FALSE;
  openReport.rebuilt = TRUE;
  return FullRebuild();
}

void ContactManager::Close() {
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
  eventsWindow.Destroy();
  pendingWindow.Destroy();
  idleWindow.Destroy();
  opened = FALSE;
}

BOOL ContactManager::CloseIndex() {
  index.CloseStores();
  // What another process wrote since is unknown: the names are read again.
  positions.Clear();
  nameKeys.Clear();
  return TRUE;
}

BOOL ContactManager::ReloadIndex() {
  CloseIndex();
  const BOOL reopened = OpenIndex() != IndexUnusable;
  StartIdleWork();
  return reopened;
}

BOOL ContactManager::TakeOverIndex() {
  CloseIndex();
  openReport.Clear();
  openReport.state = OpenIndex();
  const BOOL inStep = BringInStep(openReport.state);
  StartIdleWork();
  return inStep;
}

int ContactManager::OpenIndex() {
  // The props store refuses a file whose in-change byte is set, so a write that was cut off leaves
  // the index unusable and the master rebuilds it. Only the headers are judged here: the walk over
  // both files (a contact listed twice among it) follows in idle time, or before the first write.
  if (!index.OpenStores(TRUE)) return IndexUnusable;
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  return index.Props().IsNeedInspect(time, count, FALSE) ? IndexStale : IndexInStep;
}

// --- helpers -----------------------------------------------------------------------------------------------

BOOL ContactManager::ListIndexedIds(Array<CEOID>& sorted) {
  sorted.RemoveAll();
  // Whoever lists the ids goes on to write: the walk's part for writes comes first, and damage is as
  // good as a duplicate.
  if (!index.WalkForWrites()) {
    ReportDamage(L"ListIndexedIds", __LINE__);
    return FALSE;
  }
  if (!index.ListAll(SortByName, sorted)) return FALSE;
  SortIds(sorted);
  for (int i = 1; i < sorted.GetSize(); ++i) {
    if (sorted[i] == sorted[i - 1]) return FALSE;
  }
  return TRUE;
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
  Str message = L"the index files are damaged: ";
  message += index.WalkReport();
  LogError(message, L"ContactManager", function, line);
}

BOOL ContactManager::EnsureIndexSound() {
  if (index.WalkForWrites()) return TRUE;
  return RepairDamagedIndex();
}

BOOL ContactManager::RepairDamagedIndex() {
  openReport.damageFound = TRUE;
  ReportDamage(L"RepairDamagedIndex", __LINE__);
  // A slave only reads: the master rebuilds and tells it to reload.
  if (!MayWrite()) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  TellSlavesToStop();
  openReport.rebuilt = TRUE;
  const BOOL rebuilt = FullRebuild();
  if (listener) listener->OnReloaded();
  return rebuilt;
}

void ContactManager::StartIdleWork() {
  if (!idleWindow.IsTimerRunning()) idleWindow.StartTimer(kIdleTickMs);
}

void ContactManager::OnIdleTimer() {
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
