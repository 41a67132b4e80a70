// The copy menu of the contact page: the selected rows, or the note's selected text, to the clipboard.
#include "foundation/Diagnostics.h"
#include "presentation/ContactTextWindow.h"
#include "resources/ViewIds.h"

Str ContactTextWindow::SelectionText() const {
  Str out;
  if (selAnchor < 0 || selEnd < 0) return out;
  int low = selAnchor < selEnd ? selAnchor : selEnd;
  int high = selAnchor < selEnd ? selEnd : selAnchor;
  for (int i = low; i <= high && i < items.GetCount(); ++i) {
    const ContactTextItem& item = items[i];
    if (i > low) out += L"\r\n";
    if (item.kind == ItemTitle) continue;
    if (item.kind == ItemField && selMode == 1) {
      out += item.label;
      out += L": ";
    }
    const wchar_t* plain = item.text.GetPlainText();
    if (plain) out += plain;
  }
  return out;
}

void ContactTextWindow::CopyToClipboard(const Str& text) {
  if (!OpenClipboard(hwnd)) return;
  EmptyClipboard();
  SIZE_T bytes = (static_cast<SIZE_T>(text.GetLength()) + 1) * sizeof(wchar_t);
  // The clipboard of the device takes a block of the process heap.
  void* block = HeapAlloc(GetProcessHeap(), 0, bytes);
  if (block) {
    memcpy(block, static_cast<const wchar_t*>(text), bytes);
    if (!SetClipboardData(CF_UNICODETEXT, block)) HeapFree(GetProcessHeap(), 0, block);
  }
  CloseClipboard();
}

void ContactTextWindow::OpenCopyMenu(POINT at) {
  HMENU menu = CreatePopupMenu();
  if (!menu) return;
  Str copy;
  LOAD_STRING_OR_STOP(copy, IDS_VIEW_COPY);
  AppendMenuW(menu, MF_STRING, kCopyCommand, copy);
  ClientToScreen(hwnd, &at);
  UINT chosen = static_cast<UINT>(
      TrackPopupMenuEx(menu, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RETURNCMD, at.x, at.y, hwnd, nullptr));
  DestroyMenu(menu);
  if (chosen == kCopyCommand) CopyToClipboard(SelectionText());
}

void ContactTextWindow::OpenNoteMenu() {
  HWND control = note.GetHwnd();
  if (!control || !SendMessageW(control, kNoteHasSelection, 0, 0)) return;
  HMENU menu = CreatePopupMenu();
  if (!menu) return;
  Str copy;
  LOAD_STRING_OR_STOP(copy, IDS_VIEW_COPY);
  AppendMenuW(menu, MF_STRING, kCopyCommand, copy);
  POINT at;
  GetCursorPos(&at);
  UINT chosen = static_cast<UINT>(
      TrackPopupMenuEx(menu, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RETURNCMD, at.x, at.y, hwnd, nullptr));
  DestroyMenu(menu);
  if (chosen == kCopyCommand) SendMessageW(control, WM_COPY, 0, 0);
}
