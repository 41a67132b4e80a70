// Recovery of a damaged store file: every entry that checks out is applied, the damaged stretches are
// skipped, and the records they may have concerned are left out rather than shown in an older state.
#pragma once
#include <cstdint>
#include <string>

#include "Image.h"
#include "StoreFormat.h"

namespace objstore {

struct SalvageReport {
  bool headerDamaged = false;
  bool truncated = false;     // the file ends before the end of the log its header records
  uint32_t damagedSpans = 0;  // stretches of bytes that held no entry that checks out
  uint64_t damagedBytes = 0;
  uint32_t repairedEntries = 0;  // entries whose own head was damaged, taken from their intact payload
  uint32_t droppedEntries = 0;   // entries that check out but contradict the rest (copies, replays)
  uint32_t kept = 0;             // records in the salvaged store
  uint32_t lost = 0;             // records the file held that the salvaged store lacks
  std::string firstWhy;          // the first damage met, and where
  uint64_t firstAt = 0;
};

// Rebuilds `image` from whatever of the file's `n` bytes checks out. `header` receives the first free
// object id that the salvaged store must go on from (ids are never given out twice).
void SalvageScan(const uint8_t* p, size_t n, Image* image, Header* header, SalvageReport* report);

}  // namespace objstore
