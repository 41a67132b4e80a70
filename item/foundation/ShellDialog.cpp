#include "foundation/ShellDialog.h"
#include <aygshell.h>
#include "foundation/BaseDialog.h"

namespace {

// A dialog template with no controls, no menu, no class and no title: all zero but the style, which
// stands first as two 16-bit words, low word first.
struct EmptyTemplate {
  alignas(DWORD) WORD words[ShellDialog::kEmptyTemplateSize / 2];
  explicit EmptyTemplate(DWORD style) : words() {
    words[0] = LOWORD(style);
    words[1] = HIWORD(style);
  }
  const DLGTEMPLATE* Get() const { return reinterpret_cast<const DLGTEMPLATE*>(words); }
};

}  // namespace

ShellDialog::ShellDialog(HINSTANCE module, UINT id, BOOL init)
    : instance(module), templateId(id), doInit(init), hwnd(nullptr) {}

ShellDialog::~ShellDialog() {
  if (hwnd && IsWindow(hwnd)) {
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
    DestroyWindow(hwnd);
  }
  hwnd = nullptr;
}

HINSTANCE ShellDialog::Module() const { return instance ? instance : BaseDialog::ResourceModule(); }

const DLGTEMPLATE* ShellDialog::FindTemplate() const {
  HINSTANCE module = Module();
  HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(templateId), MAKEINTRESOURCEW(5));
  if (!found) return nullptr;
  HGLOBAL loaded = LoadResource(module, found);
  return loaded ? static_cast<const DLGTEMPLATE*>(LockResource(loaded)) : nullptr;
}

INT_PTR ShellDialog::DoModal(HWND parent) {
  LPARAM self = reinterpret_cast<LPARAM>(this);
  if (templateId == 0) {
    EmptyTemplate empty(kModalStyle);
    return DialogBoxIndirectParamW(Module(), empty.Get(), parent, SharedProc, self);
  }
  const DLGTEMPLATE* dialog = FindTemplate();
  if (!dialog) return -1;
  return DialogBoxIndirectParamW(Module(), dialog, parent, SharedProc, self);
}

HWND ShellDialog::Create(HWND parent, DWORD style) {
  LPARAM self = reinterpret_cast<LPARAM>(this);
  if (templateId == 0) {
    EmptyTemplate empty(style);
    return CreateDialogIndirectParamW(Module(), empty.Get(), parent, SharedProc, self);
  }
  const DLGTEMPLATE* dialog = FindTemplate();
  if (!dialog) return nullptr;
  return CreateDialogIndirectParamW(Module(), dialog, parent, SharedProc, self);
}

void ShellDialog::Destroy() {
  if (hwnd) DestroyWindow(hwnd);
}

INT_PTR ShellDialog::DialogProc(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE:
      OnSize(LOWORD(lParam), HIWORD(lParam));
      return 0;
    case WM_ACTIVATE:
      OnActivate(wParam, lParam);
      return 0;
    case WM_SETTINGCHANGE:
      OnSettingChange(wParam, lParam);
      return 0;
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_COMMAND:
      return OnCommand(wParam, lParam);
  }
  return 0;
}

BOOL ShellDialog::OnInitDialog() {
  if (doInit) {
    SHINITDLGINFO info = {};
    info.dwMask = SHIDIM_FLAGS;
    info.hDlg = hwnd;
    info.dwFlags = SHIDIF_DONEBUTTON | SHIDIF_SIZEDLGFULLSCREEN;
    SHInitDialog(&info);
  }
  return TRUE;
}

BOOL ShellDialog::OnCommand(WPARAM wParam, LPARAM) {
  switch (LOWORD(wParam)) {
    case IDOK:
      OnOk();
      return TRUE;
    case IDCANCEL:
      OnCancel();
      return TRUE;
  }
  return FALSE;
}

void ShellDialog::OnOk() { EndDialog(hwnd, IDOK); }

void ShellDialog::OnCancel() { EndDialog(hwnd, IDCANCEL); }

void ShellDialog::OnActivate(WPARAM, LPARAM) {}

void ShellDialog::OnSettingChange(WPARAM, LPARAM) {}

void ShellDialog::OnSize(int, int) {}

void ShellDialog::Move(const RECT& rect) {
  if (hwnd) MoveWindow(hwnd, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, TRUE);
}

INT_PTR CALLBACK ShellDialog::SharedProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  ShellDialog* self = reinterpret_cast<ShellDialog*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) {
    // Nothing reaches the object before WM_INITDIALOG.
    if (message != WM_INITDIALOG) return 0;
    self = reinterpret_cast<ShellDialog*>(lParam);
    if (!self) return 0;
    self->hwnd = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  if (message == WM_DESTROY) {
    INT_PTR result = self->DialogProc(message, wParam, lParam);
    self->hwnd = nullptr;
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    return result;
  }
  return self->DialogProc(message, wParam, lParam);
}
