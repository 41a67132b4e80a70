// The walk over both index files that a deferred open leaves for later, in slices of idle time. Each
// part runs whole but the index file's own walk, which goes in steps of a few hundred nodes or entries
// and begins anew whenever the index file changed in between.
#include "storage/index/ContactIndex.h"

#include "foundation/DebugUtils.h"
#include "foundation/ShellSort.h"
#include "storage/index/IndexStoreWalk.h"

#include <new>

namespace {

// Nodes or entries of the index file's walk between two looks at the clock.
const int kIndexWalkUnits = 512;

}  // namespace

void ContactIndex::ClearWalk() {
  delete indexWalk;
  indexWalk = nullptr;
  walkPhase = WalkNone;
  walkReport.Empty();
  walkDamage = FALSE;
}

void ContactIndex::WalkFinding(const wchar_t* line) { AddReportLine(walkReport, line); }

BOOL ContactIndex::Walk(DWORD budgetMs, BOOL waitForCopy) {
  if (!IsWalkDue()) return TRUE;
  if (!waitForCopy && IsLoading()) return FALSE;
  ++walkSlices;
  const DWORD started = GetTickCount();
  while (walkPhase != WalkEnded) {
    if (!WalkPart(started, budgetMs)) return FALSE;
    if (!walkReport.IsEmpty()) {
      // The first part that finds something ends the walk: the index is damaged either way.
      delete indexWalk;
      indexWalk = nullptr;
      walkPhase = WalkEnded;
      walkDamage = TRUE;
      break;
    }
    if (budgetMs != 0 && walkPhase != WalkEnded && GetTickCount() - started >= budgetMs) return FALSE;
  }
  ++walksEnded;
  return TRUE;
}

BOOL ContactIndex::WalkForWrites() {
  if (!IsWalkDue() || IsWalkedForWrites()) return !walkDamage;
  ++walkSlices;
  while (walkPhase < WalkIndexFile) {
    WalkPart(GetTickCount(), 0);
    if (!walkReport.IsEmpty()) {
      walkPhase = WalkEnded;
      walkDamage = TRUE;
      ++walksEnded;
      return FALSE;
    }
  }
  return TRUE;
}

BOOL ContactIndex::WalkPart(DWORD started, DWORD budgetMs) {
  switch (walkPhase) {
    case WalkLoad:
      if (!EnsureLoaded()) {
        WalkFinding(L"load: a file couldn't be copied whole, or its header names structures past its end");
        return TRUE;
      }
      walkPhase = WalkArena;
      return TRUE;
    case WalkArena:
      if (!store.VerifyArena())
        WalkFinding(L"arena: the index file's blocks or free ring don't hold together");
      walkPhase = WalkProps;
      return TRUE;
    case WalkProps: {
      Array<uint32_t> oids, records;
      contacts.List(oids, records);
      props.Check(walkReport, records);
      walkPhase = WalkDuplicates;
      return TRUE;
    }
    case WalkDuplicates: {
      Array<CEOID> ids;
      if (!ListAll(SortByName, ids)) {
        WalkFinding(L"name list: it can't be read");
        return TRUE;
      }
      SortIds(ids);
      for (int k = 1; k < ids.GetSize(); ++k) {
        if (ids[k] != ids[k - 1]) continue;
        Str line;
        line.Format(L"name list: contact %u stands in it twice", static_cast<uint32_t>(ids[k]));
        WalkFinding(line);
        break;
      }
      walkPhase = WalkIndexFile;
      return TRUE;
    }
    case WalkIndexFile:
      // A write since the walk began makes what it gathered stale.
      if (indexWalk != nullptr && indexWalkChanges != store.ChangeCount()) {
        delete indexWalk;
        indexWalk = nullptr;
      }
      if (indexWalk == nullptr) {
        indexWalk = CheckAllocation(new (std::nothrow) IndexStoreWalk(store, walkReport));
        indexWalkChanges = store.ChangeCount();
      }
      while (!indexWalk->Step(kIndexWalkUnits)) {
        if (budgetMs != 0 && GetTickCount() - started >= budgetMs) return FALSE;
      }
      delete indexWalk;
      indexWalk = nullptr;
      walkPhase = WalkContactTree;
      return TRUE;
    case WalkContactTree: {
      contacts.Check(walkReport);
      // The tree holds exactly the contact map.
      Array<uint32_t> oids, records;
      contacts.List(oids, records);
      const uint32_t map = store.HeaderWord(kContactMapSlot);
      uint32_t count = 0;
      if (map != 0 && !store.CountedAt(map, sizeof(ContactMapEntry), &count)) {
        WalkFinding(L"contact map: it passes the end of the index file");
      } else if (count != static_cast<uint32_t>(oids.GetSize())) {
        Str line;
        line.Format(L"contact tree: %d contacts, the contact map %u", oids.GetSize(), count);
        WalkFinding(line);
      }
      walkPhase = WalkEnded;
      return TRUE;
    }
    default:
      walkPhase = WalkEnded;
      return TRUE;
  }
}
