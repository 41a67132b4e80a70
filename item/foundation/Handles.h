// Owners of the platform's handles. Each owner holds one handle (a registry key, a kernel object, a
// view of a mapping, a GDI object, a window's device context, a loaded library or a block of local
// memory) and gives it back to the platform when it dies, so that no way out of a function leaks one.
// An owner can't be copied; it can be moved, which leaves the source empty.
//
// Freeing keeps the calling thread's last error: a function that fails and sets its error can let its
// owners die on the way out, and the caller still reads the error the function meant to leave. Close()
// is the one way to learn whether the platform really freed the handle.
#pragma once

#include <windows.h>

// Keeps the calling thread's last error for the length of a scope and puts it back at the end.
class LastErrorKeeper {
 public:
  LastErrorKeeper() : error(GetLastError()) {}
  ~LastErrorKeeper() { SetLastError(error); }
  DWORD Error() const { return error; }

 private:
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

  DWORD error;
};

// The kinds of handle: the type, the value that stands for none, what counts as none, and the call
// that frees one (true when freed, else false with the platform's last error).

struct RegKeyKind {
  typedef HKEY Type;
  static Type None() { return nullptr; }
  static bool IsNone(Type key) { return key == nullptr; }
  static bool Free(Type key) {
    LONG result = RegCloseKey(key);
    if (result == ERROR_SUCCESS) return true;
    SetLastError(static_cast<DWORD>(result));
    return false;
  }
};

// Kernel objects: files, mappings, threads, events, mutexes, and the object store's handles. The
// platform answers a failed open with null or with INVALID_HANDLE_VALUE, depending on the call; both
// mean no handle.
struct KernelHandleKind {
  typedef HANDLE Type;
  static Type None() { return nullptr; }
  static bool IsNone(Type handle) { return handle == nullptr || handle == INVALID_HANDLE_VALUE; }
  static bool Free(Type handle) { return CloseHandle(handle) != FALSE; }
};

struct MappedViewKind {
  typedef void* Type;
  static Type None() { return nullptr; }
  static bool IsNone(Type view) { return view == nullptr; }
  static bool Free(Type view) { return UnmapViewOfFile(view) != FALSE; }
};

// Pens, brushes, fonts, bitmaps and regions; T is the handle's own type, so that it goes into the
// drawing calls without a cast.
template <class T>
struct GdiObjectKind {
  typedef T Type;
  static Type None() { return nullptr; }
  static bool IsNone(Type object) { return object == nullptr; }
  static bool Free(Type object) {
    if (DeleteObject(object)) return true;
    // The platform sets no error of its own here.
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
};

struct LibraryKind {
  typedef HMODULE Type;
  static Type None() { return nullptr; }
  static bool IsNone(Type library) { return library == nullptr; }
  static bool Free(Type library) { return FreeLibrary(library) != FALSE; }
};

// A block from LocalAlloc, or one that the platform allocated for the caller to give back.
struct LocalMemoryKind {
  typedef void* Type;
  static Type None() { return nullptr; }
  static bool IsNone(Type block) { return block == nullptr; }
  static bool Free(Type block) { return LocalFree(block) == nullptr; }
};

template <class Kind>
class HandleOwner {
 public:
  typedef typename Kind::Type Type;

  HandleOwner() : handle(Kind::None()) {}
  // Takes `owned`, which may be none.
  explicit HandleOwner(Type owned) : handle(owned) {}
  HandleOwner(HandleOwner&& other) : handle(other.Release()) {}
  HandleOwner& operator=(HandleOwner&& other) {
    if (this != &other) Reset(other.Release());
    return *this;
  }
  ~HandleOwner() { Reset(); }

  // The handle as it was given, also when it stands for none (null or INVALID_HANDLE_VALUE).
  Type Get() const { return handle; }
  bool IsEmpty() const { return Kind::IsNone(handle); }

  // Gives the handle up without freeing it; the owner is empty afterwards.
  Type Release() {
    Type owned = handle;
    handle = Kind::None();
    return owned;
  }
  // Frees the handle held, keeping the last error, and takes `owned` in its place. Taking the very
  // handle already held frees nothing.
  void Reset(Type owned = Kind::None()) {
    Type old = handle;
    handle = owned;
    if (Kind::IsNone(old) || old == owned) return;
    LastErrorKeeper keep;
    Kind::Free(old);
  }
  // Frees the handle held now. True when the platform freed it; false with the platform's last
  // error when it refused, and false with the last error untouched when nothing was held.
  bool Close() {
    if (Kind::IsNone(handle)) return false;
    return Kind::Free(Release());
  }
  // Frees the handle held and gives the address of the empty slot, for a call that hands out a new
  // handle through a pointer.
  Type* Receive() {
    Reset();
    return &handle;
  }

 private:
  HandleOwner(const HandleOwner&) = delete;
  HandleOwner& operator=(const HandleOwner&) = delete;

  Type handle;
};

typedef HandleOwner<RegKeyKind> RegKey;
typedef HandleOwner<KernelHandleKind> KernelHandle;
typedef HandleOwner<MappedViewKind> MappedView;
typedef HandleOwner<LibraryKind> LoadedLibrary;
typedef HandleOwner<LocalMemoryKind> LocalMemory;
template <class T = HGDIOBJ>
using GdiObject = HandleOwner<GdiObjectKind<T>>;

// A device context taken with GetDC, given back with ReleaseDC to the window it came from.
class WindowDC {
 public:
  WindowDC() : window(nullptr), dc(nullptr) {}
  // The context of `window` (null: the screen); empty when the platform gives none.
  explicit WindowDC(HWND from) : window(from), dc(GetDC(from)) {}
  WindowDC(WindowDC&& other) : window(other.window), dc(other.dc) { other.dc = nullptr; }
  WindowDC& operator=(WindowDC&& other) {
    if (this != &other) {
      Reset();
      window = other.window;
      dc = other.dc;
      other.dc = nullptr;
    }
    return *this;
  }
  ~WindowDC() { Reset(); }

  HDC Get() const { return dc; }
  HWND Window() const { return window; }
  bool IsEmpty() const { return dc == nullptr; }

  // Gives the context back, keeping the last error; the owner is empty afterwards.
  void Reset() {
    HDC old = dc;
    dc = nullptr;
    if (old == nullptr) return;
    LastErrorKeeper keep;
    ReleaseDC(window, old);
  }
  // Gives the context held back and takes that of `from`. True when the platform gave one.
  bool Take(HWND from) {
    Reset();
    window = from;
    dc = GetDC(from);
    return dc != nullptr;
  }

 private:
  WindowDC(const WindowDC&) = delete;
  WindowDC& operator=(const WindowDC&) = delete;

  HWND window;
  HDC dc;
};
