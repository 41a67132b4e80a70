// The window of the contact page's rows: creation and the routing of its messages.
#include <richink.h>
#include "presentation/ContactTextWindow.h"
#include "presentation/Skin.h"

ContactTextWindow::ContactTextWindow()
    : labelFont(nullptr), valueFont(nullptr), labelColumn(-1), selAnchor(-1), selEnd(-1), pendingItem(-1),
      selMode(2), textPos(0), textMax(0), allPos(0), allMax(0), noteRest(0), lastStepShort(0), noteVisible(0),
      noteSection(12), tapSection(-1), tapNothing(0), tapAlive(0), holdTimerOn(0), autoScrollDir(0),
      autoScrollStep(0), valueTapped(0), iconTapped(0), labelSide(0) {
  downPoint.x = 0;
  downPoint.y = 0;
  InitRichInkDLL();
}

ContactTextWindow::~ContactTextWindow() {
  if (hwnd && IsWindow(hwnd)) DestroyWindow(hwnd);
}

BOOL ContactTextWindow::Create(HWND parent, DWORD style, UINT id) {
  if (hwnd) return TRUE;
  HINSTANCE instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(parent, GWLP_HINSTANCE));
  if (!BaseWindow::Create(0, nullptr, style, 0, 0, 0, 0, parent, id, instance)) return FALSE;
  if (labelColumn < 0) labelColumn = (Skin::dpiX * 80 + 48) / 96;
  CreateNote();
  return TRUE;
}

LRESULT ContactTextWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE:
      Relayout();
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(window, &ps);
      Paint(dc, ps.rcPaint);
      EndPaint(window, &ps);
      return 0;
    }
    case WM_PRINTCLIENT: {
      // The rows drawn into a context of the caller's, as they are painted on the screen.
      RECT client;
      GetClientRect(window, &client);
      Paint(reinterpret_cast<HDC>(wParam), client);
      return 0;
    }
    case WM_GETDLGCODE:
      return DLGC_WANTALLKEYS;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_VSCROLL:
      OnVScroll(LOWORD(wParam),
                LOWORD(wParam) == kScrollRelative ? HIWORD(wParam) : static_cast<short>(HIWORD(wParam)));
      return 0;
    case WM_LBUTTONDOWN:
      OnButtonDown(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_MOUSEMOVE:
      OnMouseMove(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_LBUTTONUP:
      OnButtonUp();
      return 0;
    case WM_TIMER:
      if (wParam == kHoldTimer)
        OnHold();
      else if (wParam == kAutoScrollTimer)
        OnAutoScroll();
      return 0;
    case WM_KEYDOWN:
      OnKeyDown(static_cast<UINT>(wParam));
      return 0;
    case WM_CHAR:
      OnChar(static_cast<UINT>(wParam));
      return 0;
    case WM_KEYUP:
      // The End key's release belongs to the page's owner.
      if (wParam == VK_F4) SendMessageW(GetParent(window), WM_KEYUP, wParam, lParam);
      return 0;
    case WM_NOTIFY: {
      const NMHDR* header = reinterpret_cast<const NMHDR*>(lParam);
      if (header && header->hwndFrom == note.GetHwnd() && header->code == kNoteMenuNotify) OpenNoteMenu();
      return 0;
    }
    case kNoteScrolled:
      UpdateScroll();
      return 0;
    case kNoteTapped:
      UpdateScroll();
      PlaceNote();
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}
