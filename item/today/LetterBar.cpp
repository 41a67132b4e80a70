#include "today/LetterBar.h"
#include "foundation/Handles.h"
#include "presentation/Skin.h"

// The bar shares the item window's class: the shared procedure finds each object by its window.
static const wchar_t kItemClass[] = L"ZovrixWndCls";

LetterBar::LetterBar()
    : cellCount(0), selection(-1), twoRows(0), extraHeight(0), color1(0x00DCDCDC), color2(0x00C0C0C0),
      textColor(0), iconIndex(1), enabled(1) {}

LetterBar::~LetterBar() {}

BOOL LetterBar::Create(HWND parent, const RECT& rect, HINSTANCE instance) {
  enabled = 1;
  if (hwnd) return TRUE;
  CreateWindowExW(0, kItemClass, nullptr, WS_CHILD | WS_VISIBLE, rect.left, rect.top, rect.right - rect.left,
                  rect.bottom - rect.top, parent, nullptr, instance, static_cast<BaseWindow*>(this));
  return hwnd != nullptr;
}

void LetterBar::SetCells(const Array<Str>& first, const Array<Str>* second, const Array<int>& ids,
                         int count) {
  captions.Copy(first);
  if (second)
    secondCaptions.Copy(*second);
  else
    secondCaptions.SetSize(0);
  commandIds.Copy(ids);
  cellCount = count;
  pickCounts.SetSize(0);
  pickCounts.SetSize(count);
  twoRows = second != nullptr;
  if (hwnd) {
    RECT client;
    GetClientRect(GetParent(hwnd), &client);
    SetWindowPos(hwnd, nullptr, 0, 0, client.right - client.left, Height(), SWP_NOMOVE | SWP_NOZORDER);
    InvalidateRect(hwnd, nullptr, TRUE);
  }
}

int LetterBar::Height() const { return (twoRows ? ScaleY(26) : ScaleY(20)) + extraHeight - 1; }

void LetterBar::SetColors(COLORREF first, COLORREF second, COLORREF text) {
  color1 = first;
  color2 = second;
  textColor = text;
  if (hwnd) InvalidateRect(hwnd, nullptr, TRUE);
}

void LetterBar::SetSelection(int cell) {
  selection = cell;
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

void LetterBar::SetIconIndex(int index) {
  iconIndex = index;
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

void LetterBar::ClearCounts() {
  for (int i = 0; i < pickCounts.GetSize(); ++i) pickCounts.SetAt(i, 0);
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

void LetterBar::Relayout(int width) {
  if (!hwnd) return;
  SetWindowPos(hwnd, nullptr, 0, 0, width, Height(), SWP_NOZORDER);
}

void LetterBar::Paint(HDC dc) {
  RECT client;
  GetClientRect(hwnd, &client);
  int height = client.bottom - client.top;
  if (height <= 0) return;
  // The strip's vertical gradient from the first to the second colour.
  for (int y = 0; y < height; ++y) {
    int r = GetRValue(color1) + (GetRValue(color2) - GetRValue(color1)) * y / height;
    int g = GetGValue(color1) + (GetGValue(color2) - GetGValue(color1)) * y / height;
    int b = GetBValue(color1) + (GetBValue(color2) - GetBValue(color1)) * y / height;
    GdiObject<HBRUSH> brush(CreateSolidBrush(RGB(r, g, b)));
    RECT line = {client.left, y, client.right, y + 1};
    FillRect(dc, &line, brush.Get());
  }
  GdiObject<HBRUSH> frame(CreateSolidBrush(0x004A4A4A));
  FrameRect(dc, &client, frame.Get());
  // LATER(letter bar cells): the cells and their captions are not drawn, only the strip and its frame.
}

LRESULT LetterBar::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
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
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}
