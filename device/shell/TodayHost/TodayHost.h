// TodayHost: the device's Today screen. One top-level window of the work area's size with a header band
// (date and owner) and the custom items of HKLM\Software\Microsoft\Today\Items stacked below it.
#pragma once
#include <windows.h>
#include <todaycmn.h>

#include <memory>
#include <string>
#include <vector>

namespace todayhost {

// The window class sibling programs look for to make the Today screen reload its items.
constexpr wchar_t kHostClass[] = L"DesktopExplorerWindow";
constexpr wchar_t kItemsKey[] = L"Software\\Microsoft\\Today\\Items";
constexpr wchar_t kOwnerKey[] = L"ControlPanel\\Owner";
constexpr WPARAM kReloadItems = 0xF2;    // wParam of WM_WININICHANGE that makes the screen reload its items
constexpr UINT kMsgReload = WM_APP + 1;  // posted to itself: reload once the current message is done

// Source name of every journal line this program writes.
constexpr wchar_t kJournalSource[] = L"TodayHost";

// One custom item on the screen. The TODAYLISTITEM stays at one address for the item's life: the item
// may keep the pointer it gets at initialisation.
struct HostItem {
  TODAYLISTITEM tli{};
  HMODULE module = nullptr;
  DWORD height = 0;  // height the layout uses, taken from cyp when the item answers TRUE to a poll
  RECT placed{};     // where the item window was put last, client coordinates of the host
};

// One line of a script.
struct ScriptCommand {
  int line = 0;
  std::wstring verb;
  std::vector<std::wstring> args;
  std::wstring rest;  // everything after the verb, trimmed
};

// Reads a script file (UTF-8 with or without BOM, or UTF-16LE with BOM). Blank lines and lines starting
// with '#' are skipped. Returns false when the file can't be read.
bool ReadScript(const std::wstring& path, std::vector<ScriptCommand>* commands);

// Parses a key name (up, down, left, right, enter or action, talk, end, home, back, soft1, soft2) or a
// number (decimal or 0x hexadecimal) into a virtual-key code; 0 when it is neither.
UINT ParseKey(const std::wstring& text);

// One stylus event of a script.
enum class PenAction { kDown, kMove, kUp };
struct PenStep {
  PenAction action;
  POINT at;
  UINT delayMs;  // before the step
};

// Writes the screen rectangle as a PNG file through the imaging component. Returns S_OK or the failure.
HRESULT SaveScreenPng(const RECT& screenRect, const std::wstring& path);

class Host {
 public:
  Host(HINSTANCE instance, std::wstring scriptPath, bool exitAtEnd);
  ~Host();

  // Creates the window, loads the items and starts the script. False when the window can't be made.
  bool Start();

 private:
  static LRESULT CALLBACK WindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  LRESULT Handle(UINT msg, WPARAM wParam, LPARAM lParam);

  // Items.
  void LoadItems();
  void UnloadItems();
  void Reload();
  void Poll();
  void Layout();
  LRESULT SendToItem(size_t index, UINT msg, WPARAM wParam, LPARAM lParam);
  int IndexOfWindow(HWND hwnd) const;
  const wchar_t* NameOf(size_t index) const;

  // Selection and keys.
  bool Selectable(size_t index) const;
  void HandleKey(UINT vk);
  void MoveSelection(UINT vk);
  void ClearSelection();
  void Select(int index);
  void Action(size_t index);

  // Screen.
  void Paint(HDC dc);
  void MakeFonts();
  int ScaleY(int units) const { return MulDiv(units, dpi_, 96); }
  int HeaderHeight() const;
  int Gap() const { return ScaleY(2) > 0 ? ScaleY(2) : 1; }
  COLORREF Color(WPARAM which) const;

  // Script.
  void ScheduleScript(UINT delayMs);
  void RunScript();
  UINT RunCommand(const ScriptCommand& command);  // returns the delay before the next command
  void Pen(PenAction action, int x, int y);
  void QueuePen(PenAction action, int x, int y, UINT delayMs);
  void LiftPen();  // a stroke the script left pressed ends where the pen is
  void Shot(const std::wstring& path);
  // The visible windows and lists of the host's thread, as text in a file.
  void Probe(const std::wstring& path);

  // Hardware keys and the shell's own buttons, delivered as the device does.
  // A key pressed and released, or one of the two alone (a held key).
  void DeliverKey(UINT vk);
  void DeliverKeyDown(UINT vk);
  void DeliverKeyUp(UINT vk);
  HWND KeyTarget(UINT vk, bool up);
  // The window in front as the device's user sees it: the foreground window when it is one of the
  // host's; otherwise (a program elsewhere on the shared screen took the focus) the host's topmost
  // visible window that no other window owns (a menu bar is owned), brought back to the front.
  HWND FrontWindow();
  void PostKey(HWND target, UINT vk, bool up);
  void PressNavigationButton();
  void EndScript();

  // Work that must not run while a message to an item is still being handled.
  void RunDeferred();
  void Shutdown();

  HINSTANCE instance_;
  HWND hwnd_ = nullptr;
  std::wstring scriptPath_;
  bool exitAtEnd_;
  int dpi_ = 96;
  HFONT dateFont_ = nullptr;
  HFONT ownerFont_ = nullptr;
  HBRUSH background_ = nullptr;

  std::vector<std::unique_ptr<HostItem>> items_;
  int selected_ = -1;
  int itemCallDepth_ = 0;
  bool reloadPending_ = false;
  bool closePending_ = false;
  bool shutDown_ = false;

  std::vector<ScriptCommand> script_;
  size_t scriptNext_ = 0;
  bool scriptRunning_ = false;
  std::vector<PenStep> penSteps_;  // stylus events still to come before the next command
  size_t penNext_ = 0;
  bool penDown_ = false;
  POINT penAt_{};
  bool penByInput_ = false;   // the stylus went down as real input
  HWND penTarget_ = nullptr;  // the window that got the press when it was posted
};

}  // namespace todayhost
