// CategoriesDBManager: opening, the lists of categories, and the translations between masks, names
// and record ids.
#include "storage/categories/PPC2003CategoryDBManager.h"

#include "storage/categories/CategoryFields.h"
#include "storage/categories/CategoryMask.h"
#include "storage/db/StepScope.h"

// The categories library owns its database's name; the contacts library, which opens that database
// beside its own, takes it from here.
const wchar_t kCategoriesDatabaseName[] = L"\\Categories Database";

namespace {

// The largest position a 16-bit record field can hold.
const int kLastPosition = 0x7FFF;

bool NameBefore(const CategoryItem& a, const CategoryItem& b) { return Str::Compare(a.name, b.name) < 0; }

bool PositionBefore(const CategoryItem& a, const CategoryItem& b) { return a.position < b.position; }

bool TextBefore(const Str& a, const Str& b) { return Str::Compare(a, b) < 0; }

// Shell sort with halving gaps: few elements, no extra memory, and the Array's own copies.
template <class T>
void ShellSort(Array<T>& items, bool (*before)(const T&, const T&)) {
  int count = items.GetSize();
  for (int gap = count / 2; gap > 0; gap /= 2) {
    for (int i = gap; i < count; ++i) {
      T item = items[i];
      int j = i;
      while (j >= gap && before(item, items[j - gap])) {
        items[j] = items[j - gap];
        j -= gap;
      }
      items[j] = item;
    }
  }
}

}  // namespace

CategoriesDBManager::CategoriesDBManager() : m_counterProperty(kCategoryContactsCount) {}

CategoriesDBManager::~CategoriesDBManager() {}

bool CategoriesDBManager::Open() {
  return DbDatabase::Open(kCategoriesDatabaseName, kCategoryByPosition, nullptr);
}

bool CategoriesDBManager::ReadItems(CategoryList& items, Array<int>& counts) {
  items.RemoveAll();
  counts.RemoveAll();
  StepScope step(*this, false);
  // An empty database leaves the position at the end, and the first read ends the walk.
  SeekIndex(0);
  for (;;) {
    DbRecord record;
    CEOID oid = ReadRecord(record);
    if (oid == 0) {
      if (GetLastError() == ERROR_NO_MORE_ITEMS) return true;
      DWORD error = GetLastError();
      items.RemoveAll();
      counts.RemoveAll();
      SetLastError(error);
      return false;
    }
    CategoryItem item;
    item.oid = oid;
    CategoryText(record, kCategoryName, item.name);
    item.position = -1;
    CategoryI2(record, kCategoryPosition, item.position);
    item.visible = CategoryCount(record, kCategoryVisible) != 0;
    items.Add(item);
    counts.Add(CategoryCount(record, m_counterProperty));
    SeekNext();
  }
}

bool CategoriesDBManager::LoadAll(CategoryList& list) {
  list.RemoveAll();
  CategoryList items;
  Array<int> counts;
  if (!ReadItems(items, counts)) return false;
  for (int i = 0; i < items.GetSize(); ++i) {
    const CategoryItem& item = items[i];
    if (!item.name.IsEmpty() && item.position >= 0 && counts[i] >= 1) list.Add(item);
  }
  ShellSort(list, NameBefore);
  return true;
}

bool CategoriesDBManager::LoadPositioned(CategoryList& list) {
  list.RemoveAll();
  CategoryList items;
  Array<int> counts;
  if (!ReadItems(items, counts)) return false;
  for (int i = 0; i < items.GetSize(); ++i) {
    if (!items[i].name.IsEmpty() && items[i].position >= 0) list.Add(items[i]);
  }
  return true;
}

bool CategoriesDBManager::LoadUsed(const ByteBuffer& mask, CategoryList& list) {
  list.RemoveAll();
  CategoryList items;
  Array<int> counts;
  if (!ReadItems(items, counts)) return false;
  for (int i = 0; i < items.GetSize(); ++i) {
    const CategoryItem& item = items[i];
    if (item.position >= 0 && (item.visible || IsCategorySet(mask, item.position))) list.Add(item);
  }
  return true;
}

bool CategoriesDBManager::NamesOf(const ByteBuffer& mask, Array<Str>& names) {
  names.RemoveAll();
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  StepScope step(*this, false);
  const CEPROPID wanted = MAKE_CEPROPID(kCategoryName, CEVT_LPWSTR);
  int bits = static_cast<int>(mask.GetLength()) * 8;
  for (int position = 0; position < bits && position <= kLastPosition; ++position) {
    if (!IsCategorySet(mask, position)) continue;
    if (SeekFirstEqual(DbProperty(static_cast<int16_t>(position), kCategoryPosition)) == 0) continue;
    DbRecord record;
    Str name;
    if (ReadRecord(record, 1, &wanted) != 0 && CategoryText(record, kCategoryName, name)) names.Add(name);
  }
  ShellSort(names, TextBefore);
  // Sorted, equal names stand together: keep the first of each run.
  for (int i = names.GetSize() - 1; i > 0; --i) {
    if (Str::IsEqual(names[i], names[i - 1])) names.RemoveAt(i);
  }
  return true;
}

bool CategoriesDBManager::IdsOf(const ByteBuffer& mask, const CategoryList& list, Array<CEOID>& oids) {
  oids.RemoveAll();
  CategoryList byPosition(list);
  ShellSort(byPosition, PositionBefore);
  // Bits come in rising order, so each search starts after the category found last.
  int low = 0;
  int bits = static_cast<int>(mask.GetLength()) * 8;
  for (int position = 0; position < bits && position <= kLastPosition; ++position) {
    if (!IsCategorySet(mask, position)) continue;
    int first = low;
    int last = byPosition.GetSize() - 1;
    while (first <= last) {
      int middle = first + (last - first) / 2;
      int found = byPosition[middle].position;
      if (found == position) {
        oids.Add(byPosition[middle].oid);
        low = middle + 1;
        break;
      }
      if (found < position)
        first = middle + 1;
      else
        last = middle - 1;
    }
  }
  return true;
}

void CategoriesDBManager::MaskOf(const CategoryList& list, const Array<CEOID>& oids, ByteBuffer& mask) {
  Array<BYTE> bytes;
  for (int i = 0; i < oids.GetSize(); ++i) {
    for (int j = 0; j < list.GetSize(); ++j) {
      const CategoryItem& item = list[j];
      if (item.oid != oids[i] || item.position < 0) continue;
      // Whole 32-bit words, low byte first: bit p % 32 of word p / 32 is bit p % 8 of byte p / 8.
      int word = item.position / 32;
      if (bytes.GetSize() < (word + 1) * 4) bytes.SetSize((word + 1) * 4);
      bytes[item.position / 8] = static_cast<BYTE>(bytes[item.position / 8] | (1u << (item.position % 8)));
      break;
    }
  }
  if (bytes.GetSize() == 0) {
    const BYTE none = 0;
    mask.Assign(&none, 1);
    return;
  }
  mask.Assign(bytes.GetData(), static_cast<uint32_t>(bytes.GetSize()));
}
