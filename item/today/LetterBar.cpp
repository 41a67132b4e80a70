#include "today/LetterBar.h"
#include "presentation/Skin.h"

namespace {

// The bar shares the item window's class: the shared procedure finds each object by its window.
const wchar_t kItemClass[] = L"ZovrixWndCls";

const COLORREF kCornerColor = 0x00C4C4C4;
const COLORREF kFrameColor = 0x004A4A4A;
const COLORREF kTopLightColor = 0x00FFFFFF;
const COLORREF kTopInnerColor = 0x00F2F2F2;
const COLORREF kPressedTopColor = 0x00858585;
const COLORREF kPressedSideColor = 0x00ADADAD;
const COLORREF kSelectionColor = 0x0033CC33;

int Smaller(int a, int b) { return a < b ? a : b; }

}  // namespace

LetterBar::LetterBar()
    : instance(nullptr), cellCount(0), selection(-1), twoRows(0), pressedCell(-1), pressedLook(0),
      extraHeight(0), fontHeight(0), images(nullptr), imageWidth(0), imageHeight(0), backgroundWidth(0),
      backgroundHeight(0), color1(0x00DCDCDC), color2(0x00C0C0C0), textColor(0), iconIndex(1), enabled(1) {
  // The platform's system font is the starting point of the bar's letters.
  ZeroMemory(&logFont, sizeof logFont);
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof logFont, &logFont);
  MakeBrushes();
}

LetterBar::~LetterBar() {
  if (hwnd) DestroyWindow(hwnd);
  FreeImages();
}

void LetterBar::MakeBrushes() {
  cornerBrush.Reset(CreateSolidBrush(kCornerColor));
  frameBrush.Reset(CreateSolidBrush(kFrameColor));
  topLightBrush.Reset(CreateSolidBrush(kTopLightColor));
  topInnerBrush.Reset(CreateSolidBrush(kTopInnerColor));
  pressedTopBrush.Reset(CreateSolidBrush(kPressedTopColor));
  pressedSideBrush.Reset(CreateSolidBrush(kPressedSideColor));
  selectionBrush.Reset(CreateSolidBrush(kSelectionColor));
}

BOOL LetterBar::Create(HWND parent, const RECT& rect, HINSTANCE module) {
  enabled = 1;
  instance = module;
  if (hwnd) return TRUE;
  CreateWindowExW(0, kItemClass, nullptr, WS_CHILD | WS_VISIBLE, rect.left, rect.top, rect.right - rect.left,
                  rect.bottom - rect.top, parent, nullptr, module, static_cast<BaseWindow*>(this));
  if (!hwnd) return FALSE;
  if (!images) RebuildImages();
  return TRUE;
}

void LetterBar::SetCells(const Array<Str>& first, const Array<Str>* second, const Array<int>& ids,
                         int count) {
  captions.Copy(first);
  if (second)
    secondCaptions.Copy(*second);
  else
    secondCaptions.SetSize(0);
  commandIds.Copy(ids);
  cellCount = count > 0 ? count : 0;
  pickCounts.SetSize(0);
  pickCounts.SetSize(cellCount);
  for (int i = 0; i < cellCount; ++i) pickCounts.SetAt(i, 0);
  twoRows = second != nullptr ? 1 : 0;
  if (selection >= cellCount) selection = -1;
  if (!hwnd) return;
  RECT client;
  GetClientRect(hwnd, &client);
  SetWindowPos(hwnd, nullptr, 0, 0, client.right - client.left, Height(), SWP_NOMOVE | SWP_NOZORDER);
  LayoutCells();
}

int LetterBar::Height() const { return (twoRows ? ScaleY(26) : ScaleY(20)) + extraHeight - 1; }

void LetterBar::SetExtraHeight(int pixels) {
  if (pixels == extraHeight) return;
  extraHeight = pixels;
  if (!hwnd) return;
  RECT client;
  GetClientRect(hwnd, &client);
  SetWindowPos(hwnd, nullptr, 0, 0, client.right - client.left, Height(), SWP_NOMOVE | SWP_NOZORDER);
  LayoutCells();
}

void LetterBar::SetColors(COLORREF first, COLORREF second, COLORREF text) {
  if (first != color1 && first != color2) {
    color1 = first;
    color2 = second;
    cornerBrush.Reset(CreateSolidBrush(second));
    RedrawBackground();
  }
  if (text != textColor || !images) {
    textColor = text;
    RebuildImages();
  }
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

void LetterBar::SetSelection(int cell) {
  if (cell == selection) return;
  int old = selection;
  selection = cell;
  InvalidateCell(old);
  InvalidateCell(cell);
}

void LetterBar::AddPick(int cell, int delta) {
  if (cell < 0 || cell >= pickCounts.GetSize()) return;
  int before = pickCounts[cell];
  int after = before + delta;
  if (after < 0) after = 0;
  pickCounts.SetAt(cell, after);
  if (Smaller(before, kMostMarks) != Smaller(after, kMostMarks)) InvalidateCell(cell);
}

void LetterBar::ClearPicks() {
  for (int i = 0; i < pickCounts.GetSize(); ++i) {
    if (pickCounts[i] == 0) continue;
    pickCounts.SetAt(i, 0);
    InvalidateCell(i);
  }
}

int LetterBar::PickCount(int cell) const {
  return cell >= 0 && cell < pickCounts.GetSize() ? pickCounts[cell] : 0;
}

void LetterBar::SetIcon(int index) {
  if (index != 0 && index != 1) return;
  if (index == iconIndex) return;
  iconIndex = index;
  InvalidateCell(cellCount - 1);
}

void LetterBar::TapCell(int cell) {
  if (cell < 0 || cell >= cellCount || cell >= commandIds.GetSize()) return;
  PostCommand(commandIds[cell]);
  GiveFeedback();
}

void LetterBar::PostCommand(int id) {
  if (!hwnd) return;
  PostMessageW(GetParent(hwnd), WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), 0),
               reinterpret_cast<LPARAM>(hwnd));
}

int LetterBar::CellWidth(int cell) const {
  return cell >= 0 && cell < cellWidths.GetSize() ? cellWidths[cell] : 0;
}

BOOL LetterBar::GetCellRect(int cell, RECT* rect) const {
  if (!rect || cell < 0 || cell >= cellWidths.GetSize() || !hwnd) return FALSE;
  // The cells overlap by one pixel: each starts on the last column of the one before.
  int left = 0;
  for (int i = 0; i < cell; ++i) left += cellWidths[i] - 1;
  RECT client;
  GetClientRect(hwnd, &client);
  rect->left = left;
  rect->top = 0;
  rect->right = left + cellWidths[cell];
  rect->bottom = client.bottom;
  return TRUE;
}

int LetterBar::CellAt(POINT point) const {
  for (int i = 0; i < cellWidths.GetSize(); ++i) {
    RECT rect;
    if (GetCellRect(i, &rect) && PtInRect(&rect, point)) return i;
  }
  return -1;
}

void LetterBar::InvalidateCell(int cell) {
  RECT rect;
  if (!hwnd || !GetCellRect(cell, &rect)) return;
  InvalidateRect(hwnd, &rect, FALSE);
}
