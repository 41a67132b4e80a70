#include "storage/categories/CategoryFields.h"

#include "foundation/DebugUtils.h"

#include <windbase.h>

namespace {

const DbProperty* Present(const DbRecord& record, WORD number, WORD type) {
  const DbProperty* property = record.Find(number);
  if (property == nullptr || property->IsNotFound() || property->GetType() != type) return nullptr;
  return property;
}

void AddOwned(DbRecord& record, DbProperty* property) {
  CheckAllocation(property);
  property->SetListOwned(true);
  record.Add(property);
}

}  // namespace

bool CategoryI2(const DbRecord& record, WORD number, int16_t& value) {
  const DbProperty* property = Present(record, number, CEVT_I2);
  if (property == nullptr) return false;
  value = property->GetI2();
  return true;
}

int CategoryCount(const DbRecord& record, WORD number) {
  int16_t value = 0;
  return CategoryI2(record, number, value) ? value : 0;
}

bool CategoryText(const DbRecord& record, WORD number, Str& text) {
  const DbProperty* property = Present(record, number, CEVT_LPWSTR);
  if (property == nullptr) return false;
  text = property->GetText();
  return true;
}

void AddCategoryI2(DbRecord& record, WORD number, int16_t value) {
  AddOwned(record, new (std::nothrow) DbProperty(value, number));
}

void AddCategoryText(DbRecord& record, WORD number, const wchar_t* text) {
  AddOwned(record, new (std::nothrow) DbProperty(text, number, DbCopy));
}
