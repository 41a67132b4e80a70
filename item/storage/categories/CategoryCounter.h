// The use counters of the categories database, as contact writes must keep them: each set bit of a
// contact's category mask counts one use of the category at that position.
#pragma once

#include "storage/db/ByteBuffer.h"

class CategoryCounter {
 public:
  virtual ~CategoryCounter() {}
  // A new contact with these categories.
  virtual bool CountContact(const ByteBuffer& mask) = 0;
  // A contact with these categories is gone.
  virtual bool UncountContact(const ByteBuffer& mask) = 0;
  // A contact's categories changed from `oldMask` to `newMask`; the shorter mask counts as padded
  // with zeros.
  virtual bool RecountContact(const ByteBuffer& oldMask, const ByteBuffer& newMask) = 0;
};
