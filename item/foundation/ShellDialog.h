// A dialog that may have no template resource: without one, an empty template is built in memory and
// the shell sizes the dialog. One virtual DialogProc switches over the messages and hands them on.
#pragma once
#include <windows.h>

class ShellDialog {
 public:
  // The style of an empty template: a centred popup, and visible for a modeless dialog.
  static constexpr DWORD kModalStyle = 0x80000800;     // WS_POPUP | DS_CENTER
  static constexpr DWORD kModelessStyle = 0x90000800;  // WS_POPUP | WS_VISIBLE | DS_CENTER
  // The size of the empty template, zeroed but for its style.
  static constexpr int kEmptyTemplateSize = 58;

  // `instance`: where the template resource `templateId` lives (null: this module); a `templateId` of
  // 0 builds the empty template. `doInit`: the shell prepares the dialog at WM_INITDIALOG.
  explicit ShellDialog(HINSTANCE instance = nullptr, UINT templateId = 0, BOOL doInit = TRUE);

  // WM_SIZE, WM_ACTIVATE, WM_SETTINGCHANGE, WM_INITDIALOG and WM_COMMAND go to their handlers; every
  // other message gives 0.
  virtual INT_PTR DialogProc(UINT message, WPARAM wParam, LPARAM lParam);
  // With doInit the shell makes the dialog full screen with an OK button. Gives 1.
  virtual BOOL OnInitDialog();
  // IDOK goes to OnOk and IDCANCEL to OnCancel, and both give true; other commands give false.
  virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
  virtual void OnOk();      // ends the dialog with IDOK
  virtual void OnCancel();  // ends the dialog with IDCANCEL
  virtual void OnActivate(WPARAM wParam, LPARAM lParam);
  virtual void OnSettingChange(WPARAM wParam, LPARAM lParam);
  virtual void OnSize(int width, int height);
  // Destroys a window that is still there.
  virtual ~ShellDialog();
  virtual void Move(const RECT& rect);

  // Runs the dialog modal over `parent`; gives its EndDialog result, or -1 when it can't be made.
  INT_PTR DoModal(HWND parent);
  // Makes the dialog modeless; an empty template takes `style`. Null when the platform refuses.
  HWND Create(HWND parent, DWORD style = kModelessStyle);
  void Destroy();
  HWND GetHwnd() const { return hwnd; }

  static INT_PTR CALLBACK SharedProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

 protected:
  HINSTANCE instance;
  UINT templateId;
  BOOL doInit;
  HWND hwnd;

 private:
  ShellDialog(const ShellDialog&) = delete;
  ShellDialog& operator=(const ShellDialog&) = delete;

  HINSTANCE Module() const;
  const DLGTEMPLATE* FindTemplate() const;
};
