// ContactList: the object, its settings, the row table and the company groups.
#include "lists/ContactList.h"

#include "foundation/Handles.h"
#include "manager/datasource/ContactDataSource.h"
#include "presentation/UserFonts.h"
#include "storage/contact/Contact.h"

ContactList::ContactList(HINSTANCE instance)
    : phoneSelect(), twoLines(0), templates(nullptr), listener(nullptr), source(nullptr), list(instance),
      phoneMenu(), sortType(0), grouped(0), nameOnly(0), tailWidth(0), ellipsisWidth(0), disabled(0) {
  list.SetOwner(this);
}

ContactList::~ContactList() { list.Destroy(); }

BOOL ContactList::Create(HWND parent, DWORD style) {
  list.SetOwner(this);
  list.SetNoGesture(disabled);
  if (!list.Create(parent, style)) return FALSE;
  // The control needs a row height before it is first sized or painted.
  ComputeMetrics();
  return TRUE;
}

void ContactList::SetDisabled(BOOL flag) {
  disabled = flag ? 1 : 0;
  list.SetNoGesture(disabled);
}

void ContactList::SetSource(ContactDataSource* value) {
  if (value == source) return;
  source = value;
  if (!list.GetHwnd()) return;
  if (!source) {
    rows.RemoveAll();
    list.SetRowCount(0, TRUE, -1);
    list.Refresh();
    return;
  }
  Populate(-1, -1);
}

void ContactList::ComputeMetrics() {
  HWND window = list.GetHwnd();
  if (!window) return;
  WindowDC dc(window);
  if (dc.IsEmpty()) return;
  HFONT font = GetListFont(false);
  HGDIOBJ old = font ? SelectObject(dc.Get(), font) : nullptr;
  SIZE dots = {0, 0};
  GetTextExtentPoint32W(dc.Get(), L"...", 3, &dots);
  ellipsisWidth = dots.cx;
  TEXTMETRICW metrics = {};
  GetTextMetricsW(dc.Get(), &metrics);
  if (old) SelectObject(dc.Get(), old);
  tailWidth = metrics.tmMaxCharWidth - 5;
  const int line = metrics.tmHeight + metrics.tmInternalLeading;
  list.SetRowHeight(twoLines ? 2 * line : line);
  RECT client;
  GetClientRect(window, &client);
  phoneMenu.SetListRect(client);
}

void ContactList::Recalculate() {
  ComputeMetrics();
  list.Refresh();
}

void ContactList::Populate(int group, int item) {
  if (!source) return;
  ComputeMetrics();
  grouped = source->GetSortKind() == 2 ? 1 : 0;
  rows.RemoveAll();
  int count = 0;
  int select = -1;
  if (!grouped) {
    count = source->GroupCount() > 0 ? source->RowsInGroup(0) : 0;
    select = item;
  } else {
    // The expanded titles as group indices; a title the result no longer has is forgotten.
    Array<int> open;
    for (int i = 0; i < expanded.GetSize();) {
      int found = -1;
      for (int g = 0; g < source->GroupCount() && found < 0; ++g)
        if (source->GroupTitle(g) == expanded[i]) found = g;
      if (found < 0) {
        expanded.RemoveAt(i);
        continue;
      }
      open.Add(found);
      ++i;
    }
    for (int i = 1; i < open.GetSize(); ++i) {
      const int value = open[i];
      int j = i;
      for (; j > 0 && open[j - 1] > value; --j) open[j] = open[j - 1];
      open[j] = value;
    }
    int next = 0;
    for (int g = 0; g < source->GroupCount(); ++g) {
      if (group == g && item == -1) select = rows.GetSize();
      rows.Add(ListPosition{g, -1});
      if (next >= open.GetSize() || open[next] != g) continue;
      while (next < open.GetSize() && open[next] == g) ++next;
      const int size = source->RowsInGroup(g);
      for (int j = 0; j < size; ++j) {
        if (group == g && item == j) select = rows.GetSize();
        rows.Add(ListPosition{g, j});
      }
    }
    count = rows.GetSize();
  }
  list.SetRowCount(count, group == -1 && item == -1, select);
  list.Refresh();
}

ListPosition ContactList::RowToPosition(int row) const {
  if (row < 0) return ListPosition{-1, -1};
  if (grouped) return row < rows.GetSize() ? rows[row] : ListPosition{-1, -1};
  return row < list.RowCount() ? ListPosition{0, row} : ListPosition{-1, -1};
}

ListPosition ContactList::GetCurrent() const {
  if (list.RowCount() == 0) return ListPosition{-1, -1};
  return RowToPosition(list.Caret());
}

int ContactList::PhotoSize() const { return twoLines ? list.RowHeight() : 1; }

Contact* ContactList::ContactAt(const ListPosition& position) {
  if (!source || position.group < 0 || position.item < 0) return nullptr;
  Contact* contact = nullptr;
  if (!source->GetCachedContact(position.group, position.item, contact, PhotoSize())) return nullptr;
  return contact;
}

Contact* ContactList::GetContactAtRow(int row) { return ContactAt(RowToPosition(row)); }

// --- company groups ----------------------------------------------------------------------------------

BOOL ContactList::IsExpanded(int row) const {
  if (!grouped || row < 0 || row + 1 >= rows.GetSize()) return FALSE;
  const ListPosition header = rows[row];
  return header.item == -1 && rows[row + 1].group == header.group;
}

BOOL ContactList::IsTitleExpanded(const Str& title) const {
  for (int i = 0; i < expanded.GetSize(); ++i)
    if (expanded[i] == title) return TRUE;
  return FALSE;
}

void ContactList::ForgetTitle(const Str& title) {
  for (int i = expanded.GetSize() - 1; i >= 0; --i)
    if (expanded[i] == title) expanded.RemoveAt(i);
}

BOOL ContactList::ExpandRow(int row) {
  if (!source || !grouped || row < 0 || row >= rows.GetSize()) return FALSE;
  const ListPosition header = rows[row];
  if (header.item != -1 || IsExpanded(row)) return FALSE;
  const int size = source->RowsInGroup(header.group);
  if (size == 0) return FALSE;
  for (int j = 0; j < size; ++j) rows.InsertAt(row + 1 + j, ListPosition{header.group, j});
  const Str title = source->GroupTitle(header.group);
  if (!IsTitleExpanded(title)) expanded.Add(title);
  list.SetRowCount(rows.GetSize(), FALSE, -1);
  list.Refresh();
  return TRUE;
}

BOOL ContactList::CollapseRow(int row) {
  if (!source || !grouped || row < 0 || row >= rows.GetSize()) return FALSE;
  const ListPosition header = rows[row];
  if (header.item != -1 || !IsExpanded(row)) return FALSE;
  int removed = 0;
  while (row + 1 < rows.GetSize() && rows[row + 1].group == header.group) {
    rows.RemoveAt(row + 1);
    ++removed;
  }
  ForgetTitle(source->GroupTitle(header.group));
  const int count = list.RowCount() - removed;
  list.SetRowCount(count > 0 ? count : 0, FALSE, -1);
  list.Refresh();
  return TRUE;
}

BOOL ContactList::ToggleRow(int row) { return IsExpanded(row) ? CollapseRow(row) : ExpandRow(row); }

// --- moving from contact to contact ------------------------------------------------------------------

BOOL ContactList::NextContact() {
  if (!source || list.RowCount() == 0) return FALSE;
  for (int row = list.Caret() + 1; row < list.RowCount(); ++row) {
    int target = -1;
    if (RowToPosition(row).item >= 0)
      target = row;
    else if (!IsExpanded(row) && ExpandRow(row))
      target = row + 1;
    if (target >= 0) {
      list.SetCaret(target);
      list.Refresh();
      return TRUE;
    }
  }
  return FALSE;
}

BOOL ContactList::PrevContact() {
  if (!source || list.RowCount() == 0) return FALSE;
  for (int row = list.Caret() - 1; row >= 0; --row) {
    const ListPosition position = RowToPosition(row);
    int target = -1;
    if (position.item >= 0) {
      target = row;
    } else if (!IsExpanded(row) && ExpandRow(row)) {
      // The caret goes to the group's last contact.
      target = row + source->RowsInGroup(position.group);
    }
    if (target >= 0) {
      list.SetCaret(target);
      list.Refresh();
      return TRUE;
    }
  }
  return FALSE;
}
