#include "manager/aids/PairRows.h"

#include "manager/letters/KeypadGroups.h"

PairRows::PairRows() : count(0), made(false), positionsMade(0), cacheMade(0), groupsMade(0) {}

PairRows::~PairRows() {}

void PairRows::Refresh(const ListPositions& positions, const NameKeyCache& nameKeys) {
  const uint32_t groups = g_keypadGroups.Generation();
  if (made && positionsMade == positions.Generation() && cacheMade == nameKeys.Version() &&
      groupsMade == groups && count == positions.Count())
    return;
  count = positions.Count();
  rows.SetSize(count * kWidth);
  uint16_t* row = rows.GetData();
  for (int position = 0; position < count; ++position, row += kWidth) {
    const int pairs = nameKeys.PairsOf(positions.OidAt(position), row, kPairs);
    row[kPairs] = pairs < 0 ? kUnknown : static_cast<uint16_t>(pairs);
  }
  made = true;
  positionsMade = positions.Generation();
  cacheMade = nameKeys.Version();
  groupsMade = groups;
}

int PairRows::RankOf(int position, int pair) const {
  if (position < 0 || position >= count) return RankUnknown;
  const uint16_t* row = rows.GetData() + position * kWidth;
  const int pairs = row[kPairs];
  if (pairs == kUnknown) return RankUnknown;
  // The pairs stand in the order of the names, the first of a pair kept only: the first found ranks.
  for (int k = 0; k < pairs; ++k)
    if ((row[k] & 0xFF) == pair) return row[k] >> 8;
  return RankNone;
}
