// richink.dll of the device: the rich ink control, window class "RichInk", as the note viewer. This
// stand-in takes a document streamed in (the device's ink notes, or plain and wide text), shows its
// text wrapped to the window with a scroll bar of its own, selects all of it on a tap and hold (and then
// asks its parent for a menu with notification 1000), answers whether something is selected, and
// copies the selection. Ink, drawing and editing are not there. Each stream is written to the journal.
#include <windows.h>
#include <richink.h>

#include <DeviceJournal.h>

#include <string>

namespace {

constexpr wchar_t kSource[] = L"richink";
constexpr UINT kScrolledMessage = WM_USER + 326;  // told to the control itself after it scrolled
constexpr UINT kMenuNotification = 1000;
constexpr UINT_PTR kHoldTimer = 1;
constexpr UINT kHoldMs = 500;

HINSTANCE g_instance;

struct Control {
  std::wstring text;
  int firstLine = 0;
  int lineCount = 0;
  int lineHeight = 1;
  bool selected = false;
  bool holding = false;
  POINT down = {0, 0};
  UINT view = 0;
  UINT pageStyle = 0;
  UINT penMode = 0;
  HFONT font = nullptr;
};

Control* Of(HWND window) { return reinterpret_cast<Control*>(GetWindowLongPtrW(window, 0)); }

uint16_t U16(const BYTE* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

// The text of one paragraph of an ink note: characters, with the codes for fonts, sizes, colours and
// styles passed over.
void DecodeParagraph(const BYTE* p, size_t length, std::wstring& out) {
  size_t i = 0;
  while (i < length) {
    BYTE lead = p[i];
    if (lead < 0x80) {
      out += static_cast<wchar_t>(lead);
      i += 1;
    } else if (lead <= 0xBF) {
      if (i + 1 < length) out += static_cast<wchar_t>((lead & 0x3F) | (p[i + 1] << 6));
      i += 2;
    } else if (lead == 0xC1) {
      if (i + 1 < length) out += static_cast<wchar_t>(p[i + 1]);
      i += 2;
    } else if (lead == 0xC2 || lead == 0xC3 || lead == 0xC5) {
      i += 3;
    } else if (lead == 0xC4) {
      BYTE control = i + 1 < length ? p[i + 1] : 0;
      if (control == 0x00) return;
      if (control == 0x04) out += L'\t';
      i += control == 0x19 ? 4 : control == 0x1B ? 8 : 2;
    } else if (lead >= 0xE5 && lead <= 0xE8) {
      i += 3;
    } else if (lead >= 0xE9 && lead <= 0xEC) {
      i += 2;
    } else if (lead == 0xEF) {
      i += 4;
    } else if (lead == 0xF1) {
      i += 8;
    } else {
      i += 1;
    }
  }
}

// An ink note: a 14-byte header ("{\\pwi", 15 00 00, 01 01, a 16-bit version and 0), then records of a
// 6-byte head (16-bit type, id and size in 4-byte units; an object's data record counts its size in
// bytes, with the id as the high word) and a body; the paragraphs (type 65) hold the text from the
// 24th byte of their body.
bool DecodeInk(const std::string& data, std::wstring& out) {
  const BYTE* p = reinterpret_cast<const BYTE*>(data.data());
  size_t length = data.size();
  if (length < 14 || data.compare(0, 5, "{\\pwi") != 0) return false;
  if (p[5] != 0x15 || p[6] != 0 || p[7] != 0 || p[8] != 1 || p[9] != 1) return false;
  size_t offset = 14;
  bool first = true;
  while (offset + 7 <= length) {
    uint16_t type = U16(p + offset);
    size_t id = U16(p + offset + 2);
    size_t size = U16(p + offset + 4);
    size_t body = type == 85 ? size + (id << 16) : size * 4;
    if (body > length - offset - 6) break;
    const BYTE* start = p + offset + 6;
    if (type == 65 && body >= 24) {
      size_t textLength = U16(start + 2);
      if (textLength > body - 24) textLength = body - 24;
      if (!first) out += L"\r\n";
      first = false;
      DecodeParagraph(start + 24, textLength, out);
    }
    if (type == 130) break;
    offset += 6 + body;
  }
  return true;
}

std::wstring Decode(const std::string& data) {
  std::wstring out;
  if (DecodeInk(data, out)) return out;
  const BYTE* p = reinterpret_cast<const BYTE*>(data.data());
  size_t length = data.size();
  // Wide text: a mark of two bytes (the device writes FE FF before its wide notes), or zero high bytes
  // in the first characters.
  bool marked = length >= 2 && ((p[0] == 0xFF && p[1] == 0xFE) || (p[0] == 0xFE && p[1] == 0xFF));
  bool wide = marked;
  if (!wide && length >= 4 && length % 2 == 0 && p[1] == 0 && p[3] == 0 && p[0] != 0) wide = true;
  if (wide) {
    size_t skip = marked ? 2 : 0;
    out.assign(reinterpret_cast<const wchar_t*>(p + skip), (length - skip) / 2);
  } else if (length) {
    int count = MultiByteToWideChar(CP_ACP, 0, data.data(), static_cast<int>(length), nullptr, 0);
    out.resize(static_cast<size_t>(count));
    MultiByteToWideChar(CP_ACP, 0, data.data(), static_cast<int>(length), &out[0], count);
  }
  size_t end = out.find(L'\0');
  if (end != std::wstring::npos) out.resize(end);
  return out;
}

RECT TextBox(HWND window) {
  RECT box;
  GetClientRect(window, &box);
  InflateRect(&box, -2, 0);
  return box;
}

void UpdateLayout(HWND window, Control& control) {
  HDC dc = GetDC(window);
  HGDIOBJ old = SelectObject(dc, control.font);
  TEXTMETRICW metrics;
  GetTextMetricsW(dc, &metrics);
  control.lineHeight = metrics.tmHeight > 0 ? metrics.tmHeight : 1;
  RECT box = TextBox(window);
  int height = 0;
  if (!control.text.empty() && box.right > box.left)
    height = DrawTextW(dc, control.text.c_str(), static_cast<int>(control.text.size()), &box,
                       DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL | DT_EXPANDTABS);
  SelectObject(dc, old);
  ReleaseDC(window, dc);
  control.lineCount = (height + control.lineHeight - 1) / control.lineHeight;
  RECT client;
  GetClientRect(window, &client);
  int page = client.bottom / control.lineHeight;
  // A text that fits has no range, and no scroll bar shows.
  SCROLLINFO info = {
      sizeof info, SIF_RANGE | SIF_PAGE | SIF_POS, 0, 0, static_cast<UINT>(page > 0 ? page : 1), 0, 0};
  if (control.lineCount > page && page > 0) info.nMax = control.lineCount - 1;
  int last = info.nMax - static_cast<int>(info.nPage) + 1;
  if (control.firstLine > last) control.firstLine = last > 0 ? last : 0;
  info.nPos = control.firstLine;
  SetScrollInfo(window, SB_VERT, &info, TRUE);
  InvalidateRect(window, nullptr, TRUE);
}

void ScrollToLine(HWND window, Control& control, int line) {
  SCROLLINFO info = {sizeof info, SIF_ALL, 0, 0, 0, 0, 0};
  GetScrollInfo(window, SB_VERT, &info);
  int last = info.nMax - static_cast<int>(info.nPage) + 1;
  if (line > last) line = last;
  if (line < 0) line = 0;
  if (line == control.firstLine) return;
  control.firstLine = line;
  info.fMask = SIF_POS;
  info.nPos = line;
  SetScrollInfo(window, SB_VERT, &info, TRUE);
  InvalidateRect(window, nullptr, TRUE);
  SendMessageW(window, kScrolledMessage, 0, 0);
}

void Paint(HWND window, Control& control) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(window, &ps);
  RECT client;
  GetClientRect(window, &client);
  FillRect(dc, &client, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  HGDIOBJ old = SelectObject(dc, control.font);
  SetBkMode(dc, control.selected ? OPAQUE : TRANSPARENT);
  SetBkColor(dc, GetSysColor(COLOR_HIGHLIGHT));
  SetTextColor(dc, control.selected ? GetSysColor(COLOR_HIGHLIGHTTEXT) : RGB(0, 0, 0));
  RECT box = TextBox(window);
  OffsetRect(&box, 0, -control.firstLine * control.lineHeight);
  box.bottom += control.firstLine * control.lineHeight;
  DrawTextW(dc, control.text.c_str(), static_cast<int>(control.text.size()), &box,
            DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL | DT_EXPANDTABS);
  SelectObject(dc, old);
  EndPaint(window, &ps);
}

void Copy(HWND window, const Control& control) {
  if (!control.selected || !OpenClipboard(window)) return;
  EmptyClipboard();
  SIZE_T bytes = (control.text.size() + 1) * sizeof(wchar_t);
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, bytes);
  if (block) {
    memcpy(GlobalLock(block), control.text.c_str(), bytes);
    GlobalUnlock(block);
    if (!SetClipboardData(CF_UNICODETEXT, block)) GlobalFree(block);
  }
  CloseClipboard();
}

LRESULT StreamIn(HWND window, Control& control, WPARAM format, EDITSTREAM* stream) {
  if (!stream || !stream->pfnCallback) return 0;
  std::string data;
  BYTE block[4096];
  for (;;) {
    LONG given = 0;
    DWORD error = stream->pfnCallback(stream->dwCookie, block, sizeof block, &given);
    stream->dwError = error;
    if (error || given <= 0) break;
    data.append(reinterpret_cast<const char*>(block), static_cast<size_t>(given));
    if (given < static_cast<LONG>(sizeof block)) break;
  }
  control.text = Decode(data);
  control.firstLine = 0;
  control.selected = false;
  // The journal gets the first line of the text that isn't empty (a document may begin with an empty
  // paragraph), so that a test can tell which note was shown.
  const size_t begin = control.text.find_first_not_of(L"\r\n");
  std::wstring first = begin == std::wstring::npos
                           ? std::wstring()
                           : control.text.substr(begin, control.text.find_first_of(L"\r\n", begin) - begin);
  if (first.size() > 80) first.resize(80);
  DeviceJournalWrite(kSource, L"stream in format 0x%lx, %lu bytes, %lu characters: %ls",
                     static_cast<unsigned long>(format), static_cast<unsigned long>(data.size()),
                     static_cast<unsigned long>(control.text.size()), first.c_str());
  UpdateLayout(window, control);
  return static_cast<LRESULT>(control.text.size());
}

void MakeFont(HWND window, Control& control) {
  HDC dc = GetDC(window);
  int dpi = GetDeviceCaps(dc, LOGPIXELSY);
  ReleaseDC(window, dc);
  LOGFONTW font = {};
  font.lfHeight = -MulDiv(9, dpi, 72);
  font.lfWeight = FW_NORMAL;
  font.lfCharSet = DEFAULT_CHARSET;
  lstrcpynW(font.lfFaceName, L"Tahoma", LF_FACESIZE);
  control.font = CreateFontIndirectW(&font);
}

LRESULT CALLBACK RichInkProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  Control* control = Of(window);
  if (message == WM_NCCREATE) {
    control = new Control;
    SetWindowLongPtrW(window, 0, reinterpret_cast<LONG_PTR>(control));
    MakeFont(window, *control);
    return DefWindowProcW(window, message, wParam, lParam);
  }
  if (!control) return DefWindowProcW(window, message, wParam, lParam);
  switch (message) {
    case WM_NCDESTROY:
      if (control->font) DeleteObject(control->font);
      delete control;
      SetWindowLongPtrW(window, 0, 0);
      return DefWindowProcW(window, message, wParam, lParam);
    case WM_SIZE:
      UpdateLayout(window, *control);
      return 0;
    case WM_PAINT:
      Paint(window, *control);
      return 0;
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(control->text.size());
    case WM_GETTEXT: {
      if (wParam == 0) return 0;
      size_t count = control->text.size() < wParam - 1 ? control->text.size() : wParam - 1;
      wchar_t* out = reinterpret_cast<wchar_t*>(lParam);
      memcpy(out, control->text.c_str(), count * sizeof(wchar_t));
      out[count] = 0;
      return static_cast<LRESULT>(count);
    }
    case EM_STREAMIN:
      return StreamIn(window, *control, wParam, reinterpret_cast<EDITSTREAM*>(lParam));
    case EM_SETVIEW: {
      UINT old = control->view;
      control->view = static_cast<UINT>(wParam);
      return old;
    }
    case EM_SETPAGESTYLE:
      control->pageStyle = static_cast<UINT>(wParam);
      return 0;
    case EM_SETPENMODE:
      control->penMode = static_cast<UINT>(wParam);
      return 0;
    case EM_CLEARALL:
      control->text.clear();
      control->selected = false;
      UpdateLayout(window, *control);
      return 0;
    case EM_SELECTED:
      return control->selected ? 1 : 0;
    case EM_SETSEL:
      control->selected = !control->text.empty() && static_cast<LONG>(lParam) != static_cast<LONG>(wParam);
      InvalidateRect(window, nullptr, TRUE);
      return 0;
    case WM_COPY:
      Copy(window, *control);
      return 0;
    case WM_VSCROLL: {
      SCROLLINFO info = {sizeof info, SIF_ALL, 0, 0, 0, 0, 0};
      GetScrollInfo(window, SB_VERT, &info);
      int line = control->firstLine;
      switch (LOWORD(wParam)) {
        case SB_LINEUP:
          line -= 1;
          break;
        case SB_LINEDOWN:
          line += 1;
          break;
        case SB_PAGEUP:
          line -= static_cast<int>(info.nPage);
          break;
        case SB_PAGEDOWN:
          line += static_cast<int>(info.nPage);
          break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION:
          line = static_cast<short>(HIWORD(wParam));
          break;
        case SB_TOP:
          line = 0;
          break;
        case SB_BOTTOM:
          line = info.nMax;
          break;
        default:
          return 0;
      }
      ScrollToLine(window, *control, line);
      return 0;
    }
    case WM_KEYDOWN:
      if (wParam == VK_DOWN) ScrollToLine(window, *control, control->firstLine + 1);
      if (wParam == VK_UP) ScrollToLine(window, *control, control->firstLine - 1);
      return 0;
    case WM_LBUTTONDOWN:
      SetFocus(window);
      control->selected = false;
      control->holding = true;
      control->down.x = static_cast<short>(LOWORD(lParam));
      control->down.y = static_cast<short>(HIWORD(lParam));
      SetTimer(window, kHoldTimer, kHoldMs, nullptr);
      InvalidateRect(window, nullptr, TRUE);
      return 0;
    case WM_MOUSEMOVE:
      if (control->holding && (abs(static_cast<short>(LOWORD(lParam)) - control->down.x) >= 3 ||
                               abs(static_cast<short>(HIWORD(lParam)) - control->down.y) >= 3)) {
        control->holding = false;
        KillTimer(window, kHoldTimer);
      }
      return 0;
    case WM_LBUTTONUP:
      control->holding = false;
      KillTimer(window, kHoldTimer);
      return 0;
    case WM_TIMER:
      if (wParam == kHoldTimer) {
        KillTimer(window, kHoldTimer);
        if (control->holding && !control->text.empty()) {
          control->holding = false;
          control->selected = true;
          InvalidateRect(window, nullptr, TRUE);
          NMHDR header = {window, static_cast<UINT_PTR>(GetDlgCtrlID(window)), kMenuNotification};
          SendMessageW(GetParent(window), WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header));
        }
      }
      return 0;
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) g_instance = instance;
  return TRUE;
}

// Registers the window class "RichInk" for every module of the process, once.
extern "C" __declspec(dllexport) void InitRichInkDLL(void) {
  WNDCLASSW existing;
  if (GetClassInfoW(g_instance, WC_RICHINKW, &existing)) return;
  WNDCLASSW windowClass = {};
  windowClass.style = CS_GLOBALCLASS | CS_DBLCLKS;
  windowClass.lpfnWndProc = RichInkProc;
  windowClass.hInstance = g_instance;
  // The control keeps its state in its extra bytes: the user word is the subclassing program's.
  windowClass.cbWndExtra = sizeof(Control*);
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.lpszClassName = WC_RICHINKW;
  RegisterClassW(&windowClass);
}
