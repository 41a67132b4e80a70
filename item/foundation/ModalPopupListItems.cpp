// The items of the popup list: pointer slots in steps of 100, kept in the order of their indexes.
#include <new>
#include "foundation/DebugUtils.h"
#include "foundation/ModalPopupList.h"

ModalPopupList::ModalPopupList()
    : count(0), selected(-1), font(nullptr), rowHeight(0), textMargin(0), visibleRows(0), topRow(0),
      pressed(false), confirmed(false) {
  slots.SetSize(kSlotStep, kSlotStep);
}

ModalPopupList::~ModalPopupList() {
  // The window goes first, so that it paints no item that is gone.
  if (hwnd && IsWindow(hwnd)) {
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
    DestroyWindow(hwnd);
    hwnd = nullptr;
  }
  RemoveAll();
}

int ModalPopupList::AddItem(const wchar_t* text, DWORD data, int position, int behind) {
  int at;
  switch (position) {
    case AtStart:
      at = 0;
      break;
    case AtEnd:
      at = count;
      break;
    case Sorted:
      at = count;
      for (int i = 0; i < count; ++i) {
        if (Str::Compare(text, slots[i]->text) < 0) {
          at = i;
          break;
        }
      }
      break;
    case Behind:
      if (behind < 0 || behind >= count) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
      }
      at = behind + 1;
      break;
    default:
      SetLastError(ERROR_INVALID_PARAMETER);
      return -1;
  }

  PopupListItem* item = CheckAllocation(new (std::nothrow) PopupListItem());
  item->flags = 0;
  item->text = text;
  item->data = data;
  if (count == slots.GetSize()) slots.SetSize(count + kSlotStep);
  for (int i = count; i > at; --i) {
    slots[i] = slots[i - 1];
    slots[i]->index = i;
  }
  item->index = at;
  slots[at] = item;
  ++count;
  if (selected >= at) ++selected;

  if (hwnd) {
    UpdateScrollBar();
    InvalidateRect(hwnd, nullptr, FALSE);
  }
  return at;
}

bool ModalPopupList::RemoveItem(int index) {
  if (index < 0 || index >= count) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  delete slots[index];
  for (int i = index; i < count - 1; ++i) {
    slots[i] = slots[i + 1];
    slots[i]->index = i;
  }
  slots[count - 1] = nullptr;
  --count;

  if (selected == index) {
    // The one before the removed item takes the selection; the first item leaves none.
    selected = -1;
    if (index > 0) SetSelection(index - 1);
  } else if (selected > index) {
    --selected;
  }

  if (hwnd) {
    ScrollTo(topRow);
    InvalidateRect(hwnd, nullptr, FALSE);
  }
  return true;
}

void ModalPopupList::RemoveAll() {
  for (int i = 0; i < count; ++i) {
    delete slots[i];
    slots[i] = nullptr;
  }
  count = 0;
  selected = -1;
  if (hwnd) {
    ScrollTo(0);
    InvalidateRect(hwnd, nullptr, FALSE);
  }
}

const PopupListItem* ModalPopupList::GetItem(int index) const {
  if (index < 0 || index >= count) return nullptr;
  return slots[index];
}

bool ModalPopupList::SetSelection(int index) {
  if (index < -1 || index >= count) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  if (selected >= 0 && selected < count) slots[selected]->flags &= ~kSelectedFlag;
  selected = index;
  if (selected >= 0) slots[selected]->flags |= kSelectedFlag;
  if (hwnd) {
    ShowSelection();
    InvalidateRect(hwnd, nullptr, FALSE);
  }
  return true;
}

void ModalPopupList::SetFont(HFONT rowFont) { font = rowFont; }
