// A dialog from a template resource, bound to its object at WM_INITDIALOG. OnMessage sees every message
// first; what it leaves goes to DefaultProc.
#pragma once
#include <windows.h>
#include "foundation/FittedWindow.h"

class BaseDialog : public FittedWindow {
 public:
  explicit BaseDialog(UINT templateId = 0);
  ~BaseDialog() override;
  virtual INT_PTR DoModal(HWND parent);
  virtual HWND CreateModeless(HWND parent, BOOL show);
  virtual LRESULT DefaultProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  virtual BOOL OnMessage(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result);

  // Gives the dialog a new shell menu bar in place of the old one: the bar `barId` of this module, or
  // an empty bar for 0. False with the platform's last error when the shell makes none; menuBar is 0
  // then.
  bool CreateMenuBar(UINT barId);
  // The dialog takes the title text of its top-most ancestor.
  void InheritTitle();
  void Destroy();
  HWND GetMenuBar() const { return menuBar; }

  static INT_PTR CALLBACK SharedProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  // The module whose resources hold the templates: the one this code is linked into.
  static HINSTANCE ResourceModule();

 protected:
  HWND menuBar;
  UINT templateId;
};
