// What the device's object store says about itself beside the records it gives: whether it was
// salvaged from a damaged file, and how many records that lost. The contacts read from such a store
// are not all the contacts the device held, and the tool says so.
#pragma once
#include <string>

struct StoreSalvage {
  bool salvaged = false;
  unsigned long kept = 0;
  unsigned long lost = 0;
  std::wstring when;         // "YYYY-MM-DD HH:MM:SS UTC"
  std::wstring damagedCopy;  // where the damaged file was kept
};

// Asks the device's store for its last salvage. False when the device's system library has no such
// call or the store can't be read; `salvage` then says nothing was salvaged.
bool ReadStoreSalvage(StoreSalvage& salvage);

// The lines pimtool prints on standard error for a salvage that lost records; empty otherwise.
std::wstring SalvageNotice(const StoreSalvage& salvage);
