#include "presentation/ContactView.h"
#include "presentation/Skin.h"
#include "resources/ListIds.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactNames.h"

ContactView::ContactView() : contactId(0), boldFont(nullptr), plainFont(nullptr) {}

ContactView::~ContactView() {}

BOOL ContactView::Create(HWND parent, DWORD style) {
  if (hwnd) return TRUE;
  HINSTANCE instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(parent, GWLP_HINSTANCE));
  return BaseWindow::Create(0, nullptr, style, 0, 0, 0, 0, parent, 0, instance) != nullptr;
}

BOOL ContactView::Show(const Contact& contact) {
  // LATER(contact view): the page shows the composed name and the line under it; the photo, the
  // value rows under the contact template and the note come with the markup text and the photos.
  contactId = contact.oid;
  const Str* text = contact.text;
  BuildName(text[ContactField::LastName], text[ContactField::FirstName], text[ContactField::Company],
            text[ContactField::MiddleName], text[ContactField::Title], text[ContactField::Suffix], headName,
            headSecond);
  if (headName.GetLength() == 0) {
    wchar_t unnamed[64];
    int length = SafeLoadStr(IDS_UNNAMED, GetModuleInstance(), unnamed, 64);
    headName = Str(unnamed, length);
  }
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
  return TRUE;
}

void ContactView::SetFonts(HFONT labelFont, HFONT baseFont) {
  boldFont = labelFont;
  plainFont = baseFont;
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

HWND ContactView::TextWindow() const {
  // LATER(contact view): the rows' own window comes with the markup text; the page draws itself.
  return nullptr;
}

void ContactView::Paint(HDC dc) {
  RECT client;
  GetClientRect(hwnd, &client);
  FillRect(dc, &client, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  if (contactId == 0) return;
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(0, 0, 0));
  HGDIOBJ old = SelectObject(dc, boldFont ? boldFont : GetStockObject(SYSTEM_FONT));
  TEXTMETRICW metrics;
  GetTextMetricsW(dc, &metrics);
  RECT line = client;
  InflateRect(&line, -ScaleX(5), 0);
  line.top += ScaleY(5);
  line.bottom = line.top + metrics.tmHeight;
  DrawTextW(dc, headName, headName.GetLength(), &line, DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
  if (headSecond.GetLength() != 0) {
    if (plainFont) SelectObject(dc, plainFont);
    OffsetRect(&line, 0, metrics.tmHeight);
    DrawTextW(dc, headSecond, headSecond.GetLength(), &line, DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
  }
  SelectObject(dc, old);
}

LRESULT ContactView::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(window, &ps);
      Paint(dc);
      EndPaint(window, &ps);
      return 0;
    }
    case WM_KEYUP:
      // The End key's release belongs to the popup.
      if (wParam == VK_F4) SendMessageW(GetParent(window), message, wParam, lParam);
      return 0;
    case WM_KEYDOWN:
      // Back to the list: the left key and the back key.
      if (wParam == VK_LEFT || wParam == VK_BACK) SendMessageW(GetParent(window), kDoneMessage, 0, 0);
      return 0;
    case kCallMessage:
      // LATER(contact view): the green key acts on the page's selected row once the rows exist.
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}
