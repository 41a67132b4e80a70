#include "foundation/BaseDialog.h"
#include <aygshell.h>
#include <stddef.h>

BaseDialog::BaseDialog(UINT id) : menuBar(nullptr), templateId(id) {}

BaseDialog::~BaseDialog() {}

HINSTANCE BaseDialog::ResourceModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&BaseDialog::ResourceModule), &module);
  return module;
}

static const DLGTEMPLATE* FindTemplate(UINT id) {
  HINSTANCE module = BaseDialog::ResourceModule();
  HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(5));
  if (!found) return nullptr;
  HGLOBAL loaded = LoadResource(module, found);
  return loaded ? static_cast<const DLGTEMPLATE*>(LockResource(loaded)) : nullptr;
}

INT_PTR BaseDialog::DoModal(HWND parent) {
  const DLGTEMPLATE* dialog = FindTemplate(templateId);
  if (!dialog) return -1;
  return DialogBoxIndirectParamW(ResourceModule(), dialog, parent, SharedProc,
                                 reinterpret_cast<LPARAM>(this));
}

HWND BaseDialog::CreateModeless(HWND parent, BOOL show) {
  const DLGTEMPLATE* dialog = FindTemplate(templateId);
  if (!dialog) return nullptr;
  HWND window = CreateDialogIndirectParamW(ResourceModule(), dialog, parent, SharedProc,
                                           reinterpret_cast<LPARAM>(this));
  if (!window) return nullptr;
  if (show) {
    ShowWindow(window, SW_SHOW);
    UpdateWindow(window);
  }
  return window;
}

LRESULT BaseDialog::DefaultProc(HWND, UINT, WPARAM, LPARAM) { return 0; }

BOOL BaseDialog::OnMessage(HWND, UINT, WPARAM, LPARAM, LRESULT&) { return FALSE; }

bool BaseDialog::CreateMenuBar(UINT barId) {
  if (menuBar) {
    DestroyWindow(menuBar);
    menuBar = nullptr;
  }
  if (!hwnd) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return false;
  }
  SHMENUBARINFO info = {};
  info.cbSize = offsetof(SHMENUBARINFO, clrBk);  // a bar in the shell's own colour
  info.hwndParent = hwnd;
  info.dwFlags = barId == 0 ? SHCMBF_EMPTYBAR : 0;
  info.nToolBarId = barId;
  info.hInstRes = ResourceModule();
  if (!SHCreateMenuBar(&info)) return false;
  menuBar = info.hwndMB;
  return true;
}

void BaseDialog::InheritTitle() {
  if (!hwnd) return;
  HWND top = GetAncestor(hwnd, GA_ROOTOWNER);
  if (!top || top == hwnd) return;
  wchar_t title[256];
  GetWindowTextW(top, title, 256);
  SetWindowTextW(hwnd, title);
}

void BaseDialog::Destroy() {
  if (hwnd) DestroyWindow(hwnd);
}

INT_PTR CALLBACK BaseDialog::SharedProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  BaseDialog* self = reinterpret_cast<BaseDialog*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) {
    // Nothing reaches the object before WM_INITDIALOG.
    if (message != WM_INITDIALOG) return 0;
    self = reinterpret_cast<BaseDialog*>(lParam);
    if (!self) return 0;
    self->hwnd = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  if (message == WM_DESTROY) {
    // The menu bar goes first; the dialog still sees its WM_DESTROY, and then lets go of the window.
    if (self->menuBar) {
      DestroyWindow(self->menuBar);
      self->menuBar = nullptr;
    }
    LRESULT result = 0;
    if (!self->OnMessage(window, message, wParam, lParam, result))
      result = self->DefaultProc(window, message, wParam, lParam);
    self->hwnd = nullptr;
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    return result;
  }
  self->NoteFitMessage(message, wParam, lParam);
  LRESULT result = 0;
  if (self->OnMessage(window, message, wParam, lParam, result)) return result;
  return self->DefaultProc(window, message, wParam, lParam);
}
