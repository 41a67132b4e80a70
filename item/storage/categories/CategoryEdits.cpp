// CategoriesDBManager: new positions, adding and finding categories by name, and removing them.
#include "storage/categories/PPC2003CategoryDBManager.h"

#include "foundation/DebugUtils.h"
#include "storage/categories/CategoryFields.h"
#include "storage/db/StepScope.h"

bool CategoriesDBManager::GetNewCatPosition(int16_t& position) {
  position = 0;
  StepScope step(*this, false);
  if (SeekFirstEqual(DbProperty(static_cast<int16_t>(0), kCategoryPosition)) == 0) {
    DWORD error = GetLastError();
    // No record at position 0: that is the answer.
    if (error == ERROR_SEEK) return true;
    TracerBox(L"CategoriesDBManager::GetNewCatPosition: not error seek");
    SetLastError(error);
    return false;
  }

  // Walk on from position 0 in the order of positions; the first number skipped is free.
  const CEPROPID wanted = kCategoryByPosition;
  int previous = 0;
  for (;;) {
    if (SeekNext() == 0) {
      if (GetLastError() == ERROR_SEEK) break;
      return false;
    }
    DbRecord record;
    if (ReadRecord(record, 1, &wanted) == 0) {
      if (GetLastError() == ERROR_NO_MORE_ITEMS) break;
      return false;
    }
    int16_t found = 0;
    if (!CategoryI2(record, kCategoryPosition, found)) continue;
    // A second record at a position already seen leaves no gap.
    if (found <= previous) continue;
    if (found != previous + 1) break;
    previous = found;
  }
  if (previous >= 0x7FFF) {
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return false;
  }
  position = static_cast<int16_t>(previous + 1);
  return true;
}

int CategoriesDBManager::FindOrAdd(const Str& name, CEOID& oid) {
  oid = 0;
  // The name order is a handle of its own, so that this one keeps the order of positions.
  DbDatabase byName;
  if (!byName.Open(kCategoriesDatabaseName, kCategoryByName, nullptr)) return CategoryFailed;
  StepScope step(byName, false);

  DbProperty key(static_cast<const wchar_t*>(name), kCategoryName, DbBorrow);
  if (byName.SeekFirstEqual(key) != 0) {
    DbRecord record;
    CEOID found = byName.ReadRecord(record);
    if (found == 0) return CategoryFailed;
    int16_t visible = 0;
    int16_t position = -1;
    bool hidden = !CategoryI2(record, kCategoryVisible, visible) || visible == 0;
    bool placed = CategoryI2(record, kCategoryPosition, position) && position >= 0;

    DbRecord changes;
    changes.SetOid(found);
    if (hidden) AddCategoryI2(changes, kCategoryVisible, 1);
    if (!placed) {
      int16_t fresh = 0;
      if (!GetNewCatPosition(fresh)) return CategoryFailed;
      AddCategoryI2(changes, kCategoryPosition, fresh);
    }
    if (changes.Count() != 0 && byName.WriteRecord(changes, DbWriteUpdate) == 0) return CategoryFailed;
    oid = found;
    return CategoryExisted;
  }
  if (GetLastError() != ERROR_SEEK) return CategoryFailed;

  int16_t position = 0;
  if (!GetNewCatPosition(position)) return CategoryFailed;
  DbRecord record;
  AddCategoryI2(record, kCategoryPosition, position);
  AddCategoryI2(record, kCategoryVisible, 1);
  AddCategoryI2(record, kCategoryContactsCount, 0);
  AddCategoryI2(record, kCategorySecondCount, 0);
  AddCategoryI2(record, kCategoryThirdCount, 0);
  AddCategoryText(record, kCategoryName, name);
  StepScope ownStep(*this, false);
  CEOID added = WriteRecord(record, DbWriteNew);
  if (added == 0) return CategoryFailed;
  oid = added;
  return CategoryAdded;
}

bool CategoriesDBManager::Delete(CEOID oid) {
  StepScope step(*this, false);
  CEOID target = oid;
  if (target == 0) {
    target = CurrentOid();
    if (target == static_cast<CEOID>(-1)) return false;
  } else if (SeekOid(target) == 0) {
    return false;
  }
  DbRecord record;
  if (ReadRecord(record) == 0) return false;

  int uses = CategoryCount(record, kCategoryContactsCount) + CategoryCount(record, kCategorySecondCount) +
             CategoryCount(record, kCategoryThirdCount);
  if (uses <= 0) return DeleteRecord(target);

  // Still counted somewhere: the category stays, hidden.
  int16_t visible = 0;
  if (CategoryI2(record, kCategoryVisible, visible) && visible == 0) return true;
  DbRecord change;
  change.SetOid(target);
  AddCategoryI2(change, kCategoryVisible, 0);
  return WriteRecord(change, DbWriteUpdate) != 0;
}
