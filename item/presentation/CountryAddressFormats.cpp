#include "presentation/CountryAddressFormats.h"
#include <new>
#include <wchar.h>
#include "presentation/AppFolders.h"
#include "resources/resource.h"

static const int kMaxRowText = 500;

// A run of decimal digits from `text`, at most `count` of them; 0 when there are none.
static uint32_t ReadDecimal(const wchar_t* text, int count) {
  uint32_t value = 0;
  for (int i = 0; i < count && text[i] >= L'0' && text[i] <= L'9'; ++i) value = value * 10 + (text[i] - L'0');
  return value;
}

bool ParseCountryAddressRow(const wchar_t* text, CountryAddressRow& row) {
  row.code = 0;
  row.name.Empty();
  for (int part = 0; part < AddressPartCount; ++part) {
    row.label[part].Empty();
    row.position[part] = -1;
  }
  if (text == nullptr) return false;
  int length = static_cast<int>(wcslen(text));
  if (length < 5) return false;
  row.code = ReadDecimal(text, 3);
  // Character 4 is a blank; the name runs from the fifth up to the first comma.
  const wchar_t* name = text + 4;
  const wchar_t* comma = wcschr(name, L',');
  int nameLength = comma != nullptr ? static_cast<int>(comma - name) : static_cast<int>(wcslen(name));
  if (nameLength <= 0) return false;
  row.name = Str(name, nameLength);

  int found = 0;
  bool present[AddressPartCount] = {false, false, false, false, false};
  if (comma != nullptr) {
    const wchar_t* at = comma + 1;
    for (int part = 0; part < AddressPartCount; ++part) {
      int left = static_cast<int>(wcslen(at));
      if (left < 2) break;
      if (at[0] == L',') {
        ++at;  // a part the country lacks
        continue;
      }
      row.position[part] = at[0] - L'0';
      const wchar_t* label = at + 2;
      const wchar_t* next = wcschr(label, L',');
      int labelLength = next != nullptr ? static_cast<int>(next - label) : static_cast<int>(wcslen(label));
      row.label[part] = Str(label, labelLength);
      present[part] = true;
      ++found;
      at = next != nullptr ? next + 1 : label + labelLength;
    }
  }

  // The places of the parts found must be 0 to found - 1, each once.
  bool seen[AddressPartCount] = {false, false, false, false, false};
  for (int part = 0; part < AddressPartCount; ++part) {
    if (!present[part]) continue;
    int32_t place = row.position[part];
    if (place < 0 || place >= found || seen[place]) return false;
    seen[place] = true;
  }
  return true;
}

CountryAddressFormats::CountryAddressFormats(HINSTANCE instance, UINT firstId, UINT lastId)
    : defaultIndex(-1) {
  for (UINT id = firstId; id <= lastId; ++id) {
    wchar_t text[kMaxRowText + 1];
    int length = LoadStringW(instance, id, text, kMaxRowText + 1);
    if (length <= 0) continue;
    text[length] = 0;
    CountryAddressRow row;
    if (ParseCountryAddressRow(text, row)) rows.Add(row);
  }
  defaultIndex = FindDefault();
}

CountryAddressFormats::~CountryAddressFormats() {}

int CountryAddressFormats::FindDefault() const {
  if (rows.GetSize() == 0) return -1;
  wchar_t country[6] = {0};
  uint32_t code = 1;
  if (GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_ICOUNTRY, country, 6) > 0)
    code = static_cast<uint32_t>(_wtol(country));
  for (int i = 0; i < rows.GetSize(); ++i) {
    if (rows[i].code == code) return i;
  }
  return rows.GetSize() - 1;
}

int CountryAddressFormats::GetCount() const { return rows.GetSize(); }

BOOL CountryAddressFormats::GetRow(int index, CountryAddressRow& out) const {
  if (index < 0 || index >= rows.GetSize()) {
    SetLastError(ERROR_INVALID_INDEX);
    return FALSE;
  }
  out = rows[index];
  return TRUE;
}

int CountryAddressFormats::GetDefaultIndex() const { return defaultIndex; }

void CountryAddressFormats::GetNames(Array<Str>& out) const {
  for (int i = 0; i < rows.GetSize(); ++i) out.Add(rows[i].name);
}

CountryAddressFormats& GetCountryAddressFormats() {
  static CountryAddressFormats* table = nullptr;
  if (table == nullptr) {
    table = CheckAllocation(new (std::nothrow) CountryAddressFormats(
        GetModuleInstance(), IDS_COUNTRY_FORMAT_FIRST, IDS_COUNTRY_FORMAT_LAST));
  }
  return *table;
}
