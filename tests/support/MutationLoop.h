// Mutation runs for the readers of stored formats and files: a seeded loop that takes valid inputs,
// damages them (bit flips, bytes set to telling values, truncations, insertions, zeroed runs, copied
// ranges and splices of two inputs) and hands each result to a check of the reader under test.
//
// In CI a test runs a few thousand inputs. scripts/fuzz.sh runs the same cases with
// PAGEMARK_FUZZ_COUNT (a million by default there) and reads the summary line each run prints:
//   mutations TARGET: N inputs in S s (R per second), W wrong
// and, once a minute while it runs, a line of how far it got ("... N of M inputs so far ...").
// A crash ends the program; the input that faulted last is kept as fuzz-TARGET-fault.bin in the
// temporary folder. An input that runs longer than PAGEMARK_FUZZ_HANG_MS (10 s) is kept as
// fuzz-TARGET-hang.bin, and the program ends with status kHangStatus. The first input with a wrong
// result is kept as fuzz-TARGET-wrong.bin. PAGEMARK_FUZZ_REPLAY=FILE runs a kept input alone, once.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace mutation {

typedef std::vector<uint8_t> Bytes;

const unsigned kHangStatus = 0x4E47;

// Damages a copy of `input`, one to four times; `corpus` lends ranges for splices.
class Mutator {
 public:
  explicit Mutator(uint32_t seed) : random(seed) {}
  Bytes Mutate(const Bytes& input, const std::vector<Bytes>& corpus);
  uint32_t Below(uint32_t bound) { return bound == 0 ? 0 : static_cast<uint32_t>(random() % bound); }

 private:
  void MutateOnce(Bytes& bytes, const std::vector<Bytes>& corpus);
  std::mt19937 random;
};

struct Summary {
  uint64_t inputs = 0;
  uint64_t wrong = 0;
  double seconds = 0;
  std::vector<std::string> firstWrong;  // the reasons of the first few wrong results
};

// Gives true when the reader's result on `input` is right; otherwise false with the reason.
typedef std::function<bool(const Bytes& input, std::string& why)> Check;

// Runs `defaultCount` mutated inputs (PAGEMARK_FUZZ_COUNT overrides) through `check`, every tenth
// one unmutated, and prints the summary line. The seed is PAGEMARK_FUZZ_SEED or `defaultSeed`.
Summary Run(const char* target, const std::vector<Bytes>& corpus, const Check& check, uint64_t defaultCount,
            uint32_t defaultSeed = 1);

}  // namespace mutation
