// Real windows that record what they get, and the device's geometry as the shell library sees it.
#pragma once
#include <windows.h>
#include "MessagePump.h"

#include <string>
#include <vector>

namespace aygtest {

struct Received {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
};

// Every message a recording window gets, in order of arrival. WM_NOTIFY keeps a copy of its header and
// point (the record behind lParam lives only for the call).
extern std::vector<Received> g_received;
struct NotifySeen {
  HWND hwnd;
  NMHDR header;
  POINT point;
};
extern std::vector<NotifySeen> g_notifies;

// What a recording window answers to WM_NOTIFY.
extern LRESULT g_notifyResult;

// A window of the recording class: top-level (WS_POPUP) without a parent, else a child.
HWND MakeWindow(HWND parent = nullptr, int x = 0, int y = 40, int w = 200, int h = 150, bool visible = true);

// The messages `hwnd` received of the given number, in order.
std::vector<Received> Of(HWND hwnd, UINT message);

int ScaleY(int units);
RECT WorkArea();

bool SameRect(const RECT& a, const RECT& b);
std::string Text(const RECT& r);

// The journal lines of the source "aygshell" written since the last call of MarkJournal.
void MarkJournal();
std::vector<std::string> AygJournal();
bool AygJournalHas(const std::string& event);

// Shows or hides the input panel through the library, then forgets what that sent.
void SetPanel(bool on, bool locked = false);
bool PanelOn();

}  // namespace aygtest
