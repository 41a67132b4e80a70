// The Today item: the window the Today host shows, its letter bar and popup, and the guarded
// start-up that keeps a crashing item from taking the Today screen down with it.
#pragma once
#include <windows.h>
#include <todaycmn.h>
#include "foundation/BaseWindow.h"
#include "foundation/Array.h"
#include "manager/datasource/ItemListener.h"
#include "today/ItemMessages.h"
#include "today/LetterBar.h"
#include "today/PopupWnd.h"
#include "phone/PhoneTemplates.h"
#include "storage/contact/HideSim.h"

enum PopupMode { PopupHidden = 0, PopupList = 1, PopupContact = 2 };

class CPimToday : public BaseWindow, public ItemListener {
 public:
  CPimToday();
  ~CPimToday() override;
  // Exported with the class; copies one byte and nothing in the program calls it.
  CPimToday& operator=(const CPimToday& other);

  // The guarded start-up: the item's window handle, or null.
  HWND Init(HWND parent, HINSTANCE hinstDLL);

  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  // ItemListener
  void ResultsChanged() override;
  void OnListEvent2(DWORD, DWORD) override {}
  void OnListEvent(DWORD, DWORD) override {}
  void OnKeypadRebuildProgress(int) override {}
  void OnContactGone(DWORD) override {}
  void EnableItem(BOOL enable) override;
  void SetUpdatePending(BOOL) override {}

  void RebuildLetterGroups();
  void SetPopupMode(int newMode);
  void RunSearch(BOOL keepSelection);
  void StartRefreshTimer();
  // A command of the bar: ids 0 to G - 1 the letter cells, G the last cell's tap, G + 1 its long press.
  void CellClicked(int id);
  // Force: hide; otherwise one step back (contact to list, list to hidden).
  void ClosePopup(BOOL force);
  // Puts the contact at (group, item) on the popup's contact page; false when it can't be read or is
  // empty.
  BOOL ShowContact(int group, int item);
  // Starts the main program (at the shown contact on the contact page).
  void OpenProgram();
  // Unless keep focus is set and when the popup shows: the page that shows gets the focus.
  void GiveFocus();
  // Where the popup stands: above the item when there is more room above, else below it.
  RECT PopupRect() const;

  // State seen from outside, for the host side and for tests.
  int GetMode() const { return mode; }
  BOOL IsManagerReady() const { return managerReady; }
  BOOL IsBarEnabled() const { return barEnabled; }
  LetterBar& GetBar() { return bar; }
  PopupWnd& GetPopup() { return popup; }
  int GetPickedCount() const { return pickedGroups.GetSize(); }
  int GetPickedGroup(int index) const { return pickedGroups[index]; }
  int GroupCount() const { return groupLetters.GetSize(); }

 private:
  LRESULT OnQueryRefreshCache(TODAYLISTITEM* item);
  void ApplyChangeFlags();
  LRESULT OnUserNavigation(WPARAM key);
  LRESULT OnAction();
  void Relayout();
  void Shutdown();
  void RemoveNewestPick();
  void ClearAllPicks();
  void Beep();

  LetterBar bar;
  PopupWnd popup;
  Array<Str> groupLetters;
  int mode;
  Array<int> pickedGroups;
  int managerReady;
  int refreshDue;
  UINT_PTR refreshTimer;
  PhoneTemplates phoneTemplates;
  int barEnabled;
  int keepFocus;
};

// The one item object of the process; made by the first InitializeCustomItem, deleted at detach.
extern CPimToday* g_pimToday;
// The library's module handle, stored when the library is attached.
extern HINSTANCE g_hModule;

extern "C" {
HWND InitializeCustomItem(TODAYLISTITEM* item, HWND parent);
BOOL IsTodayRegistered();
BOOL RegisterTodayItem();
BOOL UnRegisterTodayItem();
}

// Library detach: deletes the item object and unregisters the item's window classes.
void OnLibraryDetach();
// The five window classes of the library, in the order in which they are unregistered.
extern const wchar_t* const kItemWindowClasses[5];
