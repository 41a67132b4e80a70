// MappedFile between processes: the image made by one process opens in another byte for byte, a
// process that attaches shares the live memory without reading the file, and a process killed in
// the middle of a background save leaves a file that the next open refuses.
#include <doctest/doctest.h>

#include <cstring>
#include <random>
#include <vector>

#include "ArenaWalk.h"
#include "MappedTestSupport.h"
#include "TestPaths.h"
#include "storage/mapped/ArenaStore.h"
#include "storage/mapped/MappedFile.h"

namespace {

std::wstring Helper() { return testpaths::BinDir() + L"mapped_helper.exe"; }

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

int RunHelper(const std::wstring& arguments) { return testpaths::RunAndWait(Helper(), arguments, 60000); }

struct ProcessFiles {
  std::wstring path, out;
  explicit ProcessFiles(const std::wstring& name) : path(TempFile(name)), out(TempFile(name + L".out")) {
    DeleteFileW(path.c_str());
    DeleteFileW(out.c_str());
  }
  ~ProcessFiles() {
    DeleteFileW(path.c_str());
    DeleteFileW(out.c_str());
  }
};

}  // namespace

TEST_CASE("a store's image saved here opens in a new process byte for byte") {
  ProcessFiles files(L"proc_image.dat");
  std::vector<uint8_t> image;
  {
    ArenaStore store(36, L"IndexStore");
    REQUIRE(store.Create(files.path.c_str(), 0));
    std::mt19937 random(17);
    std::vector<ArenaRef> refs;
    // Enough to grow the store twice.
    for (int i = 0; i < 900; ++i) {
      ArenaRef ref;
      uint32_t size = 8 + random() % 400;
      REQUIRE(store.Allocate(size, &ref));
      FillPattern(ref.Get(), size, uint32_t(i));
      refs.push_back(ref);
      if (i % 4 == 0) {
        size_t gone = random() % refs.size();
        store.FreeRef(refs[gone]);
        refs.erase(refs.begin() + long(gone));
      }
    }
    FillPattern(store.Data(), 36, 1);
    REQUIRE(store.Save(TRUE));
    store.File().FinishSave();
    image = ReadFileBytes(files.path);
    REQUIRE(image.size() == store.Length() + 4);
    // The file is the image of the live data from offset 0, the stamp included.
    CHECK(std::memcmp(image.data(), store.Data(), store.Length() + 4) == 0);
  }
  REQUIRE(RunHelper(L"dump " + Quoted(files.path) + L" " + Quoted(files.out)) == 0);
  std::vector<uint8_t> seen = ReadFileBytes(files.out);
  REQUIRE(seen.size() == image.size() + 4);
  CHECK(ReadWord32(seen.data(), 0) == image.size() - 4);
  CHECK(std::memcmp(seen.data() + 4, image.data(), image.size()) == 0);
  // The other process finds the arena whole as well.
  CHECK(RunHelper(L"store " + Quoted(files.path)) == 0);
}

TEST_CASE("an image saved by a new process opens here byte for byte") {
  ProcessFiles files(L"proc_created.dat");
  const uint32_t length = 3 * 4096 + 20;
  REQUIRE(RunHelper(L"create " + Quoted(files.path) + L" " + std::to_wstring(length) + L" 31") == 0);
  // The data, then the 4 bytes behind it, which a fresh mapping holds as zeros.
  std::vector<uint8_t> expected(length + 4, 0);
  FillPattern(expected.data(), length, 31);
  WriteWord32(expected.data(), length - 4, length + 4);
  CHECK(ReadFileBytes(files.path) == expected);
  MappedFile file;
  REQUIRE(file.Open(files.path.c_str(), 0));
  CHECK(file.Length() == length);
  CHECK(std::memcmp(file.Data(), expected.data(), length + 4) == 0);
}

TEST_CASE("a second process that opens the same path shares the memory and does not read the file") {
  ProcessFiles files(L"proc_shared.dat");
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 8192));
  FillPattern(file.Data(), 8192, 2);
  REQUIRE(file.Save(FALSE));
  // Changed after the save, and the file then deleted: only the live memory has this state.
  file.Data()[100] = 0x3C;
  std::vector<uint8_t> live(file.Data(), file.Data() + 8192 + 4);
  REQUIRE(DeleteFileW(files.path.c_str()));
  REQUIRE(RunHelper(L"dump " + Quoted(files.path) + L" " + Quoted(files.out)) == 0);
  std::vector<uint8_t> seen = ReadFileBytes(files.out);
  REQUIRE(seen.size() == 4 + 8192 + 4);
  CHECK(ReadWord32(seen.data(), 0) == 8192);
  CHECK(std::memcmp(seen.data() + 4, live.data(), live.size()) == 0);
  // What it wrote is here.
  CHECK(ReadWord32(file.Data(), 8) == 0x5EED5EED);
  CHECK_FALSE(FileExists(files.path));

  // A file with other contents is not read either, and a larger minimum raises the shared length.
  std::vector<uint8_t> other(128, 0xEE);
  WriteWord32(other.data(), 120, 128);
  REQUIRE(WriteFileBytes(files.path, other));
  DeleteFileW(files.out.c_str());
  REQUIRE(RunHelper(L"dump " + Quoted(files.path) + L" " + Quoted(files.out) + L" 10000") == 0);
  seen = ReadFileBytes(files.out);
  REQUIRE(seen.size() == 4 + 10000 + 4);
  CHECK(ReadWord32(seen.data(), 0) == 10000);
  CHECK(seen[4 + 100] == 0x3C);
  CHECK(file.Length() == 10000);
}

#ifdef PAGEMARK_TEST_HOOKS
TEST_CASE("a process killed during a background save leaves a file that the next open refuses") {
  ProcessFiles files(L"proc_killed.dat");
  const uint32_t length = 2 * 1024 * 1024;
  {
    // A valid image to begin with, which the save in the other process starts to replace.
    ArenaStore store(36, L"IndexStore");
    REQUIRE(store.Create(files.path.c_str(), length));
    ArenaRef ref;
    REQUIRE(store.Allocate(length / 2, &ref));
    FillPattern(ref.Get(), length / 2, 6);
    REQUIRE(store.Save(FALSE));
  }
  const int64_t validSize = FileSizeOf(files.path);
  REQUIRE(validSize > length);
  {
    ArenaStore check(36, L"IndexStore");
    REQUIRE(check.Open(files.path.c_str()));
  }

  // Stop points at the first slice, in the middle, and at the last slice but one.
  const DWORD stops[] = {4096, 100 * 4096, DWORD((validSize / 4096 - 1) * 4096)};
  for (DWORD stopAt : stops) {
    CAPTURE(stopAt);
    std::vector<uint8_t> before = ReadFileBytes(files.path);
    REQUIRE(int64_t(before.size()) == validSize);
    const wchar_t* eventName = L"PagemarkTestSaveKill";
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, eventName);
    REQUIRE(event != nullptr);
    std::wstring commandLine = Quoted(Helper()) + L" savekill " + Quoted(files.path) + L" " + eventName +
                               L" " + std::to_wstring(stopAt);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    REQUIRE(testpaths::StartProcess(Helper(), commandLine, FALSE, &startup, &process));
    DWORD signalled = WaitForSingleObject(event, 30000);
    DWORD exitCode = 0;
    if (signalled == WAIT_OBJECT_0) {
      // The save stands still after stopAt bytes: the kill lands in the middle of it, always.
      REQUIRE(TerminateProcess(process.hProcess, 9));
    } else {
      TerminateProcess(process.hProcess, 8);
    }
    CHECK(WaitForSingleObject(process.hProcess, 30000) == WAIT_OBJECT_0);
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    CloseHandle(event);
    REQUIRE(signalled == WAIT_OBJECT_0);
    CHECK(exitCode == 9);

    // Exactly what was written before the kill is on disk: a part of the new image.
    std::vector<uint8_t> cut = ReadFileBytes(files.path);
    CHECK(cut.size() == stopAt);
    MappedFile file;
    CHECK_FALSE(file.Open(files.path.c_str(), 0));
    file.Close();
    ArenaStore store(36, L"IndexStore");
    CHECK_FALSE(store.Open(files.path.c_str()));
    // Back to the valid image for the next round.
    REQUIRE(WriteFileBytes(files.path, before));
  }
}
#endif
