// MappedFile: a store that lives whole in a named shared memory mapping and is copied to a backing
// file by a low-priority background thread.
//
// The mapping always has 8 MB reserved in the page file, whatever the data's size, so its view never
// moves while it is mapped. Its name is the backing file's full path without backslashes, in upper
// case, so every process of the product that opens the same path sees the same memory; only the first
// opener reads the file. Mapping layout:
//
//   0   logical length L of the data, u32
//   4   the data, L bytes
//
// The file is an image of the mapping from offset 4, L + 4 bytes long. Just before writing, the last
// word of the data (at L - 4) is overwritten with L + 4, the file's size, so users of a MappedFile
// treat the last word of their data as lost. A file is valid when the word at file offset size - 8
// equals its size (so a file under 8 bytes never is); L is then size - 4. A save that was interrupted
// leaves a short file that fails this check.
//
// The data never grows past the mapping: a length that would leave no room for the file image's last
// word inside the 8 MB is refused, logged, and nothing changes.
//
// While the first opener copies the file in, the length word holds kLoadingLength, which no real
// length can be; a process that attaches meanwhile waits until the copy has ended. When the copy
// fails the word says kFailedLength: an attached process lets go and tries again, and copies the file
// itself once the failed opener has let go too. Making or attaching a mapping and setting its first
// word happen under a named mutex of the mapping, so that nobody reads the word of a mapping whose
// maker hasn't set it yet.
//
// OpenInBackground lets the opener go on at once with what the data's first bytes hold. When no
// process holds the mapping yet, the opener reads those bytes (and whatever else FetchSpan asks for)
// from the file into an interim buffer of its own, as large as the mapping, and a thread of its own makes the
// mapping and copies the file into it: the first write into a new mapping costs time in proportion to
// the mapping's size, and it is paid there. Until WaitLoaded, Data() is the interim buffer, which holds the
// fetched bytes at their places and zeros elsewhere; WaitLoaded waits for the copy and gives the
// mapping from then on (with the head as the opener left it), so whoever keeps Data() takes it again
// after WaitLoaded.
//
// The copy's thread is made by OpenInBackground but waits until StartLoad: making a mapping and
// filling it slows every other thread of the process meanwhile (they share the address space and the
// system's services), so the opener first judges the head undisturbed and then lets the copy go.
// WaitLoaded starts a copy that nobody started; Close drops one that never began, without making the
// mapping at all.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Handles.h"

// Called on the write-back thread with the data's address just before a background write begins.
typedef void (*BeforeSaveCallback)(BYTE* data);

// Last error of an operation refused because the data would pass the end of the mapping.
const DWORD kMappingFullError = ERROR_FILE_TOO_LARGE;

class MappedFile {
 public:
  // Bytes reserved for every mapping, and the largest logical length that fits it together with the
  // word behind the data that the file image carries.
  static constexpr uint32_t kMappingSize = 0x800000;
  static constexpr uint32_t kMaxLength = kMappingSize - 8;
  // Slice of a background write.
  static constexpr uint32_t kSliceSize = 4096;
  // Slice of a background copy that reads the file.
  static constexpr uint32_t kLoadSlice = 65536;
  // The length word while the first opener copies the file into a new mapping.
  static constexpr uint32_t kLoadingLength = 0xFFFFFFFF;
  // The length word when the first opener's copy failed; Length() says 0 then.
  static constexpr uint32_t kFailedLength = 0xFFFFFFFE;
  // How long an attaching process waits for another one's copy before it gives up.
  static constexpr DWORD kAttachWaitMs = 10000;

  MappedFile();
  virtual ~MappedFile();

  // Deletes the backing file and makes a new mapping with L = length. Fails, holding nothing, when a
  // mapping of that name exists already (last error 183) or can't be made.
  virtual BOOL Create(const wchar_t* path, uint32_t length);
  // Attaches to the mapping of `path`. A mapping that existed holds the current data: L is raised to
  // minimumLength if smaller, and that is all. A new mapping is filled from the file and L is taken
  // from it. A file that can't be opened or read whole closes the mapping and fails; a file that
  // fails the validity check fails and leaves the mapping open.
  virtual BOOL Open(const wchar_t* path, uint32_t minimumLength);
  // Open, but when no process holds the mapping only the data's first `headBytes` (and the file's
  // check word) are read before this returns, into the interim buffer; the mapping is made and filled by a
  // thread of its own. Until WaitLoaded has said true nothing behind the head may be read but what
  // FetchSpan brought in, and nothing may be written but the head. Length() is the file's length at
  // once.
  virtual BOOL OpenInBackground(const wchar_t* path, uint32_t headBytes);
  // Lets the copy of OpenInBackground begin; nothing when it has begun already or none is due.
  void StartLoad();
  // While that copy runs: reads `count` bytes of the file at data offset `offset` into the interim buffer,
  // at the same offset, so that they can be read before the copy has ended. True at once when the
  // data is the mapping's already. False when the span passes the file's end or can't be read.
  BOOL FetchSpan(uint32_t offset, uint32_t count);
  // While that copy is due or runs: maps the whole file read-only, so that reads that can't wait for
  // the copy find its bytes at their data offsets through FileView, without copying them. True at
  // once, with no view, when the data is the mapping's already. The view goes when the copy has been
  // waited for or dropped.
  BOOL ViewFile();
  // The bytes of that view and their number; null and 0 when there is none.
  const BYTE* FileView() const { return static_cast<const BYTE*>(fileView.Get()); }
  uint32_t FileViewSize() const { return fileView.IsEmpty() ? 0 : loadSize; }
  // The next Open or OpenInBackground of this object reads its data from `bytes` instead of the
  // backing file, and judges them as it judges a file (its size and check word); the data then lives
  // in a mapping of this object alone, which no other process attaches to, and OpenInBackground copies
  // all of it at once. The path is still the one that Save writes to. `bytes` must stay as they are
  // until that open, which takes them: the open after it reads the file again. For running a store
  // over many images in one process without the file system.
  void UseImage(const BYTE* bytes, uint32_t size) {
    image = bytes;
    imageSize = size;
  }
  // Waits for the copy that OpenInBackground began, and from then on Data() is the mapping. True when
  // the data is the file's whole, or when no copy was begun; false when the copy failed (the data is
  // then not the file's, or there is none).
  virtual BOOL WaitLoaded();
  // True while that copy runs or waits for StartLoad, without waiting for it.
  BOOL IsLoading() const;
  // Waits for a copy still running (one that never began is dropped) and a running write-back (at
  // raised priority), then unmaps and closes.
  virtual void Close();

  // Raises L to newLength when that is larger. False when nothing is mapped, and when newLength
  // passes kMaxLength (logged; last error kMappingFullError).
  virtual BOOL Grow(uint32_t newLength);

  // Background: starts the write-back thread, cancelling a running one first. Otherwise writes the
  // file image synchronously with one WriteFile; a short write deletes the file.
  virtual BOOL Save(BOOL background);
  // Stops a running write-back and waits until its thread has ended. The file it was writing is left
  // as far as it got.
  virtual void CancelSave();
  // Lets a running write-back finish quickly, at raised priority and without yielding, and waits
  // until its thread has ended.
  virtual void FinishSave();

  void SetBeforeSaveCallback(BeforeSaveCallback function) { beforeSave = function; }

  // The data (mapping offset 4), or null when nothing is mapped; the interim buffer while a copy of
  // OpenInBackground runs.
  BYTE* Data() const;
  // L, or 0 when nothing is mapped.
  uint32_t Length() const;
  BOOL IsMapped() const { return interim != nullptr || !view.IsEmpty(); }
  // True while a write-back thread runs.
  BOOL IsSaving() const;
  // True while CancelSave waits for the write-back to stop; the write-back thread asks it too.
  BOOL IsCancelRequested() const;
  const wchar_t* Path() const { return path; }

  // The mapping's name for a backing file: the path without backslashes, in upper case. False when
  // it doesn't fit `size` characters.
  static BOOL MappingName(const wchar_t* path, wchar_t* name, int size);
  // Says whether `fileSize` bytes whose word at size - 8 is `checkWord` make a valid image.
  static BOOL IsValidImage(uint32_t fileSize, uint32_t checkWord);

 private:
  MappedFile(const MappedFile&);
  MappedFile& operator=(const MappedFile&);

  BOOL RememberPath(const wchar_t* path);
  // Makes or attaches the mapping and its view; `existed` tells which. A new mapping's length word is
  // set to `firstWord` before any other process can look at it. False with nothing held.
  BOOL MapSection(BOOL* existed, uint32_t firstWord);
  // Maps for Open and OpenInBackground: `first` when this process made the mapping (its length word
  // says kLoadingLength) and must copy the file in; otherwise attached once another process's copy
  // has ended well. False with nothing held when no copy succeeds within kAttachWaitMs.
  BOOL MapForOpen(BOOL* first);
  void Unmap();
  void SetLength(uint32_t length);
  // Writes L + 4 into the data's last word and gives the number of bytes of the image.
  uint32_t StampImage();
  // A new mapping: opens the backing file and checks its size; false with the mapping closed when the
  // file can't be opened or is larger than the mapping.
  BOOL OpenBackingFile(KernelHandle& file, DWORD* fileSize);
  // Reads the whole backing file of `size` bytes into the mapping and judges it by its check word;
  // on failure the mapping is left empty, and a failed read is logged for `caller`.
  BOOL ReadWhole(HANDLE file, DWORD size, const wchar_t* caller);
  // Reads `count` bytes of the file from `offset` into the data at the same offset.
  static BOOL ReadSpan(HANDLE file, BYTE* data, DWORD offset, DWORD count);
  // The open of an image given by UseImage: a mapping of this object alone, cleared, then filled and
  // judged as a new mapping is from its file. Takes the image, so that later opens read the file
  // again.
  BOOL OpenImage();
  // Waits until the write-back thread has ended, then closes its handle.
  void WaitForWriteBack();

  static DWORD WINAPI WriteBackThread(void* parameter);
  BOOL WriteBack();
  static DWORD WINAPI LoadThread(void* parameter);
  // Whether a mapping of the path exists, made by any process.
  BOOL IsMappingHeld() const;
  // The background open when no process holds the mapping: reads the file's check word and head into
  // a new interim buffer and starts the copy's thread. False, with nothing held, when the file can't be
  // judged so (missing, too large, failing its check word) or the thread can't start.
  BOOL OpenWithInterim(uint32_t headBytes);
  // The copy's thread: makes or attaches the mapping and copies the file into a new one.
  BOOL LoadInBackground();
  // Copies the whole file into the mapping.
  BOOL CopyWholeFile();
  // Lets the interim buffer go, once the copy has ended: the head written meanwhile goes into the mapping.
  void DropInterim();
  // Ends a copy that was never started without letting it make the mapping, and lets its buffer go.
  void DropUnstartedLoad();

  KernelHandle mapping;
  MappedView view;
  wchar_t path[MAX_PATH];
  // The write-back thread, from its start until a wait has seen it end; empty otherwise. Only this
  // side touches the handle: the thread never closes it, so a wait on it, or a change of its
  // priority, can't race the thread's end.
  KernelHandle thread;
  // Set by this side and read by the write-back thread, both only through interlocked operations.
  LONG cancel;
  LONG hurry;
  BeforeSaveCallback beforeSave;
  // The copy of OpenInBackground: its thread until WaitLoaded has seen it end, the file it reads, the
  // file's size, the length that the data will have, whether it succeeded (and the error of a
  // failure), and whether it found the mapping made by another process. While the thread runs it
  // alone touches `mapping` and `view`; this side reads the interim buffer, its head of `interimHead` bytes
  // and `loadLength`. `loadStarted` says whether StartLoad has let the thread go; `loadDropped` that it
  // is to end at once, touching nothing (set before the thread runs, so read without a lock).
  KernelHandle loader;
  BOOL loadStarted;
  BOOL loadDropped;
  KernelHandle loadFile;
  DWORD loadSize;
  uint32_t loadLength;
  BOOL loadFailed;
  DWORD loadError;
  BOOL loadAttached;
  BYTE* interim;
  uint32_t interimHead;
  // The read-only view of the file that ViewFile made, until the copy has been waited for.
  KernelHandle fileSection;
  MappedView fileView;
  // What UseImage gave, until the open that reads it.
  const BYTE* image;
  uint32_t imageSize;
  // The mapping of those opens and its view, kept from one to the next since mapping and unmapping
  // are slow, whether the view is the one open now, and how many of its bytes the last open may have
  // written.
  KernelHandle imageSection;
  MappedView imageView;
  BOOL imageOpen;
  uint32_t imageDirty;
};
