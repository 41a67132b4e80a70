// Opening with the copy of the file in the background: the head at once, the rest behind WaitLoaded,
// attaching processes that wait for the copy, and an arena store judged only by its size word until
// its walk.
#include <doctest/doctest.h>

#include <cstring>

#include "MappedTestSupport.h"
#include "storage/mapped/ArenaStore.h"
#include "storage/mapped/MappedFile.h"

namespace {

const uint32_t kLength = 3 * 1024 * 1024 + 44;

// A saved file of `length` bytes of data in the pattern of `seed`; gives the data.
std::vector<uint8_t> SavedFile(const std::wstring& path, uint32_t length, uint32_t seed) {
  MappedFile file;
  REQUIRE(file.Create(path.c_str(), length));
  FillPattern(file.Data(), length, seed);
  REQUIRE(file.Save(FALSE));
  return std::vector<uint8_t>(file.Data(), file.Data() + length);
}

}  // namespace

TEST_CASE("a background open gives the head and the length at once and the whole file after WaitLoaded") {
  const std::wstring path = TempFile(L"background.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 3);
  MappedFile file;
  REQUIRE(file.OpenInBackground(path.c_str(), 4096));
  CHECK(file.Length() == kLength);
  CHECK(std::memcmp(file.Data(), data.data(), 4096) == 0);
  CHECK(file.WaitLoaded());
  CHECK_FALSE(file.IsLoading());
  CHECK(file.Length() == kLength);
  // The last word holds the saved size word; all before it is the data.
  CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
  // Another object attaches to the same memory without reading the file.
  MappedFile other;
  REQUIRE(other.Open(path.c_str(), 0));
  CHECK(other.Length() == kLength);
  CHECK(other.Data()[kLength / 2] == data[kLength / 2]);
  file.Close();
  other.Close();
  DeleteFileW(path.c_str());
}

TEST_CASE("an object that attaches while the copy runs waits for it and sees the whole file") {
  const std::wstring path = TempFile(L"attach_loading.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 5);
  for (int round = 0; round < 5; ++round) {
    CAPTURE(round);
    MappedFile loader;
    REQUIRE(loader.OpenInBackground(path.c_str(), 4096));
    MappedFile attached;
    REQUIRE(attached.Open(path.c_str(), 0));
    CHECK(attached.Length() == kLength);
    CHECK(std::memcmp(attached.Data(), data.data(), kLength - 4) == 0);
    // The loader closes first: what stays mapped is still the whole file.
    loader.Close();
    CHECK(std::memcmp(attached.Data(), data.data(), kLength - 4) == 0);
  }
  DeleteFileW(path.c_str());
}

TEST_CASE("a background open refuses what Open refuses: a missing file, a wrong check word, a cut file") {
  const std::wstring path = TempFile(L"background_bad.dat");
  DeleteFileW(path.c_str());
  MappedFile file;
  CHECK_FALSE(file.OpenInBackground(path.c_str(), 4096));
  CHECK_FALSE(file.IsMapped());
  SavedFile(path, kLength, 7);
  std::vector<uint8_t> bytes = ReadFileBytes(path);
  REQUIRE(bytes.size() == kLength + 4);
  std::vector<uint8_t> flipped = bytes;
  flipped[flipped.size() - 8] ^= 1;
  REQUIRE(WriteFileBytes(path, flipped));
  CHECK_FALSE(file.OpenInBackground(path.c_str(), 4096));
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  file.Close();
  std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + bytes.size() / 2);
  REQUIRE(WriteFileBytes(path, cut));
  CHECK_FALSE(file.OpenInBackground(path.c_str(), 4096));
  file.Close();
  // A save of a whole copy writes the same image back.
  REQUIRE(WriteFileBytes(path, bytes));
  REQUIRE(file.OpenInBackground(path.c_str(), 4096));
  REQUIRE(file.Save(FALSE));
  file.Close();
  CHECK(ReadFileBytes(path) == bytes);
  DeleteFileW(path.c_str());
}

namespace {

class SmallStore : public ArenaStore {
 public:
  SmallStore() : ArenaStore(16, L"SmallStore") {}
};

}  // namespace

TEST_CASE("a deferred arena store is judged by its size word; its walk finds a broken block tag") {
  const std::wstring path = TempFile(L"deferred_arena.dat");
  DeleteFileW(path.c_str());
  uint32_t blockAt = 0;
  {
    SmallStore store;
    REQUIRE(store.Create(path.c_str(), 200000));
    ArenaRef a, b;
    REQUIRE(store.Allocate(64, &a));
    REQUIRE(store.Allocate(100000, &b));
    blockAt = b.offset - 4;  // b's size word
    REQUIRE(store.Save(FALSE));
  }
  {
    SmallStore store;
    REQUIRE(store.OpenDeferred(path.c_str(), 4096));
    REQUIRE(store.WaitLoaded());
    CHECK(store.VerifyArena());
  }
  // The size word of a block no longer matches its trailing tag.
  std::vector<uint8_t> bytes = ReadFileBytes(path);
  WriteWord32(bytes.data(), blockAt, ReadWord32(bytes.data(), blockAt) + 4);
  REQUIRE(WriteFileBytes(path, bytes));
  {
    SmallStore store;
    CHECK_FALSE(store.Open(path.c_str()));
    REQUIRE(store.OpenDeferred(path.c_str(), 4096));
    REQUIRE(store.WaitLoaded());
    CHECK_FALSE(store.VerifyArena());
  }
  // An arena size word that doesn't fill the data is refused at once.
  bytes = ReadFileBytes(path);
  WriteWord32(bytes.data(), 16, ReadWord32(bytes.data(), 16) + 8);
  REQUIRE(WriteFileBytes(path, bytes));
  {
    SmallStore store;
    CHECK_FALSE(store.OpenDeferred(path.c_str(), 4096));
    CHECK(GetLastError() == ERROR_INVALID_DATA);
  }
  DeleteFileW(path.c_str());
}

TEST_CASE(
    "before WaitLoaded a background open reads spans of the file in at their places; none past the end") {
  const std::wstring path = TempFile(L"background_fetch.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 11);
  MappedFile file;
  REQUIRE(file.OpenInBackground(path.c_str(), 4096));
  const uint32_t middle = kLength / 2 + 3;
  REQUIRE(file.FetchSpan(middle, 40));
  CHECK(std::memcmp(file.Data() + middle, data.data() + middle, 40) == 0);
  // The last bytes of the file are the image's size word, behind the data.
  CHECK(file.FetchSpan(kLength - 36, 40));
  CHECK_FALSE(file.FetchSpan(kLength - 36, 41));
  CHECK_FALSE(file.FetchSpan(kLength + 8, 1));
  REQUIRE(file.WaitLoaded());
  CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
  // Once whole, the data is there already.
  CHECK(file.FetchSpan(middle, 40));
  file.Close();
  DeleteFileW(path.c_str());
}

TEST_CASE(
    "before WaitLoaded a view shows the whole file at its places, without filling the data; it goes "
    "with the copy") {
  const std::wstring path = TempFile(L"background_view.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 19);
  {
    MappedFile file;
    REQUIRE(file.OpenInBackground(path.c_str(), 4096));
    CHECK(file.FileView() == nullptr);
    CHECK(file.FileViewSize() == 0u);
    REQUIRE(file.ViewFile());
    const BYTE* view = file.FileView();
    REQUIRE(view != nullptr);
    // The data and the image's size word behind it.
    CHECK(file.FileViewSize() == kLength + 4);
    CHECK(std::memcmp(view, data.data(), kLength - 4) == 0);
    // Asked again, the same view.
    REQUIRE(file.ViewFile());
    CHECK(file.FileView() == view);
    // The data behind the head is still the copy's to fill: nothing was copied into it.
    const uint32_t middle = kLength / 2;
    std::vector<uint8_t> zeros(64, 0);
    REQUIRE(std::memcmp(data.data() + middle, zeros.data(), zeros.size()) != 0);
    CHECK(std::memcmp(file.Data() + middle, zeros.data(), zeros.size()) == 0);
    REQUIRE(file.WaitLoaded());
    CHECK(file.FileView() == nullptr);
    CHECK(file.FileViewSize() == 0u);
    CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
    // Once whole, the data is all there is.
    CHECK(file.ViewFile());
    CHECK(file.FileView() == nullptr);
  }
  {
    // A copy that never began takes its view with it.
    MappedFile file;
    REQUIRE(file.OpenInBackground(path.c_str(), 4096));
    REQUIRE(file.ViewFile());
    file.Close();
    CHECK(file.FileView() == nullptr);
  }
  {
    // The mapping that another object holds is the data at once: no view.
    MappedFile holder;
    REQUIRE(holder.Open(path.c_str(), 0));
    MappedFile file;
    REQUIRE(file.OpenInBackground(path.c_str(), 4096));
    CHECK(file.ViewFile());
    CHECK(file.FileView() == nullptr);
    file.Close();
    holder.Close();
  }
  DeleteFileW(path.c_str());
}

TEST_CASE("the head written before WaitLoaded is the mapping's afterwards, for every process and the save") {
  const std::wstring path = TempFile(L"background_head.dat");
  DeleteFileW(path.c_str());
  std::vector<uint8_t> data = SavedFile(path, kLength, 13);
  MappedFile file;
  REQUIRE(file.OpenInBackground(path.c_str(), 4096));
  file.Data()[100] = static_cast<BYTE>(data[100] ^ 0x5A);
  data[100] ^= 0x5A;
  REQUIRE(file.WaitLoaded());
  CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
  MappedFile other;
  REQUIRE(other.Open(path.c_str(), 0));
  CHECK(other.Data()[100] == data[100]);
  other.Close();
  REQUIRE(file.Save(FALSE));
  file.Close();
  const std::vector<uint8_t> saved = ReadFileBytes(path);
  REQUIRE(saved.size() == kLength + 4);
  CHECK(saved[100] == data[100]);
  DeleteFileW(path.c_str());
}

TEST_CASE("a background open of a file whose mapping another object holds takes the live data at once") {
  const std::wstring path = TempFile(L"background_live.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 17);
  MappedFile holder;
  REQUIRE(holder.Open(path.c_str(), 0));
  holder.Data()[kLength / 2] = static_cast<BYTE>(data[kLength / 2] ^ 0xFF);
  MappedFile file;
  REQUIRE(file.OpenInBackground(path.c_str(), 4096));
  CHECK_FALSE(file.IsLoading());
  REQUIRE(file.Data() != nullptr);
  CHECK(file.Data()[kLength / 2] == static_cast<BYTE>(data[kLength / 2] ^ 0xFF));
  CHECK(file.WaitLoaded());
  file.Close();
  holder.Close();
  DeleteFileW(path.c_str());
}

namespace {

// Whether any process holds a mapping of `path`.
bool MappingExists(const std::wstring& path) {
  wchar_t name[MAX_PATH];
  REQUIRE(MappedFile::MappingName(path.c_str(), name, MAX_PATH));
  HANDLE held = OpenFileMappingW(FILE_MAP_READ, FALSE, name);
  if (held == nullptr) return false;
  CloseHandle(held);
  return true;
}

}  // namespace

TEST_CASE("the copy of a background open waits for StartLoad, then makes the mapping and fills it") {
  const std::wstring path = TempFile(L"background_start.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 19);
  MappedFile file;
  REQUIRE(file.OpenInBackground(path.c_str(), 4096));
  // Time enough for a copy that had begun to make its mapping: none was made.
  Sleep(100);
  CHECK(file.IsLoading());
  CHECK_FALSE(MappingExists(path));
  CHECK(std::memcmp(file.Data(), data.data(), 4096) == 0);
  file.StartLoad();
  // A second start changes nothing.
  file.StartLoad();
  const DWORD start = GetTickCount();
  while (file.IsLoading() && GetTickCount() - start < 10000) Sleep(5);
  // It ended on its own, nobody waited for it.
  CHECK_FALSE(file.IsLoading());
  CHECK(MappingExists(path));
  REQUIRE(file.WaitLoaded());
  CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
  file.StartLoad();
  file.Close();
  CHECK_FALSE(MappingExists(path));
  DeleteFileW(path.c_str());
}

TEST_CASE("WaitLoaded begins a copy that nobody started; Close drops one that never began") {
  const std::wstring path = TempFile(L"background_unstarted.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 23);
  SUBCASE("WaitLoaded") {
    MappedFile file;
    REQUIRE(file.OpenInBackground(path.c_str(), 4096));
    REQUIRE(file.WaitLoaded());
    CHECK_FALSE(file.IsLoading());
    CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
    CHECK(MappingExists(path));
  }
  SUBCASE("Close") {
    MappedFile file;
    REQUIRE(file.OpenInBackground(path.c_str(), 4096));
    // A change of the head that no copy took in goes with the buffer.
    file.Data()[100] = static_cast<BYTE>(data[100] ^ 0x5A);
    file.Close();
    CHECK(file.Data() == nullptr);
    CHECK(file.Length() == 0);
    CHECK_FALSE(file.IsLoading());
    CHECK_FALSE(MappingExists(path));
    // The file is as it was, and opens as before; so does the same object.
    MappedFile other;
    REQUIRE(other.Open(path.c_str(), 0));
    CHECK(std::memcmp(other.Data(), data.data(), kLength - 4) == 0);
    other.Close();
    REQUIRE(file.OpenInBackground(path.c_str(), 4096));
    REQUIRE(file.WaitLoaded());
    CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
    file.Close();
  }
  SUBCASE("a start without a copy") {
    MappedFile file;
    REQUIRE(file.Open(path.c_str(), 0));
    file.StartLoad();
    CHECK_FALSE(file.IsLoading());
    CHECK(file.WaitLoaded());
    CHECK(std::memcmp(file.Data(), data.data(), kLength - 4) == 0);
  }
  DeleteFileW(path.c_str());
}

TEST_CASE(
    "an object that opens the file while another's copy waits to begin reads it; the copy then attaches") {
  const std::wstring path = TempFile(L"background_waiting.dat");
  DeleteFileW(path.c_str());
  const std::vector<uint8_t> data = SavedFile(path, kLength, 29);
  MappedFile waiting;
  REQUIRE(waiting.OpenInBackground(path.c_str(), 4096));
  MappedFile opener;
  REQUIRE(opener.Open(path.c_str(), 0));
  CHECK(std::memcmp(opener.Data(), data.data(), kLength - 4) == 0);
  // The live data changes behind the head; the waiting copy takes the mapping as it is.
  opener.Data()[kLength / 2] = static_cast<BYTE>(data[kLength / 2] ^ 0xFF);
  waiting.StartLoad();
  REQUIRE(waiting.WaitLoaded());
  CHECK(waiting.Data()[kLength / 2] == static_cast<BYTE>(data[kLength / 2] ^ 0xFF));
  CHECK(std::memcmp(waiting.Data(), data.data(), 4096) == 0);
  waiting.Close();
  opener.Close();
  DeleteFileW(path.c_str());
}
