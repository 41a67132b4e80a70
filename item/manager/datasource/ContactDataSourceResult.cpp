// The data source's result: groups of contact ids, the first row and title of each, the total of rows.
#include "manager/datasource/ContactDataSource.h"

int ContactDataSource::RowsInGroup(int group) const {
  if (group < 0 || group >= groups.GetSize()) return 0;
  return groups[group].GetSize();
}

CEOID ContactDataSource::GetIdAt(int group, int row) const {
  if (group < 0 || group >= groups.GetSize()) return 0;
  const Array<CEOID>& ids = groups[group];
  if (row < 0 || row >= ids.GetSize()) return 0;
  return ids[row];
}

BOOL ContactDataSource::FindPosition(CEOID id, int& group, int& row) const {
  for (int g = 0; g < groups.GetSize(); ++g) {
    const Array<CEOID>& ids = groups[g];
    for (int r = 0; r < ids.GetSize(); ++r) {
      if (ids[r] != id) continue;
      group = g;
      row = r;
      return TRUE;
    }
  }
  group = -1;
  row = -1;
  return FALSE;
}

int ContactDataSource::GroupFirstRow(int group) const {
  if (group < 0 || group >= firstRows.GetSize()) return -1;
  return firstRows[group];
}

Str ContactDataSource::GroupTitle(int group) const {
  if (group < 0 || group >= titles.GetSize()) return Str();
  return titles[group];
}

void ContactDataSource::ClearResult() {
  groups.RemoveAll();
  titles.RemoveAll();
  firstRows.RemoveAll();
  totalRows = 0;
}

void ContactDataSource::CountRows() {
  firstRows.SetSize(groups.GetSize());
  int rows = 0;
  for (int g = 0; g < groups.GetSize(); ++g) {
    firstRows[g] = rows;
    rows += groups[g].GetSize();
  }
  totalRows = rows;
}

BOOL ContactDataSource::RemoveRow(int group, int row) {
  if (group < 0 || group >= groups.GetSize()) return FALSE;
  Array<CEOID>& ids = groups[group];
  if (row < 0 || row >= ids.GetSize()) return FALSE;
  ids.RemoveAt(row);
  if (ids.GetSize() == 0) {
    groups.RemoveAt(group);
    if (group < titles.GetSize()) titles.RemoveAt(group);
  }
  CountRows();
  return TRUE;
}
