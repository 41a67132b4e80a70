// Deterministic synthetic contacts: the same count and seed always give the same contacts.
#pragma once
#include <cstdint>
#include <vector>
#include "ToolContact.h"

class Random {
 public:
  explicit Random(uint64_t seed) : state(seed) {}
  uint64_t Next();
  // A number in [0, bound).
  int Below(int bound) { return bound <= 0 ? 0 : static_cast<int>(Next() % static_cast<uint64_t>(bound)); }
  // True with the given chance in percent.
  bool Percent(int chance) { return Below(100) < chance; }

 private:
  uint64_t state;
};

// The contact number `index` of the sequence for `seed`; independent of the other contacts.
ToolContact GenerateContact(uint64_t seed, int index);
std::vector<ToolContact> GenerateContacts(int count, uint64_t seed);
