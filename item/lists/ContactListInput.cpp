// ContactList: what the control reports, turned into group toggles, phone steps and the listener's
// calls in (group, item) positions.
#include "lists/ContactList.h"

#include "manager/datasource/ContactDataSource.h"
#include "presentation/Skin.h"
#include "storage/contact/Contact.h"

void ContactList::OnRowClicked(int row, BOOL tapOnMarked) {
  if (!source) return;
  const ListPosition position = RowToPosition(row);
  if (position.group >= 0 && position.item == -1) ToggleRow(row);
  if (listener) listener->OnClicked(position.group, position.item, tapOnMarked);
}

void ContactList::OnActivate(int row) {
  if (!source) return;
  const ListPosition position = RowToPosition(row);
  if (position.group >= 0 && position.item == -1) ToggleRow(row);
  if (listener) listener->OnActivate(position.group, position.item);
}

void ContactList::OnRowDoubleClicked(int row) {
  if (!source) return;
  const ListPosition position = RowToPosition(row);
  if (listener) listener->OnDoubleClicked(position.group, position.item);
}

void ContactList::OnCaretChanged(int row) {
  if (!source) return;
  const ListPosition position = RowToPosition(row);
  if (listener) listener->OnCaretChanged(position.group, position.item);
}

void ContactList::OnKeyUp(HWND window, UINT key, LPARAM lParam) {
  // The End key closes what holds the list.
  if (key == VK_F4) SendMessageW(GetParent(window), WM_KEYUP, VK_F4, lParam);
}

void ContactList::OnChar(HWND window, WPARAM character, LPARAM lParam) {
  if (listener) listener->OnChar(window, character, lParam);
}

void ContactList::OnKeyDown(HWND window, UINT key, LPARAM lParam) {
  if (key != VK_LEFT && key != VK_RIGHT) {
    if (listener) listener->OnKeyDown(window, key, lParam);
    return;
  }
  if (!source || list.RowCount() == 0) return;
  const int row = list.Caret();
  const ListPosition position = RowToPosition(row);
  if (position.item >= 0) {
    // On a contact the keys step the number the row shows.
    Contact* contact = ContactAt(position);
    if (!contact) return;
    const uint32_t before = contact->defaultItem;
    const uint32_t after = contact->NextPhone(key == VK_RIGHT ? 1 : -1, false);
    if (after != 0 && after != before) {
      source->UpdateDefaultItem(contact->oid, after);
      list.RepaintRow(row);
    }
    return;
  }
  BOOL done = FALSE;
  if (position.group >= 0) done = key == VK_LEFT ? CollapseRow(row) : ExpandRow(row);
  if (!done && listener) listener->OnKeyDown(window, key, lParam);
}

BOOL ContactList::OnPressTest(int x, int y) {
  if (disabled || !source || nameOnly || list.RowCount() == 0) return FALSE;
  if (RowToPosition(list.Caret()).item < 0) return FALSE;
  const int row = list.RowFromY(y);
  Contact* contact = row >= 0 ? GetContactAtRow(row) : nullptr;
  if (!contact) return FALSE;
  // On a two-line row the number is on the lower line.
  if (twoLines && list.RowFromYRounded(y) == 0) return FALSE;
  const int width = list.ClientRect().right;
  if (x > width || x < width - ScaleX(4) - ScaleX(2) - tailWidth) return FALSE;

  const int scrollBar = list.RowFits() ? 0 : GetSystemMetrics(SM_CXVSCROLL);
  RECT rect = list.RowRect(row);
  rect.right += scrollBar / 2;
  const CEOID id = contact->oid;
  const uint32_t current = contact->defaultItem;
  BOOL dialed = FALSE;
  uint32_t chosen = 0;
  if (!TrackPhoneMenu(*contact, rect, dialed, chosen)) return FALSE;
  if (dialed && listener) listener->OnDialed();
  if (listener) listener->OnPhoneMenuUsed(id);
  if (chosen != 0 && chosen != current) {
    source->UpdateDefaultItem(id, chosen);
    list.RepaintRow(row);
  }
  return TRUE;
}

BOOL ContactList::TrackPhoneMenu(Contact& contact, const RECT& rect, BOOL& dialed, uint32_t& newDefault) {
  phoneMenu.SetTemplates(templates);
  const BOOL shown = phoneMenu.Track(contact, list.GetHwnd(), rect, dialed);
  newDefault = phoneMenu.NewDefault();
  return shown;
}

LRESULT ContactList::OnMeasureItem(WPARAM wParam, LPARAM lParam) {
  return phoneMenu.OnMeasureItem(wParam, lParam);
}

LRESULT ContactList::OnDrawItem(WPARAM wParam, LPARAM lParam) { return phoneMenu.OnDrawItem(wParam, lParam); }

void ContactList::OnWidthChanged(int, int) {
  // Rows are painted to the rectangle each paint gives; only the phone menu keeps a width.
  RECT client = list.ClientRect();
  phoneMenu.SetListRect(client);
}

void ContactList::OnMouseMove(int, int) {
  // Nothing of a row follows the stylus; the control does the marking.
}

void ContactList::OnFocusChanged(BOOL) {
  // A marked row is drawn in another colour with the focus than without.
  Array<int> marked;
  list.GetMarkedRows(marked);
  for (int i = 0; i < marked.GetSize(); ++i) list.RepaintRow(marked[i]);
}
