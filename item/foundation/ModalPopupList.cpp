// The popup list's window: its size over the given area, and the modal loop of Track.
#include "foundation/ModalPopupList.h"
#include "foundation/BaseDialog.h"
#include "foundation/LogicalResolution.h"

namespace {

const DWORD kListStyle = 0x86800000;  // WS_POPUP | WS_CLIPSIBLINGS | WS_CLIPCHILDREN | WS_BORDER

// Space above and below the rows, and the text's margin at either side.
int BorderSpace() { return (LogicalDpiY() + 24) * 2 / 96; }
int TextMargin() { return (LogicalDpiX() + 12) * 4 / 96; }

// The title that the list takes: that of the top-level window it pops up over.
void TakeTitle(HWND list, HWND parent) {
  HWND top = parent ? GetAncestor(parent, GA_ROOT) : GetActiveWindow();
  if (!top) return;
  wchar_t title[256];
  GetWindowTextW(top, title, 256);
  SetWindowTextW(list, title);
}

}  // namespace

ModalPopupList::Layout ModalPopupList::Measure(const RECT& area) const {
  Layout layout = {};
  HDC screen = GetDC(nullptr);
  HGDIOBJ old = SelectObject(screen, font ? font : GetStockObject(SYSTEM_FONT));
  TEXTMETRICW metrics = {};
  GetTextMetricsW(screen, &metrics);
  int widest = 0;
  for (int i = 0; i < count; ++i) {
    SIZE size = {};
    GetTextExtentPoint32W(screen, slots[i]->text, slots[i]->text.GetLength(), &size);
    if (size.cx > widest) widest = size.cx;
  }
  SelectObject(screen, old);
  ReleaseDC(nullptr, screen);

  layout.rowHeight = metrics.tmHeight + metrics.tmExternalLeading + BorderSpace();
  // As many whole rows as the area holds, at least one.
  int areaWidth = area.right - area.left;
  int areaHeight = area.bottom - area.top;
  int fit = (areaHeight - BorderSpace()) / layout.rowHeight;
  if (fit < 1) fit = 1;
  layout.visibleRows = count < fit ? count : fit;
  layout.scrolls = layout.visibleRows < count;

  int width = widest + 2 * TextMargin();
  if (layout.scrolls) width += GetSystemMetrics(SM_CXVSCROLL);
  int height = layout.visibleRows * layout.rowHeight + BorderSpace();
  // Centred in the area where it is smaller than the area.
  int x = area.left + (width < areaWidth ? (areaWidth - width) / 2 : 0);
  int y = area.top + (height < areaHeight ? (areaHeight - height) / 2 : 0);
  layout.window = {x, y, x + width, y + height};
  return layout;
}

DWORD ModalPopupList::Track(HWND parent, const RECT* area) {
  if (hwnd || count == 0) return 0;
  RECT over = {};
  if (area)
    over = *area;
  else if (!parent || !GetWindowRect(parent, &over))
    return 0;

  Layout layout = Measure(over);
  rowHeight = layout.rowHeight;
  textMargin = TextMargin();
  visibleRows = layout.visibleRows;
  topRow = 0;
  pressed = false;
  confirmed = false;
  typed.Empty();

  DWORD style = kListStyle | (layout.scrolls ? WS_VSCROLL : 0);
  const RECT& place = layout.window;
  HWND focus = GetFocus();
  HWND list = Create(0, L"", style, place.left, place.top, place.right - place.left, place.bottom - place.top,
                     parent, 0, BaseDialog::ResourceModule());
  if (!list) return 0;
  TakeTitle(list, parent);
  UpdateScrollBar();
  ShowSelection();
  ShowWindow(list, SW_SHOW);
  UpdateWindow(list);
  SetFocus(list);
  SetCapture(list);

  MSG message;
  while (hwnd == list) {
    BOOL got = GetMessageW(&message, nullptr, 0, 0);
    if (got == 0) {
      // A quit request ends the loop and stays for the loop further out.
      PostQuitMessage(static_cast<int>(message.wParam));
      confirmed = false;
      break;
    }
    if (got == -1) break;
    if (message.message == kDoneMessage && message.hwnd == list) break;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }

  if (GetCapture() == list) ReleaseCapture();
  if (focus && IsWindow(focus)) SetFocus(focus);
  if (hwnd == list) DestroyWindow(list);
  if (!confirmed || selected < 0) return 0;
  return slots[selected]->data;
}

void ModalPopupList::Finish(bool confirm) {
  confirmed = confirm && selected >= 0;
  PostMessageW(hwnd, kDoneMessage, 0, 0);
}

LRESULT ModalPopupList::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_PAINT:
      OnPaint();
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_KEYDOWN:
      OnKeyDown(static_cast<UINT>(wParam));
      return 0;
    case WM_CHAR:
      OnChar(static_cast<wchar_t>(wParam));
      return 0;
    case WM_LBUTTONDOWN:
      OnButtonDown(POINT{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))});
      return 0;
    case WM_LBUTTONUP:
      OnButtonUp(POINT{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))});
      return 0;
    case WM_MOUSEMOVE:
      OnMouseMove(POINT{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))});
      return 0;
    case WM_VSCROLL:
      OnScroll(LOWORD(wParam));
      return 0;
    case WM_GETDLGCODE:
      return DLGC_WANTALLKEYS | DLGC_WANTCHARS;
  }
  return BaseWindow::WindowProc(window, message, wParam, lParam);
}
