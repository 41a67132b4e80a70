// The contact's note at the end of the page, in the platform's rich ink control, read only.
#include <richink.h>
#include "foundation/Diagnostics.h"
#include "presentation/ContactTextWindow.h"
#include "resources/ViewIds.h"

namespace {

const DWORD kNoteStyle = 0x40200104;  // WS_CHILD | WS_VSCROLL | ES_MULTILINE | ES_NOHIDESEL

struct NoteSource {
  const BYTE* data;
  uint32_t size;
  uint32_t offset;
};

// Hands out the note's bytes in the blocks the control asks for.
DWORD CALLBACK ReadNote(DWORD_PTR cookie, LPBYTE buffer, LONG wanted, LONG* given) {
  NoteSource* source = reinterpret_cast<NoteSource*>(cookie);
  uint32_t rest = source->size - source->offset;
  uint32_t count = wanted > 0 && static_cast<uint32_t>(wanted) < rest ? static_cast<uint32_t>(wanted) : rest;
  if (count) memcpy(buffer, source->data + source->offset, count);
  source->offset += count;
  *given = static_cast<LONG>(count);
  return 0;
}

}  // namespace

ContactNoteControl::ContactNoteControl() : editable(0), oldBlinkTime(0) {}

LRESULT ContactNoteControl::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  HWND parent = GetParent(window);
  switch (message) {
    case WM_CUT:
    case WM_PASTE:
    case WM_CLEAR:
    case WM_CHAR:
      if (!editable) return 0;
      break;
    case WM_SETFOCUS: {
      LRESULT result = CallOld(window, message, wParam, lParam);
      if (!editable) {
        oldBlinkTime = GetCaretBlinkTime();
        SetCaretBlinkTime(static_cast<UINT>(-1));
      }
      PostMessageW(parent, ContactTextWindow::kNoteFocus, 0, 0);
      return result;
    }
    case WM_KILLFOCUS: {
      LRESULT result = CallOld(window, message, wParam, lParam);
      if (!editable && oldBlinkTime) SetCaretBlinkTime(oldBlinkTime);
      PostMessageW(parent, ContactTextWindow::kNoteLostFocus, 0, 0);
      return result;
    }
    case WM_LBUTTONUP: {
      LRESULT result = CallOld(window, message, wParam, lParam);
      PostMessageW(parent, ContactTextWindow::kNoteTapped, 0, 0);
      return result;
    }
    case WM_KEYDOWN: {
      LRESULT result = CallOld(window, message, wParam, lParam);
      PostMessageW(parent, ContactTextWindow::kNoteKey, wParam, lParam);
      PostMessageW(parent, ContactTextWindow::kNoteKeyDown, wParam, lParam);
      return result;
    }
    case ContactTextWindow::kNoteScrolled:
      PostMessageW(parent, ContactTextWindow::kNoteScrolled, 0, 0);
      return 0;
    default:
      break;
  }
  return CallOld(window, message, wParam, lParam);
}

void ContactTextWindow::CreateNote() {
  if (note.GetHwnd()) return;
  HINSTANCE instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(hwnd, GWLP_HINSTANCE));
  HWND control = CreateWindowExW(0, WC_RICHINKW, L"", kNoteStyle, 0, 0, 0, 0, hwnd,
                                 reinterpret_cast<HMENU>(static_cast<UINT_PTR>(kNoteId)), instance, nullptr);
  if (!control) return;
  note.Attach(control);
  SendMessageW(control, EM_SETVIEW, VT_TYPINGVIEW, 0);
  SendMessageW(control, EM_SETPENMODE, MODE_SELECT, 0);
  SendMessageW(control, EM_SETPAGESTYLE, PS_NONE, 0);
}

void ContactTextWindow::SetNote(const BYTE* data, uint32_t size, int section) {
  HWND control = note.GetHwnd();
  if (control) {
    NoteSource source = {data, size, 0};
    EDITSTREAM stream;
    stream.dwCookie = reinterpret_cast<DWORD_PTR>(&source);
    stream.dwError = 0;
    stream.pfnCallback = ReadNote;
    SendMessageW(control, EM_STREAMIN, SF_PWI, reinterpret_cast<LPARAM>(&stream));
    SendMessageW(control, EM_SETVIEW, VT_TYPINGVIEW, 0);
    SendMessageW(control, EM_SETPENMODE, MODE_SELECT, 0);
    SendMessageW(control, EM_SETPAGESTYLE, PS_NONE, 0);
    ShowWindow(control, SW_SHOWNA);
    noteVisible = 1;
  }
  noteSection = section;
  Str title;
  LOAD_STRING_OR_STOP(title, IDS_VIEW_NOTE);
  ContactTextItem& item = items.Add();
  item.kind = ItemTitle;
  item.text.SetFontCache(&fontCache);
  item.text.Parse(title);
  item.section = section;
}
