#include "foundation/InfoProcessDlg.h"
#include "foundation/Diagnostics.h"
#include "foundation/LogicalResolution.h"
#include "resources/resource.h"

InfoProcessDlg::InfoProcessDlg(const wchar_t* closingText, int remainingMs, int stepMs, const wchar_t* line)
    : TitledDialog(IDD_INFO_PROCESS), text(closingText), detail(line), remaining(remainingMs), step(stepMs),
      cancelButton(nullptr) {}

void InfoProcessDlg::OnCountdownEnd() {}

BOOL InfoProcessDlg::OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) {
  switch (message) {
    case WM_INITDIALOG:
      Start();
      result = TRUE;
      return TRUE;
    case WM_TIMER:
      if (wParam != kTimerId) break;
      Tick();
      result = 0;
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) != IDC_INFO_CANCEL && LOWORD(wParam) != IDCANCEL) break;
      End(IDCANCEL);
      result = TRUE;
      return TRUE;
  }
  return TitledDialog::OnMessage(window, message, wParam, lParam, result);
}

void InfoProcessDlg::Start() {
  MakeCancelButton();
  // Without a timer nothing counts down: the closing text stands at once.
  if (SetTimer(hwnd, kTimerId, static_cast<UINT>(step), nullptr))
    ShowWaiting();
  else
    SetDlgItemTextW(hwnd, IDC_INFO_TEXT, text);
}

// Above 0 the waiting text is renewed; at exactly 0 Cancel goes and the closing text stands for one
// more step; below 0 the action runs and the dialog ends.
void InfoProcessDlg::Tick() {
  remaining -= step;
  if (remaining > 0) {
    ShowWaiting();
  } else if (remaining == 0) {
    if (cancelButton) ShowWindow(cancelButton, SW_HIDE);
    SetDlgItemTextW(hwnd, IDC_INFO_TEXT, text);
    remaining = -step;
  } else {
    KillTimer(hwnd, kTimerId);
    OnCountdownEnd();
    EndDialog(hwnd, 1);
  }
}

void InfoProcessDlg::ShowWaiting() {
  Str format;
  LOAD_STRING_OR_STOP(format, IDS_WAITING_FOR_SECONDS);
  Str waiting;
  waiting.Format(format, remaining / 1000);
  if (!detail.IsEmpty()) waiting += L"\n" + detail;
  SetDlgItemTextW(hwnd, IDC_INFO_TEXT, waiting);
}

// Cancel takes the size of its label and stands in the lower right corner, a small margin inside.
void InfoProcessDlg::MakeCancelButton() {
  Str label;
  LOAD_STRING_OR_STOP(label, IDS_CANCEL);
  HFONT font = reinterpret_cast<HFONT>(SendMessageW(hwnd, WM_GETFONT, 0, 0));
  SIZE size = {};
  HDC dc = GetDC(hwnd);
  if (dc) {
    HGDIOBJ old = font ? SelectObject(dc, font) : nullptr;
    GetTextExtentPoint32W(dc, label, label.GetLength(), &size);
    if (old) SelectObject(dc, old);
    ReleaseDC(hwnd, dc);
  }
  int margin = (LogicalDpiX() * 5 + 48) / 96;
  int width = size.cx + 2 * ((LogicalDpiX() * 8 + 48) / 96);
  int height = size.cy + (LogicalDpiY() * 8 + 48) / 96;
  RECT client;
  GetClientRect(hwnd, &client);
  cancelButton = CreateWindowExW(
      0, L"BUTTON", label, WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, client.right - margin - width,
      client.bottom - margin - height, width, height, hwnd,
      reinterpret_cast<HMENU>(static_cast<UINT_PTR>(IDC_INFO_CANCEL)), ResourceModule(), nullptr);
  if (cancelButton && font) SendMessageW(cancelButton, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
}

void InfoProcessDlg::End(INT_PTR result) {
  KillTimer(hwnd, kTimerId);
  EndDialog(hwnd, result);
}
