// CategoriesDBManager: the use counts that follow the contact writes. Each set bit of a contact's
// mask is one use of the category at that position; only this program's counter is touched.
#include "storage/categories/PPC2003CategoryDBManager.h"

#include "storage/categories/CategoryFields.h"
#include "storage/categories/CategoryMask.h"
#include "storage/db/StepScope.h"

namespace {

const int kLastPosition = 0x7FFF;

// The bit at `position` of `mask`, 0 or 1; past the end 0.
int BitAt(const ByteBuffer& mask, int position) { return IsCategorySet(mask, position) ? 1 : 0; }

}  // namespace

bool CategoriesDBManager::CountUp(int position) {
  StepScope step(*this, false);
  if (SeekFirstEqual(DbProperty(static_cast<int16_t>(position), kCategoryPosition)) == 0)
    return true;  // no category there: nothing to count
  const CEPROPID counterId = MAKE_CEPROPID(m_counterProperty, CEVT_I2);
  DbRecord record;
  CEOID oid = ReadRecord(record, 1, &counterId);
  if (oid == 0) return false;
  int16_t count = 0;
  if (!CategoryI2(record, m_counterProperty, count)) return true;  // a category this program doesn't count
  DbRecord change;
  change.SetOid(oid);
  AddCategoryI2(change, m_counterProperty, static_cast<int16_t>(count + 1));
  return WriteRecord(change, DbWriteUpdate) != 0;
}

bool CategoriesDBManager::CountDown(int position) {
  StepScope step(*this, false);
  if (SeekFirstEqual(DbProperty(static_cast<int16_t>(position), kCategoryPosition)) == 0) return true;
  DbRecord record;
  CEOID oid = ReadRecord(record);
  if (oid == 0) return false;
  int16_t count = 0;
  if (!CategoryI2(record, m_counterProperty, count)) return true;
  if (count > 0) --count;

  // The last use of a hidden category that no other application counts takes the category away.
  int16_t visible = 0;
  bool hidden = CategoryI2(record, kCategoryVisible, visible) && visible == 0;
  if (count == 0 && hidden) {
    bool othersUnused = true;
    const WORD counters[] = {kCategoryContactsCount, kCategorySecondCount, kCategoryThirdCount};
    for (WORD counter : counters) {
      if (counter != m_counterProperty && CategoryCount(record, counter) != 0) othersUnused = false;
    }
    if (othersUnused) return DeleteRecord(oid);
  }
  DbRecord change;
  change.SetOid(oid);
  AddCategoryI2(change, m_counterProperty, count);
  return WriteRecord(change, DbWriteUpdate) != 0;
}

bool CategoriesDBManager::CountContact(const ByteBuffer& mask) {
  bool ok = true;
  int bits = static_cast<int>(mask.GetLength()) * 8;
  for (int position = 0; position < bits && position <= kLastPosition; ++position) {
    if (IsCategorySet(mask, position) && !CountUp(position)) ok = false;
  }
  return ok;
}

bool CategoriesDBManager::UncountContact(const ByteBuffer& mask) {
  bool ok = true;
  int bits = static_cast<int>(mask.GetLength()) * 8;
  for (int position = 0; position < bits && position <= kLastPosition; ++position) {
    if (IsCategorySet(mask, position) && !CountDown(position)) ok = false;
  }
  return ok;
}

bool CategoriesDBManager::RecountContact(const ByteBuffer& oldMask, const ByteBuffer& newMask) {
  // The shorter mask reads as padded with zeros; only the bits that differ change a count.
  uint32_t length = oldMask.GetLength() > newMask.GetLength() ? oldMask.GetLength() : newMask.GetLength();
  int bits = static_cast<int>(length) * 8;
  bool ok = true;
  for (int position = 0; position < bits && position <= kLastPosition; ++position) {
    int before = BitAt(oldMask, position);
    int after = BitAt(newMask, position);
    if (before == after) continue;
    if (!(before ? CountDown(position) : CountUp(position))) ok = false;
  }
  return ok;
}
