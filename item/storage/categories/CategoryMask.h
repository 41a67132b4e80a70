// Category masks as contacts store them: bit b of byte i stands for the category at position
// i * 8 + b. An empty mask, or one of zero bytes only, holds no category.
#pragma once

#include "storage/db/ByteBuffer.h"

// Whether `position` is set in `mask`; a position past the mask's end is not set.
bool IsCategorySet(const ByteBuffer& mask, int position);
// Whether any bit of `mask` is set.
bool HasAnyCategory(const ByteBuffer& mask);
