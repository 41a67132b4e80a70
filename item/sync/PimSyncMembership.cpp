// PimSync: who takes part, and who is master. The window words 0 to 9 of the record are the whole
// membership: word 0 the master, then the slaves without gaps.
#include "sync/PimSync.h"

#include "sync/PimSyncLock.h"
#include "sync/PimSyncMessages.h"

namespace {

// The word that holds `window` among `first` to 9, or -1.
int FindWindowWord(const uint32_t* words, uint32_t window, int first) {
  for (int i = first; i < kPimSyncWindowWords && words[i] != 0; ++i) {
    if (words[i] == window) return i;
  }
  return -1;
}

int FirstFreeWord(const uint32_t* words) {
  for (int i = 0; i < kPimSyncWindowWords; ++i) {
    if (words[i] == 0) return i;
  }
  return -1;
}

// Clears word `index` and moves the windows behind it down by one, up to the first 0.
void RemoveWindowWord(uint32_t* words, int index) {
  int i = index;
  while (i + 1 < kPimSyncWindowWords && words[i + 1] != 0) {
    words[i] = words[i + 1];
    ++i;
  }
  words[i] = 0;
}

}  // namespace

void PimSync::Sweep() {
  if (!ready) return;
  uint32_t before = 0;
  uint32_t after = 0;
  {
    PimSyncLock lock(mutex.Get());
    uint32_t* words = record->words;
    before = words[kPimSyncMasterWord];
    // The index moves on after a removal, so a dead window that moved into the current word stays
    // until the next sweep.
    for (int i = 0; i < kPimSyncWindowWords; ++i) {
      if (words[i] == 0) break;
      if (!IsWindow(PimSyncWindow(words[i]))) RemoveWindowWord(words, i);
    }
    after = words[kPimSyncMasterWord];
  }
  if (after != 0 && after != before) {
    // The master died and a slave moved into its place.
    SlaveStop();
    SendMessageW(PimSyncWindow(after), g_pimSyncMessages.changeToMaster, 0, 0);
    SlaveReload();
  }
}

BOOL PimSync::Register(HWND window) {
  if (!ready) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  if (window == nullptr) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  Sweep();
  myWindow = window;
  uint32_t word = PimSyncWord(window);
  int index = -1;
  {
    PimSyncLock lock(mutex.Get());
    // A window registered twice keeps its place.
    index = FindWindowWord(record->words, word, 0);
    if (index < 0) {
      index = FirstFreeWord(record->words);
      if (index >= 0) record->words[index] = word;
    }
  }
  if (index < 0) {
    isMaster = FALSE;
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return FALSE;
  }
  isMaster = index == kPimSyncMasterWord;
  return TRUE;
}

BOOL PimSync::Unregister(HWND /*window: the one given to Register*/) {
  if (!ready) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  if (myWindow == nullptr) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  Sweep();
  bool found = false;
  uint32_t master = 0;
  {
    PimSyncLock lock(mutex.Get());
    int index = FindWindowWord(record->words, PimSyncWord(myWindow), 0);
    if (index >= 0) {
      RemoveWindowWord(record->words, index);
      found = true;
    }
    master = record->words[kPimSyncMasterWord];
  }
  myWindow = nullptr;
  if (!found) {
    SetLastError(ERROR_NOT_FOUND);
    return FALSE;
  }
  if (isMaster && master != 0) {
    // The first slave moved up: it is master now. The master flag of this process stays, so the
    // remaining slaves hear from it once more.
    SlaveStop();
    SendMessageW(PimSyncWindow(master), g_pimSyncMessages.changeToMaster, 0, 0);
    SlaveReload();
  }
  return TRUE;
}

BOOL PimSync::ChangeToMaster(HWND window) {
  if (!ready) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  if (window == nullptr || window != myWindow) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  if (isMaster) return TRUE;
  uint32_t word = PimSyncWord(myWindow);
  uint32_t oldMaster = 0;
  int index = -1;
  {
    PimSyncLock lock(mutex.Get());
    uint32_t* words = record->words;
    index = FindWindowWord(words, word, 0);
    if (index > 0) {
      oldMaster = words[kPimSyncMasterWord];
      words[kPimSyncMasterWord] = word;
      words[index] = oldMaster;
    }
  }
  // A window that isn't in the record can't become master: word 0 alone makes the master.
  if (index < 0) {
    SetLastError(ERROR_NOT_FOUND);
    return FALSE;
  }
  isMaster = TRUE;
  if (oldMaster != 0) SendMessageW(PimSyncWindow(oldMaster), g_pimSyncMessages.changeToSlave, 0, 0);
  SlaveStop();
  SendMessageW(myWindow, g_pimSyncMessages.changeToMaster, 0, 0);
  SlaveReload();
  return TRUE;
}
