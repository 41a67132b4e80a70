// The interfaces through which the contact manager reports: to its listener (the contact data source)
// what happened to the contacts, and to an optional progress sink how far a long pass has come.
#pragma once
#include <windows.h>
#include <windbase.h>

class ContactManagerListener {
 public:
  virtual ~ContactManagerListener() {}
  virtual void OnContactAdded(CEOID id) = 0;
  virtual void OnContactChanged(CEOID id) = 0;
  virtual void OnContactDeleted(CEOID id) = 0;
  // The index was replaced whole.
  virtual void OnReloaded() = 0;
  virtual void OnListEvent(DWORD a, DWORD b) = 0;
  // The keypad tree is being rebuilt: 0 at the start, 1 to 18 on the way, 20 at the end.
  virtual void OnKeypadRebuildProgress(int step) = 0;
  // False while the data is taken away (events queued, index closed), true when it stands again.
  virtual void SetDataReady(BOOL ready) = 0;
  // True once ten changes wait to be applied, false when they were.
  virtual void SetUpdatePending(BOOL pending) = 0;
  virtual void OnListEvent2(DWORD a, DWORD b) = 0;
};

// A progress bar for a rebuild or an inspection; the item passes none.
class IndexProgressSink {
 public:
  virtual ~IndexProgressSink() {}
  // How many steps the bar has.
  virtual int GetStepCount() = 0;
  virtual void Show() = 0;
  virtual void SetRange(int low, int high) = 0;
  virtual void SetStep(int step) = 0;
  virtual void SetText(const wchar_t* text) = 0;
  virtual void Step() = 0;
  virtual void Close() = 0;
};
