// The way up from the contact data to the Today item: ContactDataSource calls these on the item.
#pragma once
#include <windows.h>

class ItemListener {
 public:
  virtual ~ItemListener() {}
  virtual void ResultsChanged() = 0;
  virtual void OnListEvent2(DWORD first, DWORD second) = 0;
  virtual void OnListEvent(DWORD first, DWORD second) = 0;
  virtual void OnKeypadRebuildProgress(int step) = 0;
  virtual void OnContactGone(DWORD recordId) = 0;
  // 0 while the contact data is taken away: the popup closes and the bar ignores taps.
  virtual void EnableItem(BOOL enable) = 0;
  virtual void SetUpdatePending(BOOL pending) = 0;
};
