// Opening one path in several processes at once: nobody reads the length word of a mapping before its
// maker has set it, a process that finds a maker's copy failed reads the file itself once the maker has
// let go, and processes that open a store together all find it whole.
#include <doctest/doctest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "MappedTestSupport.h"
#include "TestPaths.h"
#include "storage/mapped/ArenaStore.h"
#include "storage/mapped/MappedFile.h"

namespace {

std::wstring Helper() { return testpaths::BinDir() + L"mapped_helper.exe"; }

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

// The helper run on a thread of its own, so that the test can act while it waits.
class HelperRun {
 public:
  explicit HelperRun(const std::wstring& arguments)
      : thread([this, arguments] {
          code = testpaths::RunAndWait(Helper(), arguments, 60000);
          ended = true;
        }) {}
  ~HelperRun() {
    if (thread.joinable()) thread.join();
  }
  int Wait() {
    thread.join();
    return code;
  }
  bool Ended() const { return ended; }

 private:
  std::atomic<bool> ended{false};
  int code = -1;
  std::thread thread;
};

std::wstring NameOf(const std::wstring& path) {
  wchar_t name[MAX_PATH];
  REQUIRE(MappedFile::MappingName(path.c_str(), name, MAX_PATH));
  return name;
}

// A mapping of the product's name for `path`, made by the test as another process of the product
// would make it.
struct RawMapping {
  HANDLE mapping = nullptr;
  BYTE* view = nullptr;
  explicit RawMapping(const std::wstring& path) {
    mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, MappedFile::kMappingSize,
                                 NameOf(path).c_str());
    REQUIRE(mapping != nullptr);
    REQUIRE(GetLastError() != ERROR_ALREADY_EXISTS);
    view = static_cast<BYTE*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    REQUIRE(view != nullptr);
  }
  ~RawMapping() { Release(); }
  void Release() {
    if (view) UnmapViewOfFile(view);
    if (mapping) CloseHandle(mapping);
    view = nullptr;
    mapping = nullptr;
  }
};

struct GuardFiles {
  std::wstring path, out;
  explicit GuardFiles(const std::wstring& name) : path(TempFile(name)), out(TempFile(name + L".out")) {
    DeleteFileW(path.c_str());
    DeleteFileW(out.c_str());
  }
  ~GuardFiles() {
    DeleteFileW(path.c_str());
    DeleteFileW(out.c_str());
  }
};

// A valid image of `length` bytes of pattern `seed` on disk, and nothing mapped.
std::vector<uint8_t> SavedImage(const std::wstring& path, uint32_t length, uint32_t seed) {
  MappedFile file;
  REQUIRE(file.Create(path.c_str(), length));
  FillPattern(file.Data(), length, seed);
  REQUIRE(file.Save(FALSE));
  file.Close();
  std::vector<uint8_t> image = ReadFileBytes(path);
  REQUIRE(image.size() == length + 4);
  return image;
}

}  // namespace

TEST_CASE("a process that attaches before the mapping's maker has set its length word waits for it") {
  GuardFiles files(L"guard_early.dat");
  SavedImage(files.path, 8192, 3);
  // The maker holds the opening mutex from the mapping's birth until its first word is set.
  HANDLE guard = CreateMutexW(nullptr, TRUE, (NameOf(files.path) + L".OPENING").c_str());
  REQUIRE(guard != nullptr);
  RawMapping maker(files.path);
  HelperRun helper(L"dump " + Quoted(files.path) + L" " + Quoted(files.out));
  Sleep(300);
  CHECK_FALSE(helper.Ended());
  // Now the maker's own state: a store of 4096 bytes of another pattern, not the file's.
  FillPattern(maker.view + 4, 4096, 9);
  WriteWord32(maker.view, 0, 4096);
  ReleaseMutex(guard);
  REQUIRE(helper.Wait() == 0);
  CloseHandle(guard);
  std::vector<uint8_t> seen = ReadFileBytes(files.out);
  REQUIRE(seen.size() == 4 + 4096 + 4);
  CHECK(ReadWord32(seen.data(), 0) == 4096);
  CHECK(HasPattern(seen.data() + 4, 4096, 9));
}

TEST_CASE("a process that finds the maker's copy failed reads the file itself once the maker lets go") {
  GuardFiles files(L"guard_failed.dat");
  const std::vector<uint8_t> image = SavedImage(files.path, 3 * 4096 + 20, 5);
  RawMapping failed(files.path);
  WriteWord32(failed.view, 0, MappedFile::kFailedLength);
  HelperRun helper(L"dump " + Quoted(files.path) + L" " + Quoted(files.out));
  Sleep(300);
  // Nothing of a failed copy is taken for data: the helper waits for the maker to let go.
  CHECK_FALSE(helper.Ended());
  failed.Release();
  REQUIRE(helper.Wait() == 0);
  std::vector<uint8_t> seen = ReadFileBytes(files.out);
  REQUIRE(seen.size() == 4 + image.size());
  CHECK(ReadWord32(seen.data(), 0) == image.size() - 4);
  CHECK(std::memcmp(seen.data() + 4, image.data(), image.size()) == 0);
}

TEST_CASE("a failed copy seen here reads as no data, and an open here reads the file once it is let go") {
  GuardFiles files(L"guard_failed_here.dat");
  const std::vector<uint8_t> image = SavedImage(files.path, 2 * 4096, 6);
  {
    RawMapping failed(files.path);
    WriteWord32(failed.view, 0, MappedFile::kFailedLength);
    std::thread letGo([&failed] {
      Sleep(200);
      failed.Release();
    });
    MappedFile file;
    const DWORD started = GetTickCount();
    const BOOL opened = file.Open(files.path.c_str(), 0);
    letGo.join();
    REQUIRE(opened);
    CHECK(GetTickCount() - started >= 150);
    CHECK(file.Length() == image.size() - 4);
    CHECK(std::memcmp(file.Data(), image.data(), image.size() - 4) == 0);
  }
}

TEST_CASE("processes that open one store at the same moment all find it whole") {
  GuardFiles files(L"guard_together.dat");
  {
    ArenaStore store(36, L"IndexStore");
    REQUIRE(store.Create(files.path.c_str(), 0));
    for (int i = 0; i < 200; ++i) {
      ArenaRef ref;
      REQUIRE(store.Allocate(16 + i, &ref));
      FillPattern(ref.Get(), 16 + i, uint32_t(i));
    }
    REQUIRE(store.Save(FALSE));
    store.Close();
  }
  for (int round = 0; round < 4; ++round) {
    CAPTURE(round);
    std::vector<std::unique_ptr<HelperRun>> helpers;
    for (int k = 0; k < 5; ++k) helpers.emplace_back(new HelperRun(L"store " + Quoted(files.path)));
    for (auto& helper : helpers) CHECK(helper->Wait() == 0);
  }
}
