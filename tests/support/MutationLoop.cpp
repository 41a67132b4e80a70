#include "MutationLoop.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace mutation {

namespace {

// Values that readers of sizes, offsets and characters are most likely to trip over.
const uint8_t kTelling[] = {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF, 0x0A,
                            0x0D, 0x20, 0x3A, 0x3B, 0x5B, 0x5D, 0x5C};

uint64_t EnvNumber(const char* name, uint64_t fallback) {
  const char* text = getenv(name);
  if (text == nullptr || *text == 0) return fallback;
  return strtoull(text, nullptr, 10);
}

std::string TempFile(const std::string& name) {
  char folder[MAX_PATH];
  const DWORD length = GetTempPathA(MAX_PATH, folder);
  return std::string(folder, length) + name;
}

void Save(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// What a fault handler and the watchdog need: the input being checked and since when.
struct Current {
  const Bytes* input = nullptr;
  std::string faultPath;
  std::atomic<uint64_t> serial{0};
};
Current* g_current = nullptr;

LONG CALLBACK OnFault(EXCEPTION_POINTERS* info) {
  const DWORD code = info->ExceptionRecord->ExceptionCode;
  const bool fatal = code == EXCEPTION_ACCESS_VIOLATION || code == EXCEPTION_STACK_OVERFLOW ||
                     code == EXCEPTION_ILLEGAL_INSTRUCTION || code == EXCEPTION_INT_DIVIDE_BY_ZERO ||
                     code == EXCEPTION_ARRAY_BOUNDS_EXCEEDED || code == 0xefffffff;
  // Only kept: a fault that something handles after all costs a file write and nothing else.
  if (fatal && g_current != nullptr && g_current->input != nullptr)
    Save(g_current->faultPath, *g_current->input);
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void Mutator::MutateOnce(Bytes& bytes, const std::vector<Bytes>& corpus) {
  const uint32_t size = static_cast<uint32_t>(bytes.size());
  switch (Below(9)) {
    case 0:  // a bit flipped
      if (size > 0) bytes[Below(size)] ^= static_cast<uint8_t>(1u << Below(8));
      break;
    case 1:  // a byte set to a telling value
      if (size > 0) bytes[Below(size)] = kTelling[Below(sizeof kTelling)];
      break;
    case 2:  // a random byte
      if (size > 0) bytes[Below(size)] = static_cast<uint8_t>(random());
      break;
    case 3:  // cut off
      bytes.resize(Below(size + 1));
      break;
    case 4: {  // random bytes inserted
      const uint32_t count = 1 + Below(16);
      Bytes more(count);
      for (uint8_t& b : more) b = static_cast<uint8_t>(random());
      bytes.insert(bytes.begin() + Below(size + 1), more.begin(), more.end());
      break;
    }
    case 5: {  // a run zeroed, or set to 0xFF
      if (size == 0) break;
      const uint32_t at = Below(size);
      const uint32_t count = 1 + Below(std::min<uint32_t>(64, size - at));
      std::fill(bytes.begin() + at, bytes.begin() + at + count, Below(2) ? 0x00 : 0xFF);
      break;
    }
    case 6: {  // a range of the input copied elsewhere in it
      if (size < 2) break;
      const uint32_t from = Below(size);
      const uint32_t count = 1 + Below(std::min<uint32_t>(256, size - from));
      const Bytes piece(bytes.begin() + from, bytes.begin() + from + count);
      const uint32_t to = Below(size + 1);
      if (Below(2))
        bytes.insert(bytes.begin() + to, piece.begin(), piece.end());
      else
        std::copy(piece.begin(), piece.begin() + std::min<uint32_t>(count, size - std::min(to, size)),
                  bytes.begin() + std::min(to, size));
      break;
    }
    case 7: {  // the beginning of this input, the rest of another
      if (corpus.empty()) break;
      const Bytes& other = corpus[Below(static_cast<uint32_t>(corpus.size()))];
      const uint32_t cut = Below(size + 1);
      const uint32_t from = Below(static_cast<uint32_t>(other.size()) + 1);
      bytes.resize(cut);
      bytes.insert(bytes.end(), other.begin() + from, other.end());
      break;
    }
    default: {  // a 32-bit word set to a telling number
      if (size < 4) break;
      static const uint32_t kWords[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFF, 0x10000, 36, 24};
      uint32_t word = kWords[Below(sizeof kWords / sizeof kWords[0])];
      const uint32_t at = Below(size - 3) & ~3u;
      memcpy(&bytes[at], &word, 4);
      break;
    }
  }
}

Bytes Mutator::Mutate(const Bytes& input, const std::vector<Bytes>& corpus) {
  Bytes bytes(input);
  for (uint32_t n = 1 + Below(4); n > 0; --n) MutateOnce(bytes, corpus);
  return bytes;
}

Summary Run(const char* target, const std::vector<Bytes>& corpus, const Check& check, uint64_t defaultCount,
            uint32_t defaultSeed) {
  Summary summary;
  if (corpus.empty()) return summary;
  const uint64_t count = EnvNumber("PAGEMARK_FUZZ_COUNT", defaultCount);
  const uint32_t seed = static_cast<uint32_t>(EnvNumber("PAGEMARK_FUZZ_SEED", defaultSeed));
  const uint64_t hangMs = EnvNumber("PAGEMARK_FUZZ_HANG_MS", 10000);
  Mutator mutator(seed);

  Current current;
  current.faultPath = TempFile(std::string("fuzz-") + target + "-fault.bin");
  g_current = &current;
  void* handler = AddVectoredExceptionHandler(1, OnFault);

  // The watchdog: an input that doesn't finish in time is kept and ends the program.
  std::atomic<bool> done{false};
  std::atomic<const Bytes*> running{nullptr};
  std::thread watchdog([&] {
    uint64_t seen = current.serial.load();
    auto since = std::chrono::steady_clock::now();
    while (!done.load()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      const uint64_t now = current.serial.load();
      if (now != seen) {
        seen = now;
        since = std::chrono::steady_clock::now();
        continue;
      }
      const auto waited =
          std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - since);
      if (static_cast<uint64_t>(waited.count()) < hangMs || done.load()) continue;
      const Bytes* input = running.load();
      const std::string path = TempFile(std::string("fuzz-") + target + "-hang.bin");
      if (input != nullptr) Save(path, *input);
      printf("mutations %s: hang on input %llu (kept as %s)\n", target, static_cast<unsigned long long>(seen),
             path.c_str());
      fflush(stdout);
      TerminateProcess(GetCurrentProcess(), kHangStatus);
    }
  });

  // PAGEMARK_FUZZ_REPLAY names a kept input to run alone, once.
  Bytes replay;
  const char* replayPath = getenv("PAGEMARK_FUZZ_REPLAY");
  const bool replaying = replayPath != nullptr && *replayPath != 0;
  if (replaying) {
    std::ifstream in(replayPath, std::ios::binary);
    replay.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  const auto started = std::chrono::steady_clock::now();
  // A long run says how far it got once a minute.
  const bool longRun = getenv("PAGEMARK_FUZZ_COUNT") != nullptr;
  auto lastProgress = started;
  for (uint64_t i = 0; i < (replaying ? 1 : count); ++i) {
    if (longRun && i % 256 == 0 && i > 0) {
      const auto now = std::chrono::steady_clock::now();
      if (now - lastProgress >= std::chrono::seconds(60)) {
        lastProgress = now;
        const double seconds = std::chrono::duration<double>(now - started).count();
        printf("mutations %s: %llu of %llu inputs so far (%.0f per second), %llu wrong\n", target,
               static_cast<unsigned long long>(i), static_cast<unsigned long long>(count), i / seconds,
               static_cast<unsigned long long>(summary.wrong));
        fflush(stdout);
      }
    }
    const Bytes& base = corpus[mutator.Below(static_cast<uint32_t>(corpus.size()))];
    Bytes input = replaying ? replay : i % 10 == 0 ? base : mutator.Mutate(base, corpus);
    current.input = &input;
    running.store(&input);
    std::string why;
    const bool right = check(input, why);
    running.store(nullptr);
    current.input = nullptr;
    current.serial.fetch_add(1);
    ++summary.inputs;
    if (!right) {
      // The first wrong input is kept for a closer look.
      if (summary.wrong == 0) Save(TempFile(std::string("fuzz-") + target + "-wrong.bin"), input);
      ++summary.wrong;
      if (summary.firstWrong.size() < 5)
        summary.firstWrong.push_back("input " + std::to_string(i) + ": " + why);
    }
  }
  summary.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  done.store(true);
  watchdog.join();
  RemoveVectoredExceptionHandler(handler);
  g_current = nullptr;
  printf("mutations %s: %llu inputs in %.1f s (%.0f per second), %llu wrong\n", target,
         static_cast<unsigned long long>(summary.inputs), summary.seconds,
         summary.seconds > 0 ? summary.inputs / summary.seconds : 0.0,
         static_cast<unsigned long long>(summary.wrong));
  fflush(stdout);
  return summary;
}

}  // namespace mutation
