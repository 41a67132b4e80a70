// The owners of platform handles: each really gives back what it holds when it dies, gives back
// nothing it was told to let go of, and leaves the thread's last error as it found it.
#include "foundation/Handles.h"

#include <doctest/doctest.h>

#include <utility>

namespace {

// An unnamed manual-reset event, signalled, so that a wait on a live handle returns at once.
HANDLE NewEvent() {
  HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  REQUIRE(event != nullptr);
  return event;
}

// Whether `handle` still names a kernel object of this process.
bool IsLiveHandle(HANDLE handle) {
  DWORD flags = 0;
  return GetHandleInformation(handle, &flags) != FALSE;
}

bool WaitFailsAsClosed(HANDLE handle) {
  SetLastError(0);
  DWORD result = WaitForSingleObject(handle, 0);
  return result == WAIT_FAILED && GetLastError() == ERROR_INVALID_HANDLE;
}

HKEY OpenSoftwareKey() {
  HKEY key = nullptr;
  REQUIRE(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key) == ERROR_SUCCESS);
  REQUIRE(key != nullptr);
  return key;
}

LONG QueryKey(HKEY key) {
  DWORD subkeys = 0;
  return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr,
                          nullptr, nullptr, nullptr);
}

// A system library that this program has not loaded, so that its unloading can be seen.
const wchar_t* UnloadedLibraryName() {
  static const wchar_t* const kCandidates[] = {L"version.dll", L"msimg32.dll", L"mpr.dll", L"netapi32.dll"};
  for (const wchar_t* name : kCandidates) {
    if (GetModuleHandleW(name) == nullptr) return name;
  }
  return nullptr;
}

}  // namespace

TEST_CASE("a registry key is closed when its owner dies: a query on it then fails as an invalid handle") {
  HKEY raw = nullptr;
  {
    RegKey key(OpenSoftwareKey());
    raw = key.Get();
    CHECK_FALSE(key.IsEmpty());
    CHECK(QueryKey(raw) == ERROR_SUCCESS);
  }
  CHECK(QueryKey(raw) == ERROR_INVALID_HANDLE);
}

TEST_CASE("Receive frees the key held and lets an opening call write the new one") {
  RegKey key(OpenSoftwareKey());
  HKEY first = key.Get();
  // An open that fails hands out no handle that could take the freed one's value.
  CHECK(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Pagemark no such key", 0, KEY_READ, key.Receive()) ==
        ERROR_FILE_NOT_FOUND);
  CHECK(key.IsEmpty());
  CHECK(QueryKey(first) == ERROR_INVALID_HANDLE);
  REQUIRE(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, key.Receive()) == ERROR_SUCCESS);
  CHECK_FALSE(key.IsEmpty());
  CHECK(QueryKey(key.Get()) == ERROR_SUCCESS);
}

TEST_CASE("Close of a key says whether the platform closed it, with its error when it didn't") {
  RegKey key(OpenSoftwareKey());
  HKEY raw = key.Get();
  CHECK(key.Close());
  CHECK(key.IsEmpty());
  CHECK(QueryKey(raw) == ERROR_INVALID_HANDLE);
  // Nothing held: false, and the last error stays.
  SetLastError(4321);
  CHECK_FALSE(key.Close());
  CHECK(GetLastError() == 4321u);
  // A key that is already gone: false with the platform's error.
  RegKey stale(raw);
  SetLastError(0);
  CHECK_FALSE(stale.Close());
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_CASE("a kernel handle is closed when its owner dies: a wait on it then fails") {
  HANDLE raw = nullptr;
  {
    KernelHandle event(NewEvent());
    raw = event.Get();
    CHECK(WaitForSingleObject(raw, 0) == WAIT_OBJECT_0);
  }
  CHECK(WaitFailsAsClosed(raw));
  CHECK_FALSE(IsLiveHandle(raw));
}

TEST_CASE("null and INVALID_HANDLE_VALUE are both no handle") {
  KernelHandle none;
  CHECK(none.IsEmpty());
  CHECK(none.Get() == nullptr);
  KernelHandle invalid(INVALID_HANDLE_VALUE);
  CHECK(invalid.IsEmpty());
  // Kept as given, so that code which tests for INVALID_HANDLE_VALUE reads what the platform said.
  CHECK(invalid.Get() == INVALID_HANDLE_VALUE);
  SetLastError(777);
  CHECK_FALSE(invalid.Close());
  CHECK(GetLastError() == 777u);
}

TEST_CASE("a moved-from owner closes nothing; the owner moved to closes once") {
  HANDLE raw = NewEvent();
  KernelHandle target;
  {
    KernelHandle source(raw);
    target = std::move(source);
    CHECK(source.IsEmpty());
    CHECK(source.Get() == nullptr);
    CHECK(target.Get() == raw);
  }
  CHECK(IsLiveHandle(raw));
  {
    KernelHandle moved(std::move(target));
    CHECK(target.IsEmpty());
    CHECK(moved.Get() == raw);
  }
  CHECK_FALSE(IsLiveHandle(raw));
}

TEST_CASE("a move into an owner that holds a handle closes the one it held") {
  HANDLE first = NewEvent();
  HANDLE second = NewEvent();
  {
    KernelHandle owner(first);
    KernelHandle other(second);
    owner = std::move(other);
    CHECK_FALSE(IsLiveHandle(first));
    CHECK(IsLiveHandle(second));
    CHECK(owner.Get() == second);
  }
  CHECK_FALSE(IsLiveHandle(second));
}

TEST_CASE("Release gives the handle up without closing it") {
  HANDLE raw = NewEvent();
  HANDLE released = nullptr;
  {
    KernelHandle owner(raw);
    released = owner.Release();
    CHECK(owner.IsEmpty());
  }
  CHECK(released == raw);
  CHECK(IsLiveHandle(raw));
  CHECK(CloseHandle(raw));
}

TEST_CASE("Reset closes the handle held and takes the new one; the same handle again closes nothing") {
  HANDLE first = NewEvent();
  HANDLE second = NewEvent();
  KernelHandle owner(first);
  owner.Reset(first);
  CHECK(IsLiveHandle(first));
  owner.Reset(second);
  CHECK_FALSE(IsLiveHandle(first));
  CHECK(IsLiveHandle(second));
  CHECK(owner.Get() == second);
  owner.Reset();
  CHECK(owner.IsEmpty());
  CHECK_FALSE(IsLiveHandle(second));
}

TEST_CASE("the last error survives the owner's destructor, also when its close fails") {
  {
    KernelHandle event(NewEvent());
    RegKey key(OpenSoftwareKey());
    SetLastError(ERROR_FILE_NOT_FOUND);
  }
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_FILE_NOT_FOUND));

  // A handle that was closed behind the owner's back: its CloseHandle fails and sets an error of its
  // own, which the owner doesn't let through.
  HANDLE raw = NewEvent();
  REQUIRE(CloseHandle(raw));
  {
    KernelHandle stale(raw);
    SetLastError(ERROR_ACCESS_DENIED);
  }
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_ACCESS_DENIED));

  HANDLE other = NewEvent();
  KernelHandle owner(NewEvent());
  SetLastError(ERROR_HANDLE_EOF);
  owner.Reset(other);
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_HANDLE_EOF));
}

TEST_CASE("a view of a mapping is unmapped when its owner dies") {
  KernelHandle mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 65536, nullptr));
  REQUIRE_FALSE(mapping.IsEmpty());
  void* address = nullptr;
  {
    MappedView view(MapViewOfFile(mapping.Get(), FILE_MAP_WRITE, 0, 0, 0));
    REQUIRE_FALSE(view.IsEmpty());
    address = view.Get();
    static_cast<BYTE*>(address)[0] = 0x5A;
    MEMORY_BASIC_INFORMATION info = {};
    REQUIRE(VirtualQuery(address, &info, sizeof info) == sizeof info);
    CHECK(info.State == MEM_COMMIT);
  }
  MEMORY_BASIC_INFORMATION info = {};
  REQUIRE(VirtualQuery(address, &info, sizeof info) == sizeof info);
  CHECK(info.State == MEM_FREE);
}

TEST_CASE("a GDI object is deleted when its owner dies") {
  HBRUSH raw = nullptr;
  {
    GdiObject<HBRUSH> brush(CreateSolidBrush(RGB(1, 2, 3)));
    REQUIRE_FALSE(brush.IsEmpty());
    raw = brush.Get();
    CHECK(GetObjectType(raw) == static_cast<DWORD>(OBJ_BRUSH));
    // The typed handle goes straight into the drawing calls.
    LOGBRUSH described = {};
    CHECK(GetObjectW(brush.Get(), sizeof described, &described) == static_cast<int>(sizeof described));
    CHECK(described.lbColor == RGB(1, 2, 3));
  }
  CHECK(GetObjectType(raw) == 0u);
}

TEST_CASE("a library is freed when its owner dies") {
  const wchar_t* name = UnloadedLibraryName();
  REQUIRE(name != nullptr);
  {
    LoadedLibrary library(LoadLibraryW(name));
    REQUIRE_FALSE(library.IsEmpty());
    CHECK(GetModuleHandleW(name) == library.Get());
  }
  CHECK(GetModuleHandleW(name) == nullptr);
}

TEST_CASE("a local block is freed when its owner dies, and kept when released") {
  // Movable blocks are named by handles, which the platform can tell from freed ones.
  HLOCAL raw = nullptr;
  {
    LocalMemory block(LocalAlloc(LMEM_MOVEABLE, 64));
    REQUIRE_FALSE(block.IsEmpty());
    raw = block.Get();
    CHECK(LocalSize(raw) >= 64u);
    CHECK(LocalFlags(raw) != LMEM_INVALID_HANDLE);
  }
  CHECK(LocalFlags(raw) == LMEM_INVALID_HANDLE);

  HLOCAL kept = nullptr;
  {
    LocalMemory block(LocalAlloc(LMEM_MOVEABLE, 64));
    kept = block.Release();
  }
  CHECK(LocalFlags(kept) != LMEM_INVALID_HANDLE);
  CHECK(LocalFree(kept) == nullptr);
}

TEST_CASE("a window's device context is given back, once, and the last error with it stays") {
  WindowDC screen(nullptr);
  REQUIRE_FALSE(screen.IsEmpty());
  CHECK(GetDeviceCaps(screen.Get(), LOGPIXELSX) > 0);
  WindowDC moved(std::move(screen));
  CHECK(screen.IsEmpty());
  CHECK_FALSE(moved.IsEmpty());
  SetLastError(ERROR_INVALID_DATA);
  moved.Reset();
  CHECK(moved.IsEmpty());
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_INVALID_DATA));
  CHECK(moved.Take(nullptr));
  CHECK_FALSE(moved.IsEmpty());
}

TEST_CASE("LastErrorKeeper puts the error back at the end of its scope") {
  SetLastError(ERROR_SEEK);
  {
    LastErrorKeeper keep;
    CHECK(keep.Error() == static_cast<DWORD>(ERROR_SEEK));
    SetLastError(ERROR_NO_MORE_ITEMS);
  }
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_SEEK));
}
