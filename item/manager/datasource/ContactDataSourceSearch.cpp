// The data source's searches: running the remembered one again, the two kinds a caller starts, the
// keep list, and turning what the manager gives into groups.
#include "manager/datasource/ContactDataSource.h"

#include "manager/core/ContactManager.h"
#include "foundation/ShellSort.h"

BOOL ContactDataSource::Refresh() {
  if (!opened) return TRUE;
  const Str& query = searchKind == SearchKindKeypad ? keypadQuery : textQuery;
  if (RunSearch(searchKind, query, sortKind, filter, nullptr)) return TRUE;
  DWORD error = GetLastError();
  ClearAll();
  SetLastError(error);
  return FALSE;
}

BOOL ContactDataSource::SearchText(const Str& query, int searchSort, const CategoryFilter& searchFilter,
                                   const Array<CEOID>& keep, BOOL useKeep, SearchCancel* cancel) {
  return Search(SearchKindText, query, searchSort, searchFilter, keep, useKeep, cancel);
}

BOOL ContactDataSource::SearchKeypad(const Str& query, int searchSort, const CategoryFilter& searchFilter,
                                     const Array<CEOID>& keep, BOOL useKeep) {
  return Search(SearchKindKeypad, query, searchSort, searchFilter, keep, useKeep, nullptr);
}

BOOL ContactDataSource::Search(int kind, const Str& query, int searchSort, const CategoryFilter& searchFilter,
                               const Array<CEOID>& keep, BOOL useKeep, SearchCancel* cancel) {
  if (useKeep && searchSort != SortKindGrouped) {
    // The caller knows the rows already: they stand as they are, nothing is asked.
    SetSingleGroup(keep);
  } else if (RunSearch(kind, query, searchSort, searchFilter, cancel)) {
    // Only the text search narrows a grouped result to the keep list; the keypad search shows every
    // group it found. The two differ on purpose.
    if (useKeep && kind == SearchKindText) CutToKeep(keep);
  } else {
    DWORD error = GetLastError();
    ClearAll();
    SetLastError(error);
    return FALSE;
  }
  searchKind = kind;
  sortKind = searchSort;
  if (kind == SearchKindKeypad)
    keypadQuery = query;
  else
    textQuery = query;
  filter = searchFilter;
  return TRUE;
}

BOOL ContactDataSource::RunSearch(int kind, const Str& query, int searchSort,
                                  const CategoryFilter& searchFilter, SearchCancel* cancel) {
  if (!manager) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  if (searchSort != SortKindGrouped) {
    Array<CEOID> ids;
    const BOOL found = kind == SearchKindKeypad
                           ? manager->KeypadSearch(query, searchSort, searchFilter, ids)
                           : manager->Search(query, searchSort, searchFilter, ids, cancel);
    if (!found) return FALSE;
    SetSingleGroup(ids);
    return TRUE;
  }
  Array<uint32_t> flat;
  Array<Str> groupTitles;
  const BOOL found = kind == SearchKindKeypad
                         ? manager->GroupedKeypadSearch(query, searchFilter, flat, groupTitles)
                         : manager->GroupedSearch(query, searchFilter, flat, groupTitles, cancel);
  if (!found) return FALSE;
  SetGroups(flat, groupTitles);
  return TRUE;
}

void ContactDataSource::SetSingleGroup(const Array<CEOID>& ids) {
  groups.SetSize(1);
  groups[0] = ids;
  titles.SetSize(1);
  titles[0] = Str();
  CountRows();
}

void ContactDataSource::SetGroups(const Array<uint32_t>& flat, const Array<Str>& groupTitles) {
  groups.RemoveAll();
  titles.RemoveAll();
  int at = 0;
  while (at < flat.GetSize()) {
    int size = static_cast<int>(flat[at++]);
    // A size that runs past the end takes what is there.
    if (size < 0 || size > flat.GetSize() - at) size = flat.GetSize() - at;
    const int group = groups.GetSize();
    groups.SetSize(group + 1);
    Array<CEOID>& ids = groups[group];
    ids.SetSize(size);
    for (int i = 0; i < size; ++i) ids[i] = static_cast<CEOID>(flat[at + i]);
    at += size;
    titles.Add(group < groupTitles.GetSize() ? groupTitles[group] : Str());
  }
  CountRows();
}

void ContactDataSource::CutToKeep(const Array<CEOID>& keep) {
  Array<CEOID> sorted(keep);
  SortIds(sorted);
  for (int group = groups.GetSize() - 1; group >= 0; --group) {
    Array<CEOID>& ids = groups[group];
    int kept = 0;
    for (int i = 0; i < ids.GetSize(); ++i) {
      if (ContainsId(sorted, static_cast<uint32_t>(ids[i]))) ids[kept++] = ids[i];
    }
    ids.SetSize(kept);
    if (kept == 0) {
      groups.RemoveAt(group);
      titles.RemoveAt(group);
    }
  }
  CountRows();
}
