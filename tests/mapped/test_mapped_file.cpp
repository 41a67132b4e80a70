// MappedFile in one process: the mapping and its name, the file image, opening, growth, the
// background write-back and its flags, and the files that must be refused.
#include <doctest/doctest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <vector>

#include "MappedTestSupport.h"
#include "TestRegistry.h"
#include "foundation/Settings.h"
#include "storage/mapped/MappedFile.h"
#include "storage/mapped/WriteBackProbe.h"

namespace {

// The expected file image of data: the data with its last word replaced by L + 4, and the 4 bytes
// behind it.
std::vector<uint8_t> ImageOf(const MappedFile& file) {
  uint32_t length = file.Length();
  std::vector<uint8_t> image(file.Data(), file.Data() + length + 4);
  WriteWord32(image.data(), length - 4, length + 4);
  return image;
}

std::wstring NameOf(const std::wstring& path) {
  wchar_t name[MAX_PATH];
  REQUIRE(MappedFile::MappingName(path.c_str(), name, MAX_PATH));
  return name;
}

bool MappingExists(const std::wstring& path) {
  HANDLE mapping = OpenFileMappingW(FILE_MAP_READ, FALSE, NameOf(path).c_str());
  if (mapping == nullptr) return false;
  CloseHandle(mapping);
  return true;
}

struct CleanFiles {
  std::wstring path;
  explicit CleanFiles(const std::wstring& name) : path(TempFile(name)) {
    DeleteFileW(path.c_str());
    testreg::DeleteTree(HKEY_CURRENT_USER, L"Software\\Zovrix\\PIM\\Settings");
  }
  ~CleanFiles() { DeleteFileW(path.c_str()); }
};

#ifdef PAGEMARK_TEST_HOOKS
struct ProbeGuard {
  explicit ProbeGuard(WriteBackProbeFunction probe) { SetWriteBackProbe(probe); }
  ~ProbeGuard() { SetWriteBackProbe(nullptr); }
};
#endif

}  // namespace

TEST_CASE("the mapping's name is the path without backslashes, in upper case") {
  wchar_t name[MAX_PATH];
  REQUIRE(MappedFile::MappingName(L"\\Temp\\pim_index1.dat", name, MAX_PATH));
  CHECK(std::wstring(name) == L"TEMPPIM_INDEX1.DAT");
  REQUIRE(MappedFile::MappingName(L"C:\\users\\Me\\Temp\\pim_index2.dat", name, MAX_PATH));
  CHECK(std::wstring(name) == L"C:USERSMETEMPPIM_INDEX2.DAT");
  CHECK_FALSE(MappedFile::MappingName(L"\\abcdef", name, 6));
  REQUIRE(MappedFile::MappingName(L"\\abcde", name, 6));
  CHECK(std::wstring(name) == L"ABCDE");
}

TEST_CASE("Create makes the named 8 MB mapping with L at offset 0 and deletes the old file") {
  CleanFiles files(L"create.dat");
  REQUIRE(WriteFileBytes(files.path, std::vector<uint8_t>(100, 1)));
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 1000));
  CHECK_FALSE(FileExists(files.path));
  CHECK(file.IsMapped());
  CHECK(file.Length() == 1000);
  REQUIRE(file.Data() != nullptr);
  // The same memory under the name of the rule, from another handle.
  HANDLE mapping = OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, NameOf(files.path).c_str());
  REQUIRE(mapping != nullptr);
  BYTE* view = static_cast<BYTE*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
  REQUIRE(view != nullptr);
  CHECK(ReadWord32(view, 0) == 1000);
  MEMORY_BASIC_INFORMATION info;
  REQUIRE(VirtualQuery(view, &info, sizeof info) == sizeof info);
  CHECK(info.RegionSize >= MappedFile::kMappingSize);
  view[4] = 0x77;
  CHECK(file.Data()[0] == 0x77);
  UnmapViewOfFile(view);
  CloseHandle(mapping);
  file.Close();
  CHECK_FALSE(file.IsMapped());
  CHECK(file.Data() == nullptr);
  CHECK(file.Length() == 0);
  CHECK_FALSE(MappingExists(files.path));
}

TEST_CASE("Create on a name that exists fails with 183 and leaves the other's mapping alone") {
  CleanFiles files(L"exists.dat");
  MappedFile first, second;
  REQUIRE(first.Create(files.path.c_str(), 64));
  first.Data()[0] = 0x42;
  CHECK_FALSE(second.Create(files.path.c_str(), 128));
  CHECK(GetLastError() == ERROR_ALREADY_EXISTS);
  CHECK_FALSE(second.IsMapped());
  CHECK(first.Length() == 64);
  CHECK(first.Data()[0] == 0x42);
}

TEST_CASE("Open of a missing file fails and closes the mapping") {
  CleanFiles files(L"missing.dat");
  MappedFile file;
  CHECK_FALSE(file.Open(files.path.c_str(), 0));
  CHECK_FALSE(file.IsMapped());
  CHECK_FALSE(MappingExists(files.path));
}

TEST_CASE("a synchronous save writes the image: L + 4 bytes, the last data word holding the size") {
  CleanFiles files(L"sync.dat");
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 5000));
  FillPattern(file.Data(), 5004, 7);
  std::vector<uint8_t> expected = ImageOf(file);
  REQUIRE(file.Save(FALSE));
  std::vector<uint8_t> written = ReadFileBytes(files.path);
  CHECK(written.size() == 5004);
  CHECK(written == expected);
  CHECK(ReadWord32(written.data(), 5000 - 4) == 5004);
  // The stamp is in the live data too: the last word is lost to the data's users.
  CHECK(ReadWord32(file.Data(), 5000 - 4) == 5004);
  CHECK(HasPattern(file.Data(), 5000 - 4, 7));
}

TEST_CASE("a saved image opens again in a fresh mapping byte for byte") {
  CleanFiles files(L"reopen.dat");
  std::vector<uint8_t> image;
  {
    MappedFile file;
    REQUIRE(file.Create(files.path.c_str(), 70001 * 4));
    FillPattern(file.Data(), file.Length(), 9);
    REQUIRE(file.Save(FALSE));
    image = ImageOf(file);
  }
  REQUIRE_FALSE(MappingExists(files.path));
  MappedFile file;
  REQUIRE(file.Open(files.path.c_str(), 0));
  CHECK(file.Length() == 70001 * 4);
  CHECK(std::memcmp(file.Data(), image.data(), image.size()) == 0);
}

TEST_CASE("the background save writes the same image, calls the callback first and clears the stale mark") {
  CleanFiles files(L"background.dat");
  static std::atomic<BYTE*> seenData;
  static std::atomic<DWORD> seenThread;
  seenData = nullptr;
  seenThread = 0;
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 3 * 4096 + 100));
  FillPattern(file.Data(), file.Length(), 3);
  REQUIRE(SetDirtyMark(files.path.c_str()));
  REQUIRE(IsDirtyMark(files.path.c_str()));
  file.SetBeforeSaveCallback([](BYTE* data) {
    seenData = data;
    seenThread = GetCurrentThreadId();
  });
  std::vector<uint8_t> expected = ImageOf(file);
  REQUIRE(file.Save(TRUE));
  file.FinishSave();
  CHECK_FALSE(file.IsSaving());
  CHECK(seenData.load() == file.Data());
  CHECK(seenThread.load() != 0);
  CHECK(seenThread.load() != GetCurrentThreadId());
  CHECK(ReadFileBytes(files.path) == expected);
  CHECK_FALSE(IsDirtyMark(files.path.c_str()));
  // The value is there and 0, under the file's bare name.
  DWORD mark = 7;
  CHECK(testreg::ReadDword(HKEY_CURRENT_USER, L"Software\\Zovrix\\PIM\\Settings",
                           L"pagemark_mapped_background.dat", &mark));
  CHECK(mark == 0);
}

TEST_CASE("a synchronous save leaves the stale mark set") {
  CleanFiles files(L"syncmark.dat");
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 400));
  REQUIRE(SetDirtyMark(files.path.c_str()));
  REQUIRE(file.Save(FALSE));
  CHECK(IsDirtyMark(files.path.c_str()));
}

TEST_CASE("Close waits for a running background save, which completes") {
  CleanFiles files(L"closewait.dat");
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 1 << 20));
  FillPattern(file.Data(), file.Length(), 5);
  std::vector<uint8_t> expected = ImageOf(file);
  REQUIRE(file.Save(TRUE));
  file.Close();
  CHECK(ReadFileBytes(files.path) == expected);
}

TEST_CASE(
    "the mapping's name is free once Close returns, with a background save or copy running at the time") {
  CleanFiles files(L"namefree.dat");
  for (int round = 0; round < 10; ++round) {
    CAPTURE(round);
    {
      MappedFile file;
      REQUIRE(file.Create(files.path.c_str(), 4 << 20));
      FillPattern(file.Data(), file.Length(), 9);
      REQUIRE(file.Save(TRUE));
      file.Close();
    }
    // What a rebuild does right after the process that held the files let go of them.
    MappedFile fresh;
    CHECK(fresh.Create(files.path.c_str(), 1024));
    fresh.Close();
    {
      MappedFile saved;
      REQUIRE(saved.Create(files.path.c_str(), 4 << 20));
      FillPattern(saved.Data(), saved.Length(), 10);
      REQUIRE(saved.Save(FALSE));
    }
    MappedFile loading;
    REQUIRE(loading.OpenInBackground(files.path.c_str(), 4096));
    loading.Close();
    CHECK(fresh.Create(files.path.c_str(), 1024));
    fresh.Close();
  }
}

TEST_CASE("nothing mapped: no data, no length, no growth, no save") {
  MappedFile file;
  CHECK(file.Data() == nullptr);
  CHECK(file.Length() == 0);
  CHECK_FALSE(file.Grow(100));
  CHECK(GetLastError() == ERROR_INVALID_HANDLE);
  CHECK_FALSE(file.Save(FALSE));
  CHECK_FALSE(file.Save(TRUE));
  file.CancelSave();
  file.FinishSave();
  file.Close();
}

TEST_CASE("Grow only raises L, and never past the mapping: a refusal is logged and changes nothing") {
  CleanFiles files(L"grow.dat");
  FreshProgramLog();
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 1000));
  CHECK(file.Grow(500));
  CHECK(file.Length() == 1000);
  CHECK(file.Grow(2000));
  CHECK(file.Length() == 2000);
  CHECK(ProgramLogText().empty());
  CHECK_FALSE(file.Grow(MappedFile::kMaxLength + 4));
  CHECK(GetLastError() == kMappingFullError);
  CHECK(file.Length() == 2000);
  CHECK(ProgramLogText().find("MappedFile::Grow") != std::string::npos);
  CHECK(file.Grow(MappedFile::kMaxLength));
  CHECK(file.Length() == MappedFile::kMaxLength);
  // The largest data still leaves room in the mapping for the word behind it; its image opens again.
  FillPattern(file.Data(), MappedFile::kMaxLength + 4, 12);
  std::vector<uint8_t> expected = ImageOf(file);
  REQUIRE(file.Save(FALSE));
  file.Close();
  CHECK(FileSizeOf(files.path) == MappedFile::kMappingSize - 4);
  REQUIRE(file.Open(files.path.c_str(), 0));
  CHECK(file.Length() == MappedFile::kMaxLength);
  CHECK(std::memcmp(file.Data(), expected.data(), expected.size()) == 0);
}

TEST_CASE("Create and Open refuse lengths past the mapping") {
  CleanFiles files(L"toolarge.dat");
  FreshProgramLog();
  MappedFile file;
  CHECK_FALSE(file.Create(files.path.c_str(), MappedFile::kMaxLength + 1));
  CHECK(GetLastError() == kMappingFullError);
  CHECK_FALSE(file.IsMapped());
  REQUIRE(file.Create(files.path.c_str(), 64));
  REQUIRE(file.Save(FALSE));
  file.Close();
  CHECK_FALSE(file.Open(files.path.c_str(), MappedFile::kMaxLength + 1));
  CHECK_FALSE(file.IsMapped());
  CHECK(ProgramLogText().find("MappedFile::Create") != std::string::npos);
  CHECK(ProgramLogText().find("MappedFile::Open") != std::string::npos);
}

TEST_CASE("a file larger than the mapping is refused without being read, and the mapping closed") {
  CleanFiles files(L"huge.dat");
  FreshProgramLog();
  // Valid by its check word, but 4 bytes too long for the mapping.
  std::vector<uint8_t> bytes(MappedFile::kMappingSize, 0x11);
  WriteWord32(bytes.data(), bytes.size() - 8, uint32_t(bytes.size()));
  REQUIRE(WriteFileBytes(files.path, bytes));
  MappedFile file;
  CHECK_FALSE(file.Open(files.path.c_str(), 0));
  CHECK(GetLastError() == kMappingFullError);
  CHECK_FALSE(file.IsMapped());
  CHECK_FALSE(MappingExists(files.path));
  CHECK(ProgramLogText().find("MappedFile::Open") != std::string::npos);
}

TEST_CASE("two Opens of one path share memory; the second doesn't read the file") {
  CleanFiles files(L"shared.dat");
  {
    MappedFile writer;
    REQUIRE(writer.Create(files.path.c_str(), 256));
    FillPattern(writer.Data(), 256, 1);
    REQUIRE(writer.Save(FALSE));
  }
  MappedFile first, second;
  REQUIRE(first.Open(files.path.c_str(), 0));
  first.Data()[10] = 0xAB;
  // The file now says something else entirely; the second open must not look at it.
  std::vector<uint8_t> other(64, 0x99);
  WriteWord32(other.data(), 56, 64);
  REQUIRE(WriteFileBytes(files.path, other));
  REQUIRE(second.Open(files.path.c_str(), 0));
  CHECK(second.Length() == 256);
  CHECK(second.Data()[10] == 0xAB);
  second.Data()[20] = 0xCD;
  CHECK(first.Data()[20] == 0xCD);
  // Even with no file at all.
  DeleteFileW(files.path.c_str());
  MappedFile third;
  REQUIRE(third.Open(files.path.c_str(), 1000));
  CHECK(third.Length() == 1000);
  CHECK(first.Length() == 1000);  // L lives in the shared memory
  CHECK(third.Data()[10] == 0xAB);
  // A smaller minimum leaves L alone.
  MappedFile fourth;
  REQUIRE(fourth.Open(files.path.c_str(), 10));
  CHECK(fourth.Length() == 1000);
}

TEST_CASE("Open and Create on an object that holds a mapping let go of it first") {
  CleanFiles files(L"reuse.dat");
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 128));
  REQUIRE(file.Save(FALSE));
  // Recreating through the same object works: the old mapping is closed before the new one is made.
  REQUIRE(file.Create(files.path.c_str(), 256));
  CHECK(file.Length() == 256);
  REQUIRE(file.Save(FALSE));
  REQUIRE(file.Open(files.path.c_str(), 0));  // its own mapping went away: the file is read
  CHECK(file.Length() == 256);
}

TEST_CASE("files that are too short, random, cut or flipped in their check word are refused") {
  CleanFiles files(L"refused.dat");
  std::vector<uint8_t> good;
  {
    MappedFile file;
    REQUIRE(file.Create(files.path.c_str(), 4096 + 36));
    FillPattern(file.Data(), file.Length(), 21);
    REQUIRE(file.Save(FALSE));
    good = ReadFileBytes(files.path);
  }
  REQUIRE(good.size() == 4096 + 40);
  auto refused = [&](const std::vector<uint8_t>& bytes, bool mappingStays) {
    REQUIRE(WriteFileBytes(files.path, bytes));
    MappedFile file;
    bool opened = file.Open(files.path.c_str(), 0);
    bool mapped = file.IsMapped();
    file.Close();
    CHECK_FALSE(opened);
    CHECK(mapped == mappingStays);
  };
  // Under 8 bytes there is no check word at all; nothing before the file is looked at.
  for (size_t size = 0; size < 8; ++size) {
    CAPTURE(size);
    std::vector<uint8_t> bytes(size, 0);
    if (size >= 4) WriteWord32(bytes.data(), 0, uint32_t(size));
    refused(bytes, true);
  }
  // Every cut of the good image.
  for (size_t size = 8; size < good.size(); size += (size < 200 ? 1 : 97)) {
    CAPTURE(size);
    refused(std::vector<uint8_t>(good.begin(), good.begin() + long(size)), true);
  }
  refused(std::vector<uint8_t>(good.begin(), good.end() - 1), true);
  refused(std::vector<uint8_t>(good.begin(), good.end() - 4), true);
  // Random contents of random sizes.
  std::mt19937 random(77);
  for (int round = 0; round < 40; ++round) {
    std::vector<uint8_t> bytes(8 + random() % 5000);
    for (uint8_t& b : bytes) b = uint8_t(random());
    CAPTURE(bytes.size());
    refused(bytes, true);
  }
  // Each bit of the check word flipped.
  for (int bit = 0; bit < 32; ++bit) {
    CAPTURE(bit);
    std::vector<uint8_t> bytes = good;
    bytes[bytes.size() - 8 + size_t(bit / 8)] ^= uint8_t(1u << (bit % 8));
    refused(bytes, true);
  }
  // One byte appended or the file padded: the check word moves and no longer fits.
  std::vector<uint8_t> longer = good;
  longer.push_back(0);
  refused(longer, true);
  // The good image itself opens.
  REQUIRE(WriteFileBytes(files.path, good));
  MappedFile file;
  CHECK(file.Open(files.path.c_str(), 0));
}

TEST_CASE("a path of 260 characters or more is refused") {
  std::wstring path = TempFile(std::wstring(300, L'x'));
  MappedFile file;
  CHECK_FALSE(file.Create(path.c_str(), 64));
  CHECK(GetLastError() == ERROR_FILENAME_EXCED_RANGE);
  CHECK_FALSE(file.IsMapped());
  CHECK_FALSE(file.Open(path.c_str(), 0));
  CHECK(GetLastError() == ERROR_FILENAME_EXCED_RANGE);
  CHECK_FALSE(file.IsMapped());
}

TEST_CASE("a write-back that can't create its file ends without one and leaves the stale mark") {
  std::wstring path = TempFile(L"no_such_folder\\inside.dat");
  testreg::DeleteTree(HKEY_CURRENT_USER, L"Software\\Zovrix\\PIM\\Settings");
  MappedFile file;
  REQUIRE(file.Create(path.c_str(), 512));
  REQUIRE(SetDirtyMark(path.c_str()));
  REQUIRE(file.Save(TRUE));
  file.FinishSave();
  CHECK_FALSE(file.IsSaving());
  CHECK_FALSE(FileExists(path));
  CHECK(IsDirtyMark(path.c_str()));
  CHECK_FALSE(file.Save(FALSE));
  CHECK_FALSE(FileExists(path));
}

#ifdef PAGEMARK_TEST_HOOKS

namespace {

std::vector<DWORD> g_slices;
int g_firstPriority = 0x7fff;
bool g_raisedSeen = false;
HANDLE g_atSlice = nullptr;
DWORD g_stopAt = 0;

}  // namespace

TEST_CASE("the write-back writes 4096-byte slices at the lowest priority; FinishSave raises it") {
  CleanFiles files(L"slices.dat");
  g_slices.clear();
  g_firstPriority = 0x7fff;
  g_raisedSeen = false;
  g_atSlice = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ProbeGuard probe([](MappedFile*, DWORD written) {
    g_slices.push_back(written);
    if (g_slices.size() != 1) return;
    g_firstPriority = GetThreadPriority(GetCurrentThread());
    SetEvent(g_atSlice);
    // Hold the save here until the closing side has raised the priority.
    for (int i = 0; i < 2000 && !g_raisedSeen; ++i) {
      if (GetThreadPriority(GetCurrentThread()) == THREAD_PRIORITY_ABOVE_NORMAL)
        g_raisedSeen = true;
      else
        Sleep(5);
    }
  });
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 10 * 4096 + 1000));
  FillPattern(file.Data(), file.Length(), 4);
  std::vector<uint8_t> expected = ImageOf(file);
  REQUIRE(file.Save(TRUE));
  REQUIRE(WaitForSingleObject(g_atSlice, 20000) == WAIT_OBJECT_0);
  CHECK(file.IsSaving());
  file.FinishSave();
  CloseHandle(g_atSlice);
  CHECK(g_firstPriority == THREAD_PRIORITY_LOWEST);
  CHECK(g_raisedSeen);
  std::vector<DWORD> slices;
  for (DWORD i = 1; i <= 10; ++i) slices.push_back(i * 4096);
  slices.push_back(10 * 4096 + 1004);
  CHECK(g_slices == slices);
  CHECK(ReadFileBytes(files.path) == expected);
}

TEST_CASE("a file cut short by a cancelled save fails Open; the stale mark stays") {
  CleanFiles files(L"cancelled.dat");
  g_atSlice = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  g_stopAt = 3 * 4096;
  ProbeGuard probe([](MappedFile* file, DWORD written) {
    if (written != g_stopAt) return;
    SetEvent(g_atSlice);
    // Wait until the other side asks to cancel, so that the cut lands exactly here.
    for (int i = 0; i < 4000 && !file->IsCancelRequested(); ++i) Sleep(5);
  });
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 20 * 4096));
  FillPattern(file.Data(), file.Length(), 8);
  REQUIRE(file.Save(FALSE));  // a valid image first, which the cancelled save replaces
  REQUIRE(SetDirtyMark(files.path.c_str()));
  std::vector<uint8_t> image = ImageOf(file);
  REQUIRE(file.Save(TRUE));
  REQUIRE(WaitForSingleObject(g_atSlice, 20000) == WAIT_OBJECT_0);
  file.CancelSave();
  CloseHandle(g_atSlice);
  CHECK_FALSE(file.IsSaving());
  CHECK_FALSE(file.IsCancelRequested());
  std::vector<uint8_t> cut = ReadFileBytes(files.path);
  CHECK(cut.size() == 3 * 4096);
  CHECK(std::equal(cut.begin(), cut.end(), image.begin()));
  CHECK(IsDirtyMark(files.path.c_str()));
  file.Close();
  MappedFile again;
  CHECK_FALSE(again.Open(files.path.c_str(), 0));
}

TEST_CASE("starting a save while one runs cancels the first; the second completes") {
  CleanFiles files(L"restart.dat");
  g_atSlice = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  g_stopAt = 4096;
  static int runs;
  runs = 0;
  ProbeGuard probe([](MappedFile* file, DWORD written) {
    if (written != g_stopAt) return;
    if (++runs != 1) return;
    SetEvent(g_atSlice);
    for (int i = 0; i < 4000 && !file->IsCancelRequested(); ++i) Sleep(5);
  });
  MappedFile file;
  REQUIRE(file.Create(files.path.c_str(), 8 * 4096));
  FillPattern(file.Data(), file.Length(), 10);
  REQUIRE(file.Save(TRUE));
  REQUIRE(WaitForSingleObject(g_atSlice, 20000) == WAIT_OBJECT_0);
  file.Data()[100] ^= 0xFF;  // changed after the first save began
  std::vector<uint8_t> expected = ImageOf(file);
  REQUIRE(file.Save(TRUE));
  file.FinishSave();
  CloseHandle(g_atSlice);
  CHECK(runs == 2);
  CHECK(ReadFileBytes(files.path) == expected);
}

#endif  // PAGEMARK_TEST_HOOKS
