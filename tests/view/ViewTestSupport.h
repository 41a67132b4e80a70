// Shared by the contact page tests: the skin and the template set up once, a recording parent window,
// rows looked up by their text, taps and holds as real mouse messages, the copy menu answered from a
// timer while it runs, and the clipboard read back.
#pragma once
#include <windows.h>
#include <string>
#include <vector>
#include "presentation/ContactTextWindow.h"
#include "presentation/ContactView.h"

namespace viewtest {

// The skin, the item's fonts and the default contact template, once per program.
void SetUpOnce();

// What a parent window received from the page.
struct Report {
  int section;
  int isValue;
  int key;
  std::wstring text;
};
std::vector<Report>& Reports();
std::vector<UINT>& ParentMessages();

// A visible top-level window of `width` x `height` that records WM_NOTIFY and the page's messages.
HWND MakeParent(int width, int height);

// The index of the first row whose plain text is `text`, or -1.
int FindRow(const ContactTextWindow& window, const std::wstring& text);
// The plain texts of the rows of `section`, in order.
std::vector<std::wstring> RowTexts(const ContactTextWindow& window, int section);
// The point in the middle of the row's text, in client coordinates; false when it isn't in view.
bool TextPoint(const ContactTextWindow& window, int row, POINT& at);
bool LabelPoint(const ContactTextWindow& window, int row, POINT& at);

void Down(HWND window, POINT at);
void Move(HWND window, POINT at);
void Up(HWND window, POINT at);
void Key(HWND window, UINT key);

// Runs messages for `ms` while watching for the popup menu: when it shows, it is answered with
// `choose` (true: the first entry is chosen; false: the menu is dismissed). Gives the number of menus
// seen, and the texts of the first menu's entries in `entries`.
int PumpWatchingMenu(DWORD ms, bool choose, std::vector<std::wstring>* entries = nullptr);

std::wstring ClipboardText();
void SetClipboardText(const std::wstring& text);

std::string U8(const std::wstring& text);

}  // namespace viewtest
