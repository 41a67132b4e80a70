// Where the rows are: row rectangles, the row under a point, what is in view, and the alignment of
// the last row with the bottom of the window.
//
// The scroll position is a top row and a top part. With a top part of 0 the top row starts at the top
// of the client area; otherwise only the lower `topPart` pixels of the top row show and the rows below
// it start that far down.
#include "lists/CoolList.h"

#include <math.h>

void CoolList::ComputeRowMetrics() {
  const int height = clientRect.bottom - clientRect.top;
  if (rowHeight <= 0 || height <= 0) {
    fullRows = 0;
    visibleRows = 0;
    return;
  }
  fullRows = height / rowHeight;
  visibleRows = static_cast<int>(ceil(static_cast<double>(height) / rowHeight));
}

RECT CoolList::RowRect(int row) const {
  const int d = row - topRow;
  RECT rect = clientRect;
  if (topPart != 0)
    rect.top = (d - 1) * rowHeight + topPart + clientRect.top;
  else
    rect.top = d * rowHeight + clientRect.top;
  rect.bottom = rect.top + rowHeight;
  return rect;
}

int CoolList::RowFromY(int y) const {
  if (rowCount == 0 || rowHeight <= 0 || y < clientRect.top || y > clientRect.bottom) return -1;
  int row;
  if (topPart != 0)
    row = (y + rowHeight - topPart - clientRect.top) / rowHeight + topRow;
  else
    row = (y - clientRect.top) / rowHeight + topRow;
  return row < rowCount ? row : -1;
}

int CoolList::RowFromYRounded(int y) const {
  const int row = RowFromY(y);
  if (row < 0) return -1;
  const int offset = y - RowRect(row).top;
  return static_cast<int>(static_cast<float>(offset) / static_cast<float>(rowHeight) + 0.5f);
}

BOOL CoolList::IsOutOfView(int row) const {
  if (row < topRow) return TRUE;
  if (topPart != 0) {
    if (row == topRow) return TRUE;
    if (rowHeight <= 0) return TRUE;
    const int height = clientRect.bottom - clientRect.top;
    return row > topRow + (height - topPart) / rowHeight;
  }
  return row >= topRow + fullRows;
}

BOOL CoolList::IsEdgeRow(int row) const {
  if (topPart != 0) {
    if (row == topRow) return TRUE;
    if (rowHeight <= 0) return FALSE;
    const int rest = clientRect.bottom - clientRect.top - topPart;
    return rest % rowHeight != 0 && row == topRow + rest / rowHeight + 1;
  }
  return row == topRow + fullRows;
}

int CoolList::FirstVisible() const {
  const int last = rowCount > 0 ? rowCount - 1 : 0;
  return topRow < last ? topRow : last;
}

int CoolList::LastVisible() const {
  const int last = rowCount > 0 ? rowCount - 1 : 0;
  const int bottom = topRow + visibleRows;
  return bottom < last ? bottom : last;
}

BOOL CoolList::RowFits() const {
  return rowCount < visibleRows || (rowCount == visibleRows && visibleRows == fullRows);
}

BOOL CoolList::RowsRunOut() const {
  const int height = clientRect.bottom - clientRect.top;
  if (topPart != 0 && rowHeight > 0) {
    const int k = (height - topPart) / rowHeight;
    return topRow + k + (k * rowHeight + topPart < height ? 1 : 0) >= rowCount;
  }
  return visibleRows - 1 + topRow >= rowCount;
}

void CoolList::BottomAlign() {
  topPart = clientRect.bottom - clientRect.top - fullRows * rowHeight;
  topRow = rowCount - fullRows;
  Normalise();
}

void CoolList::Normalise() {
  if (topPart != 0) --topRow;
  if (topRow < 0) {
    topRow = 0;
    topPart = 0;
  }
}
