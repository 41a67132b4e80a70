// Drawing of the letter bar: each cell a framed key with rounded corners, a light top edge (green when
// the cell is selected by keys, dark when pressed), its caption in one or two rows or the last cell's
// picture, and up to three marks for how often it was picked. Everything goes through an off-screen
// bitmap of the clip box, so that a repaint never flickers.
#include "presentation/Skin.h"
#include "today/LetterBar.h"

namespace {

const COLORREF kMarkColor = 0x00FF0000;

void Fill(HDC dc, int left, int top, int right, int bottom, HBRUSH brush) {
  if (right <= left || bottom <= top) return;
  RECT rect = {left, top, right, bottom};
  FillRect(dc, &rect, brush);
}

}  // namespace

void LetterBar::Paint(HDC target, const RECT& clip) {
  int width = clip.right - clip.left;
  int height = clip.bottom - clip.top;
  if (width <= 0 || height <= 0) return;
  HDC dc = CreateCompatibleDC(target);
  GdiObject<HBITMAP> canvas(CreateCompatibleBitmap(target, width, height));
  if (!dc || canvas.IsEmpty()) {
    if (dc) DeleteDC(dc);
    return;
  }
  HGDIOBJ oldBitmap = SelectObject(dc, canvas.Get());
  // The canvas's origin stands at the clip box's corner.
  SetViewportOrgEx(dc, -clip.left, -clip.top, nullptr);
  Fill(dc, clip.left, clip.top, clip.right, clip.bottom, frameBrush.Get());
  // One context for the gradient serves every cell.
  HDC gradient = background.IsEmpty() ? nullptr : CreateCompatibleDC(target);
  HGDIOBJ oldGradient = gradient ? SelectObject(gradient, background.Get()) : nullptr;
  for (int i = 0; i < cellWidths.GetSize(); ++i) {
    RECT cell, common;
    if (GetCellRect(i, &cell) && IntersectRect(&common, &cell, &clip)) PaintCell(dc, gradient, i, cell);
  }
  if (gradient) {
    SelectObject(gradient, oldGradient);
    DeleteDC(gradient);
  }
  SetViewportOrgEx(dc, 0, 0, nullptr);
  BitBlt(target, clip.left, clip.top, width, height, dc, 0, 0, SRCCOPY);
  SelectObject(dc, oldBitmap);
  DeleteDC(dc);
}

void LetterBar::PaintCell(HDC dc, HDC gradient, int cell, const RECT& rect) {
  PaintCellEdges(dc, gradient, cell, rect);
  PaintCellContent(dc, cell, rect);
}

void LetterBar::PaintCellEdges(HDC dc, HDC gradient, int cell, const RECT& rect) {
  int l = rect.left, t = rect.top, r = rect.right, b = rect.bottom;
  // The frame first, then the rounded corners in the corner colour.
  Fill(dc, l, t, r, b, frameBrush.Get());
  Fill(dc, l, t, l + 1, t + 1, cornerBrush.Get());
  Fill(dc, r - 1, t, r, t + 2, cornerBrush.Get());
  Fill(dc, r - 1, b - 1, r, b, cornerBrush.Get());
  Fill(dc, l, b - 1, l + 2, b, cornerBrush.Get());

  // The inside: the pre-drawn gradient, from its fourth row on.
  if (gradient) BitBlt(dc, l + 1, t + 3, r - l - 2, b - t - 4, gradient, 1, 3, SRCCOPY);

  BOOL pressed = cell == pressedCell && pressedLook;
  if (pressed) {
    Fill(dc, l + 1, t + 1, r - 1, t + 3, pressedTopBrush.Get());
    Fill(dc, l + 1, t + 2, r - 1, t + 3, pressedSideBrush.Get());
    Fill(dc, l + 1, t + 2, l + 2, b - 1, pressedSideBrush.Get());
    Fill(dc, r - 2, t + 2, r - 1, b - 1, pressedSideBrush.Get());
    return;
  }
  HBRUSH light = topLightBrush.Get();
  HBRUSH inner = topInnerBrush.Get();
  if (cell == selection) light = inner = selectionBrush.Get();
  Fill(dc, l + 1, t + 1, r - 1, t + 3, light);
  Fill(dc, l + 2, t + 2, r - 2, t + 3, inner);
  Fill(dc, l + 1, t + 3, l + 2, t + 4, inner);
  Fill(dc, r - 2, t + 3, r - 1, t + 4, inner);
}

void LetterBar::PaintCellContent(HDC dc, int cell, const RECT& rect) {
  int l = rect.left, t = rect.top, r = rect.right, b = rect.bottom;
  if (cell == cellCount - 1) {
    if (images && imageWidth > 0) {
      int x = l + (r - l - imageWidth) / 2;
      int y = t + (b - t - imageHeight) / 2;
      ImageList_Draw(images, iconIndex, dc, x, y, ILD_TRANSPARENT);
    }
  } else if (cell < captions.GetSize()) {
    HGDIOBJ oldFont = SelectObject(dc, font.Get());
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, textColor);
    if (!twoRows) {
      RECT box = rect;
      DrawTextW(dc, captions[cell], captions[cell].GetLength(), &box, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    } else {
      TEXTMETRICW metrics;
      GetTextMetricsW(dc, &metrics);
      int th = metrics.tmHeight;
      int first = t + (b - t - 2 * th) / 2;
      if (first < t + ScaleY(2)) first = t + ScaleY(2);
      int second = first + th;
      // A low cell pulls the second line up so that it ends above the marks.
      if (second + th > b - ScaleY(2)) second = b - ScaleY(2) - th;
      RECT line1 = {l, first, r, first + th};
      RECT line2 = {l, second, r, second + th};
      DrawTextW(dc, captions[cell], captions[cell].GetLength(), &line1, DT_CENTER | DT_TOP | DT_SINGLELINE);
      if (cell < secondCaptions.GetSize())
        DrawTextW(dc, secondCaptions[cell], secondCaptions[cell].GetLength(), &line2,
                  DT_CENTER | DT_TOP | DT_SINGLELINE);
    }
    SelectObject(dc, oldFont);
  }

  int count = PickCount(cell);
  if (count <= 0) return;
  if (count > kMostMarks) count = kMostMarks;
  int gap = ScaleX(1);
  int markWidth = (r - l - 2 * (gap + 2)) / 3;
  GdiObject<HBRUSH> mark(CreateSolidBrush(kMarkColor));
  for (int i = 0; i < count; ++i) {
    int x = l + 2 + i * (markWidth + gap);
    Fill(dc, x, b - ScaleY(2) - 1, x + markWidth, b - 1, mark.Get());
  }
}
