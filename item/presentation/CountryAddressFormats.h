// How an address is laid out in each country: which of the five parts it has, their labels, and the
// order in which they stand on the address line. Built once, from the item's string table.
#pragma once
#include <stdint.h>
#include <windows.h>
#include "foundation/Array.h"
#include "foundation/Str.h"

// The five parts of an address, always in this order.
enum AddressPart {
  AddressStreet,
  AddressCity,
  AddressRegion,
  AddressPostalCode,
  AddressCountry,
  AddressPartCount
};

struct CountryAddressRow {
  uint32_t code;  // the country's code as the platform's locale gives it (LOCALE_ICOUNTRY)
  Str name;
  Str label[AddressPartCount];
  int32_t position[AddressPartCount];  // place on the address line; -1 when the country lacks the part
};

// One row from its text: "CCC Name,p Label,p Label,..." with the code in three decimal digits, a
// blank, the name up to the first comma, then up to five parts in the order of AddressPart, separated
// by commas, each a one-digit place, a blank and the label, or nothing for a part the country lacks.
// False when the text is shorter than five characters, the name is empty, or the places of the k
// parts found are not 0 to k - 1, each once.
bool ParseCountryAddressRow(const wchar_t* text, CountryAddressRow& row);

class CountryAddressFormats {
 public:
  // Reads the rows of the string ids from `firstId` to `lastId` of `instance`: a string that is absent
  // or does not parse gives no row, and the next one takes its place.
  CountryAddressFormats(HINSTANCE instance, UINT firstId, UINT lastId);
  virtual ~CountryAddressFormats();

  virtual int GetCount() const;
  virtual BOOL GetRow(int index, CountryAddressRow& out) const;
  // The row of the user's country (the locale's country code, or 1 when the locale can't tell), the
  // last row when none has that code, -1 for an empty table. Found once, when the table is built.
  virtual int GetDefaultIndex() const;
  // The country names, in row order, appended to `out`.
  virtual void GetNames(Array<Str>& out) const;

 private:
  CountryAddressFormats(const CountryAddressFormats&) = delete;
  CountryAddressFormats& operator=(const CountryAddressFormats&) = delete;

  int FindDefault() const;

  Array<CountryAddressRow> rows;
  int defaultIndex;
};

// The process's table of the item's own string table, built on first use.
CountryAddressFormats& GetCountryAddressFormats();
