// CategoriesDBManager: the platform's "\Categories Database", shared by every application of the
// device. A contact names its categories by a bit mask (property 0x0016); bit b of byte i is the
// category at position i * 8 + b. The manager turns masks into names and back, adds and removes
// categories, and keeps the use counters right on every contact write, because the platform shows
// and deletes categories by those counters.
//
// Record of the categories database:
//   0x4001 text  name
//   0x4002 I2    position, the bit number in the masks; -1 means none
//   0x4003 I2    visible: not 0 means shown by the applications
//   0x4004 I2    use count of the contacts (this program's counter)
//   0x4005 I2    use count of a second application
//   0x4006 I2    use count of a third application
#pragma once

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/db/ByteBuffer.h"
#include "storage/categories/CategoryCounter.h"
#include "storage/db/DbDatabase.h"

#include <windows.h>
#include <windbase.h>

#include <stdint.h>

extern const wchar_t kCategoriesDatabaseName[];  // "\Categories Database"

const WORD kCategoryName = 0x4001;
const WORD kCategoryPosition = 0x4002;
const WORD kCategoryVisible = 0x4003;
const WORD kCategoryContactsCount = 0x4004;
const WORD kCategorySecondCount = 0x4005;
const WORD kCategoryThirdCount = 0x4006;

// The two orders the manager reads the database in.
const CEPROPID kCategoryByPosition = MAKE_CEPROPID(kCategoryPosition, CEVT_I2);  // 0x40020002
const CEPROPID kCategoryByName = MAKE_CEPROPID(kCategoryName, CEVT_LPWSTR);      // 0x4001001F

// One category as the lists show it.
struct CategoryItem {
  CEOID oid;
  Str name;
  int16_t position;  // -1: none
  bool visible;
};
typedef Array<CategoryItem> CategoryList;

// FindOrAdd results.
enum CategoryFindResult {
  CategoryFailed = 0,
  CategoryAdded = 1,
  CategoryExisted = 2,
};

class CategoriesDBManager : public DbDatabase, public CategoryCounter {
 public:
  // The manager's own counter is the contacts count, 0x4004.
  CategoriesDBManager();
  ~CategoriesDBManager() override;

  // Opens "\Categories Database" in the order of positions, without notifications.
  bool Open();

  // Every category in use by the contacts: with a name, a position and a contacts count of at least
  // 1, sorted by name in the language's order.
  bool LoadAll(CategoryList& list);
  // Every category that can stand in a mask: with a name and a position, used or not, in the order of
  // positions. A filter names its categories through these, so that one nobody uses any more still
  // means itself rather than no category at all.
  bool LoadPositioned(CategoryList& list);
  // The categories a contact with `mask` may pick from: those with a position that are visible, and
  // those whose bit is set in `mask`, in the order of positions.
  bool LoadUsed(const ByteBuffer& mask, CategoryList& list);
  // The names of the categories set in `mask`, sorted, each once.
  bool NamesOf(const ByteBuffer& mask, Array<Str>& names);
  // The record ids of the categories of `list` whose positions are set in `mask`, in the order of
  // positions.
  bool IdsOf(const ByteBuffer& mask, const CategoryList& list, Array<CEOID>& oids);
  // The mask of the categories `oids`, looked up in `list`: 32-bit words, so its length is a multiple
  // of 4; nothing to set gives the single byte 0.
  static void MaskOf(const CategoryList& list, const Array<CEOID>& oids, ByteBuffer& mask);

  // Finds the category called `name`, making it visible and giving it a position if it lacks them,
  // or adds it. CategoryAdded or CategoryExisted with its oid, or CategoryFailed.
  int FindOrAdd(const Str& name, CEOID& oid);
  // Removes category `oid` (0: the current record): a category still counted by some application is
  // only hidden, an unused one is deleted.
  bool Delete(CEOID oid);
  // The lowest position no record holds.
  bool GetNewCatPosition(int16_t& position);

  // CategoryCounter: the use counts follow each contact write.
  bool CountContact(const ByteBuffer& mask) override;
  bool UncountContact(const ByteBuffer& mask) override;
  bool RecountContact(const ByteBuffer& oldMask, const ByteBuffer& newMask) override;

  // The property number of the counter that belongs to this program.
  WORD GetCounterProperty() const { return m_counterProperty; }
  void SetCounterProperty(WORD number) { m_counterProperty = number; }

 private:
  // Every record of the database as an item, with this program's count of it beside (0 when the
  // record has none). An error of the walk empties both and fails.
  bool ReadItems(CategoryList& items, Array<int>& counts);
  // One use more, or one less, of the category at `position`.
  bool CountUp(int position);
  bool CountDown(int position);

  WORD m_counterProperty;
};
