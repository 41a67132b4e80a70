// The phone chooser on real windows: which contacts bring it up (through the contact list's talk key),
// what it shows and in which order, its layout and paint, keys, buttons and stylus, pick mode, and how
// it keeps the foreground. Calls and messages are read from the device journal, where the device's
// phone and mail programs write what they were asked to do.
#include <doctest/doctest.h>
#include <windows.h>

#include <aygshell.h>
#include <winuserm.h>

#include <string>
#include <vector>

#include "ContactListKit.h"
#include "MessagePump.h"
#include "PhoneTestSupport.h"
#include "WideText.h"
#include "foundation/Settings.h"
#include "lists/ContactList.h"
#include "lists/PhoneSelectWnd.h"
#include "phone/PhoneDevice.h"
#include "phone/PhoneTemplates.h"
#include "presentation/ContactTemplate.h"
#include "presentation/Skin.h"
#include "storage/contact/Contact.h"

using phonetest::EventsSince;
using phonetest::JournalMark;

namespace {

const uint32_t kHomeId = 0x3a09001f;

void SetUpOnce() {
  static bool done = false;
  if (done) return;
  done = true;
  Skin::Start(GetModuleHandleW(nullptr));
  if (!g_contactTemplate) {
    g_contactTemplate = new ContactTemplate;
    g_contactTemplate->SetDefaults();
  }
  WNDCLASSW parent = {};
  parent.lpfnWndProc = DefWindowProcW;
  parent.hInstance = GetModuleHandleW(nullptr);
  parent.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  parent.lpszClassName = L"PhoneSelectTestParent";
  RegisterClassW(&parent);
}

// The first journal line of `source` since `mark` that contains `text`, waited for up to `ms`.
bool JournalContains(size_t mark, const std::string& source, const std::string& text, DWORD ms = 8000) {
  const DWORD start = GetTickCount();
  do {
    for (const std::string& event : EventsSince(mark, source))
      if (event.find(text) != std::string::npos) return true;
    Pump(50);
  } while (GetTickCount() - start < ms);
  return false;
}

// Whether any call reached the phone since `mark`, after `ms` of waiting for one.
bool AnyCall(size_t mark, DWORD ms = 1500) { return JournalContains(mark, "phone", "PhoneMakeCall", ms); }

std::string Call(const char* number) { return std::string("PhoneMakeCall number \"") + number + "\""; }

Contact Person(const wchar_t* first, const wchar_t* last) {
  Contact contact = phonetest::MakeContact(first, last);
  return contact;
}

// Greta Hollis with a work, a home and a mobile number.
Contact ThreeNumbers() {
  Contact contact = Person(L"Greta", L"Hollis");
  contact.text[ContactField::WorkPhone] = L"555-0100";
  contact.text[ContactField::HomePhone] = L"555-0200";
  contact.text[ContactField::MobilePhone] = L"555-0300";
  return contact;
}

Contact OneNumber() {
  Contact contact = Person(L"Ivo", L"Ingram");
  contact.text[ContactField::MobilePhone] = L"555-0900";
  return contact;
}

void SetDialType(DWORD value) { SetSettingDword(SECTION_SETTINGS, L"DialType", value, TRUE); }

// Numbers in square brackets, to see that the chooser formats what it shows.
using listtest::BracketTemplates;

// The contact list, for the chooser it owns.
class TestList : public ContactList {
 public:
  TestList() : ContactList(GetModuleHandleW(nullptr)) {}
  PhoneSelectWnd& Chooser() { return phoneSelect; }
};

// A pick-mode caller that writes down what it heard.
class PickRecorder : public PhoneSelectCallback {
 public:
  void OnPhonePicked(int index) override { heard.push_back("picked " + std::to_string(index)); }
  void OnPhonePickCancelled() override { heard.push_back("cancelled"); }
  std::vector<std::string> heard;
};

// A parent window with a contact list in it, the settings cleared, the phone program stopped.
struct Fixture {
  HWND parent = nullptr;
  TestList list;

  Fixture() {
    SetUpOnce();
    phonetest::ClearSettings();
    phonetest::StopPhoneProgram();
    parent = CreateWindowExW(0, L"PhoneSelectTestParent", L"parent", WS_POPUP | WS_VISIBLE, 0, 0,
                             GetSystemMetrics(SM_CXSCREEN), ScaleY(200), nullptr, nullptr,
                             GetModuleHandleW(nullptr), nullptr);
    REQUIRE(parent != nullptr);
    REQUIRE(list.Create(parent, WS_CHILD | WS_VISIBLE));
    MoveWindow(list.ContactWindow(), 0, 0, GetSystemMetrics(SM_CXSCREEN), ScaleY(200), FALSE);
    Pump();
  }
  ~Fixture() {
    if (Chooser().IsShown()) Chooser().Close();
    DestroyWindow(parent);
    Pump();
    phonetest::StopPhoneProgram();
  }
  PhoneSelectWnd& Chooser() { return list.Chooser(); }
  HWND Window() { return Chooser().GetHwnd(); }
  HWND ListWindow() { return Chooser().List().GetHwnd(); }
  bool Up() { return Chooser().IsShown() && Window() && IsWindowVisible(Window()); }
  std::vector<std::string> Rows() {
    std::vector<std::string> rows;
    for (int i = 0; i < Chooser().Numbers().GetSize(); ++i)
      rows.push_back(U8(Chooser().Numbers()[i].label) + " " + U8(Chooser().Numbers()[i].value));
    return rows;
  }
  void KeyUp(UINT key) {
    SendMessageW(ListWindow(), WM_KEYUP, key, 0xC0000001);
    Pump();
  }
  void KeyDown(UINT key) {
    SendMessageW(ListWindow(), WM_KEYDOWN, key, 1);
    Pump();
  }
  void TalkKey(bool release) {
    PostMessageW(Window(), WM_HOTKEY, PhoneSelectWnd::kTalkKey,
                 MAKELPARAM(release ? MOD_KEYUP : 0, PhoneSelectWnd::kTalkKey));
    Pump();
  }
  POINT Centre(const RECT& rect) { return POINT{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2}; }
  // The pointer goes where the stylus is first: the window that holds the capture gets the pointer's
  // own moves too.
  void PointerAt(HWND window, POINT at) {
    ClientToScreen(window, &at);
    SetCursorPos(at.x, at.y);
  }
  void Press(HWND window, POINT at) {
    PointerAt(window, at);
    SendMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y));
    Pump();
  }
  void Move(HWND window, POINT at) {
    PointerAt(window, at);
    SendMessageW(window, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(at.x, at.y));
    Pump();
  }
  void Release(HWND window, POINT at) {
    PointerAt(window, at);
    SendMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
    Pump();
  }
};

// The screen's pixel at a client point of `window`.
COLORREF ScreenPixel(HWND window, int x, int y) {
  POINT point = {x, y};
  ClientToScreen(window, &point);
  HDC screen = GetDC(nullptr);
  COLORREF color = GetPixel(screen, point.x, point.y);
  ReleaseDC(nullptr, screen);
  return color;
}

// The window as it stands on the screen, as a 24-bit BMP file to look at.
void SaveWindowPicture(HWND window, const std::wstring& path) {
  RECT rect;
  GetWindowRect(window, &rect);
  const int width = rect.right - rect.left, height = rect.bottom - rect.top;
  HDC screen = GetDC(nullptr);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HGDIOBJ old = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, width, height, screen, rect.left, rect.top, SRCCOPY);
  SelectObject(memory, old);
  BITMAPINFOHEADER info = {};
  info.biSize = sizeof info;
  info.biWidth = width;
  info.biHeight = height;
  info.biPlanes = 1;
  info.biBitCount = 24;
  const DWORD stride = (static_cast<DWORD>(width) * 3 + 3) & ~3u;
  std::vector<BYTE> pixels(stride * static_cast<DWORD>(height));
  GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), pixels.data(), reinterpret_cast<BITMAPINFO*>(&info),
            DIB_RGB_COLORS);
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  BITMAPFILEHEADER head = {};
  head.bfType = 0x4D42;
  head.bfOffBits = sizeof head + sizeof info;
  head.bfSize = head.bfOffBits + static_cast<DWORD>(pixels.size());
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  DWORD written = 0;
  WriteFile(file, &head, sizeof head, &written, nullptr);
  WriteFile(file, &info, sizeof info, &written, nullptr);
  WriteFile(file, pixels.data(), static_cast<DWORD>(pixels.size()), &written, nullptr);
  CloseHandle(file);
}

// A hidden top-level window of this thread, of a class of that name.
HWND MakeWindowOfClass(const wchar_t* name) {
  WNDCLASSW wc = {};
  wc.lpfnWndProc = DefWindowProcW;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH));
  wc.lpszClassName = name;
  RegisterClassW(&wc);
  return CreateWindowExW(0, name, name, WS_POPUP, 20, 60, 100, 100, nullptr, nullptr,
                         GetModuleHandleW(nullptr), nullptr);
}

// A top-level window on a thread of its own, as another program's window would be.
struct OtherProgram {
  HANDLE thread = nullptr;
  HANDLE ready = nullptr;
  HWND window = nullptr;
  std::wstring windowClass;
  explicit OtherProgram(const wchar_t* className) : windowClass(className) {
    ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    thread = CreateThread(nullptr, 0, Run, this, 0, nullptr);
    WaitForSingleObject(ready, 10000);
  }
  ~OtherProgram() {
    if (window) PostMessageW(window, WM_CLOSE, 0, 0);
    WaitForSingleObject(thread, 10000);
    CloseHandle(thread);
    CloseHandle(ready);
  }
  static LRESULT CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_DESTROY) PostQuitMessage(0);
    return DefWindowProcW(window, message, wParam, lParam);
  }
  static DWORD WINAPI Run(void* self) {
    OtherProgram* other = static_cast<OtherProgram*>(self);
    WNDCLASSW wc = {};
    wc.lpfnWndProc = Proc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH));
    wc.lpszClassName = other->windowClass.c_str();
    RegisterClassW(&wc);
    other->window = CreateWindowExW(0, other->windowClass.c_str(), L"another program", WS_POPUP, 10, 40, 120,
                                    120, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    SetEvent(other->ready);
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    return 0;
  }
  // Comes up in front, as a program that starts does.
  void PopUp() {
    ShowWindow(window, SW_SHOW);
    SetForegroundWindow(window);
  }
};

}  // namespace

// --- which contacts bring the chooser up -------------------------------------------------------------

TEST_CASE("edge: DialType 2 and a single number: no chooser, the talk key dials the number at once") {
  Fixture f;
  SetDialType(2);
  Contact contact = OneNumber();
  size_t mark = JournalMark();
  CHECK(f.list.CallContact(&contact));
  CHECK_FALSE(f.Up());
  CHECK(JournalContains(mark, "phone", Call("555-0900")));
}

TEST_CASE("DialType 2 and three numbers: the chooser comes up and nothing is dialled yet") {
  Fixture f;
  SetDialType(2);
  Contact contact = ThreeNumbers();
  size_t mark = JournalMark();
  CHECK(f.list.CallContact(&contact));
  CHECK(f.Up());
  CHECK(f.Chooser().List().Count() == 3);
  CHECK_FALSE(AnyCall(mark));
}

TEST_CASE("edge: DialType 3 and a single number: the chooser shows it") {
  Fixture f;
  SetDialType(3);
  Contact contact = OneNumber();
  size_t mark = JournalMark();
  CHECK(f.list.CallContact(&contact));
  CHECK(f.Up());
  CHECK(f.Rows() == std::vector<std::string>{"Mobile 555-0900"});
  CHECK_FALSE(AnyCall(mark));
}

TEST_CASE("without a DialType setting the chooser always shows (the default is 3)") {
  Fixture f;
  Contact contact = OneNumber();
  CHECK(f.Chooser().Show(f.parent, &contact, nullptr));
  CHECK(f.Up());
}

TEST_CASE("edge: DialType 1 never brings the chooser up; the talk key dials the default number") {
  Fixture f;
  for (DWORD type : {1u, 0u, 4u}) {
    CAPTURE(type);
    SetDialType(type);
    Contact three = ThreeNumbers();
    three.defaultItem = kHomeId;
    Contact one = OneNumber();
    CHECK_FALSE(f.Chooser().Show(f.parent, &three, nullptr));
    CHECK_FALSE(f.Chooser().Show(f.parent, &one, nullptr));
    CHECK_FALSE(f.Up());
  }
  SetDialType(1);
  Contact three = ThreeNumbers();
  three.defaultItem = kHomeId;
  size_t mark = JournalMark();
  CHECK(f.list.CallContact(&three));
  CHECK_FALSE(f.Up());
  CHECK(JournalContains(mark, "phone", Call("555-0200")));
}

TEST_CASE("edge: a contact without any number brings no chooser up and calls nothing") {
  Fixture f;
  for (DWORD type : {2u, 3u}) {
    CAPTURE(type);
    SetDialType(type);
    Contact none = Person(L"Nora", L"Nobody");
    none.text[ContactField::Email1] = L"nora@example.com";
    size_t mark = JournalMark();
    CHECK_FALSE(f.Chooser().Show(f.parent, &none, nullptr));
    CHECK_FALSE(f.list.CallContact(&none));
    CHECK_FALSE(f.Up());
    CHECK_FALSE(AnyCall(mark, 300));
  }
  CHECK_FALSE(f.Chooser().Show(f.parent, nullptr, nullptr));
}

// --- the talk key and the other keys --------------------------------------------------------------------

TEST_CASE("edge: a second talk key press in the chooser dials the selected number and closes it") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.list.CallContact(&contact));
  REQUIRE(f.Up());
  // The menu bar hands the talk key to the chooser.
  if (IsPhoneDevice())
    CHECK((SendMessageW(f.Chooser().GetMenuBar(), SHCMBM_OVERRIDEKEY, PhoneSelectWnd::kTalkKey, 0) & 3) == 3);
  f.KeyDown(VK_DOWN);
  CHECK(f.Chooser().List().Selected() == 1);
  size_t mark = JournalMark();
  // The release of the press that brought the chooser up dials nothing.
  f.TalkKey(true);
  CHECK(f.Up());
  CHECK_FALSE(AnyCall(mark, 500));
  f.TalkKey(false);
  CHECK(JournalContains(mark, "phone", Call("555-0200")));
  CHECK_FALSE(f.Chooser().IsShown());
  CHECK_FALSE(IsWindowVisible(f.Window()));
}

TEST_CASE("Return and the pad's centre dial the selection; End closes without a call") {
  Fixture f;
  Contact contact = ThreeNumbers();
  for (UINT key : {static_cast<UINT>(VK_RETURN), PhoneSelectWnd::kActionKey}) {
    CAPTURE(key);
    REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
    f.KeyDown(VK_DOWN);
    f.KeyDown(VK_DOWN);
    size_t mark = JournalMark();
    f.KeyUp(key);
    CHECK(JournalContains(mark, "phone", Call("555-0300")));
    CHECK_FALSE(f.Up());
    phonetest::StopPhoneProgram();
  }
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  size_t mark = JournalMark();
  SendMessageW(f.ListWindow(), WM_KEYUP, PhoneSelectWnd::kEndKey, 0xC0000001);
  // The focus goes back to the window that asked.
  CHECK(GetFocus() == f.parent);
  Pump();
  CHECK_FALSE(f.Up());
  CHECK_FALSE(AnyCall(mark));
}

TEST_CASE("the pad's centre comes up as Return and as its own key: one call, and nothing once closed") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  size_t mark = JournalMark();
  SendMessageW(f.ListWindow(), WM_KEYUP, VK_RETURN, 0xC0000001);
  SendMessageW(f.ListWindow(), WM_KEYUP, PhoneSelectWnd::kActionKey, 0xC0000001);
  Pump();
  CHECK(JournalContains(mark, "phone", Call("555-0100")));
  Pump(500);
  int calls = 0;
  for (const std::string& event : EventsSince(mark, "phone")) calls += event.find("PhoneMakeCall") == 0;
  CHECK(calls == 1);
  // Commands that reach a closed window do nothing.
  mark = JournalMark();
  SendMessageW(f.Window(), WM_COMMAND, PhoneSelectWnd::kCommandDial, 0);
  SendMessageW(f.Window(), WM_COMMAND, PhoneSelectWnd::kCommandSms, 0);
  CHECK_FALSE(AnyCall(mark, 500));
  CHECK(EventsSince(mark, "tmail").empty());
}

TEST_CASE("Up at the first row and Down at the last do nothing; the selection stays in the rows") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  CHECK(f.Chooser().List().Selected() == 0);
  f.KeyDown(VK_UP);
  CHECK(f.Chooser().List().Selected() == 0);
  f.KeyDown(VK_DOWN);
  f.KeyDown(VK_DOWN);
  f.KeyDown(VK_DOWN);
  CHECK(f.Chooser().List().Selected() == 2);
  f.KeyDown(VK_UP);
  CHECK(f.Chooser().List().Selected() == 1);
  CHECK(f.Up());
}

// --- what it shows -----------------------------------------------------------------------------------------

TEST_CASE("the numbers follow the contact template's phone order, the default selected, in the user's form") {
  Fixture f;
  Contact contact = ThreeNumbers();
  LabelValue extra;
  extra.label = L"Boat";
  extra.value = L"555-0400";
  contact.Phone.Add(extra);
  contact.defaultItem = kHomeId;
  TemplateSection* phones = g_contactTemplate->GetSection(SectionPhone);
  const Array<int32_t> kept = phones->order;
  // Mobile first, then work.
  phones->order.RemoveAll();
  phones->order.Add(2);
  phones->order.Add(0);
  BracketTemplates templates;
  REQUIRE(f.Chooser().Show(f.parent, &contact, &templates));
  phones->order = kept;
  CHECK(f.Rows() == std::vector<std::string>{"Mobile [555-0300]", "Work phone [555-0100]",
                                             "Home phone [555-0200]", "Boat [555-0400]"});
  CHECK(f.Chooser().List().Selected() == 2);
  // The contact's own record keeps its numbers as they were.
  CHECK(U8(contact.text[ContactField::MobilePhone]) == "555-0300");
}

TEST_CASE("the heading: the built name and the company; FileAs under sort type 1; Unnamed for nobody") {
  Fixture f;
  Contact contact = ThreeNumbers();
  contact.text[ContactField::Company] = L"Quarry Lane Books";
  contact.text[ContactField::FileAs] = L"Hollis, Greta";
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  CHECK(U8(f.Chooser().Name()) == "Hollis, Greta");
  CHECK(U8(f.Chooser().Second()) == "Quarry Lane Books");

  SetSettingDword(SECTION_SETTINGS, L"SortType", 1, TRUE);
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  CHECK(U8(f.Chooser().Name()) == "Hollis, Greta");
  CHECK(U8(f.Chooser().Second()) == "Quarry Lane Books");
  // A FileAs that is the company shows once.
  contact.text[ContactField::FileAs] = L"Quarry Lane Books";
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  CHECK(U8(f.Chooser().Name()) == "Quarry Lane Books");
  CHECK(f.Chooser().Second().IsEmpty());
  // No FileAs: the company moves up.
  contact.text[ContactField::FileAs] = L"";
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  CHECK(U8(f.Chooser().Name()) == "Quarry Lane Books");
  CHECK(f.Chooser().Second().IsEmpty());

  SetSettingDword(SECTION_SETTINGS, L"SortType", 0, TRUE);
  Contact nobody;
  nobody.text[ContactField::CarPhone] = L"555-0700";
  REQUIRE(f.Chooser().Show(f.parent, &nobody, nullptr));
  CHECK(U8(f.Chooser().Name()) == "Unnamed");
  CHECK(f.Chooser().Second().IsEmpty());
}

TEST_CASE("FitWithDots: a character at a time with dots until it fits; one character stands alone") {
  SetUpOnce();
  HDC dc = CreateCompatibleDC(nullptr);
  Str text(L"Extraordinarily long label");
  SIZE whole;
  GetTextExtentPoint32W(dc, text, text.GetLength(), &whole);
  PhoneSelectWnd::FitWithDots(dc, text, whole.cx);
  CHECK(U8(text) == "Extraordinarily long label");
  PhoneSelectWnd::FitWithDots(dc, text, whole.cx / 2);
  SIZE half;
  GetTextExtentPoint32W(dc, text, text.GetLength(), &half);
  CHECK(half.cx <= whole.cx / 2);
  CHECK(text.GetLength() > 4);
  CHECK(U8(text).substr(U8(text).size() - 3) == "...");
  CHECK(std::string("Extraordinarily long label").find(U8(text).substr(0, U8(text).size() - 3)) == 0);
  // One character more would not have fitted.
  Str longer = text.Left(text.GetLength() - 3) +
               Str(L"Extraordinarily long label").Mid(text.GetLength() - 3, 1) + L"...";
  SIZE more;
  GetTextExtentPoint32W(dc, longer, longer.GetLength(), &more);
  CHECK(more.cx > whole.cx / 2);
  Str tiny(L"Wide");
  PhoneSelectWnd::FitWithDots(dc, tiny, 1);
  CHECK(U8(tiny) == "W");
  DeleteDC(dc);
}

// --- the window, its layout and paint -------------------------------------------------------------------

TEST_CASE("the window: topmost, titled, full width below the top bar, its parts laid out") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  HWND window = f.Window();
  CHECK(GetForegroundWindow() == window);
  CHECK((GetWindowLongW(window, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0);
  CHECK((static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE)) & WS_POPUP) != 0);
  wchar_t title[64] = L"";
  GetWindowTextW(window, title, 64);
  CHECK(U8(title) == "Select Phone");
  RECT rect;
  GetWindowRect(window, &rect);
  const int screenWidth = GetSystemMetrics(SM_CXSCREEN);
  CHECK(rect.left == 0);
  CHECK(rect.top == ScaleY(26));
  CHECK(rect.right == screenWidth);
  CHECK(rect.bottom == GetSystemMetrics(SM_CYSCREEN));
  CHECK(GetFocus() == f.ListWindow());

  RECT client;
  GetClientRect(window, &client);
  const RECT heading = f.Chooser().HeadingRect();
  CHECK(heading.top == 0);
  CHECK(heading.bottom - heading.top == ScaleY(45));
  const PhoneSelectWnd::Button& dial = f.Chooser().GetButton(PhoneSelectWnd::kDialButton);
  const PhoneSelectWnd::Button& sms = f.Chooser().GetButton(PhoneSelectWnd::kSmsButton);
  const PhoneSelectWnd::Button& cancel = f.Chooser().GetButton(PhoneSelectWnd::kCancelButton);
  REQUIRE(dial.width > 0);
  CHECK(dial.visible);
  CHECK(sms.visible);
  CHECK(cancel.visible);
  CHECK(dial.width == (Skin::isHighRes ? 128 : 64));
  CHECK(dial.height == (Skin::isHighRes ? 48 : 24));
  const int gap = (client.right - dial.width - sms.width - cancel.width) / 4;
  const int rem = (client.right - dial.width - sms.width - cancel.width) % 4;
  CHECK(dial.rect.left == gap);
  CHECK(sms.rect.left == dial.rect.right + gap + rem / 2);
  CHECK(cancel.rect.right == client.right - gap);
  for (const PhoneSelectWnd::Button* button : {&dial, &sms, &cancel}) {
    CHECK(button->rect.bottom == client.bottom - ScaleY(5));
    CHECK(button->rect.right - button->rect.left == button->width);
  }
  RECT list;
  GetWindowRect(f.ListWindow(), &list);
  MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&list), 2);
  CHECK(list.top == heading.bottom);
  CHECK(list.bottom == client.bottom - ScaleY(10) - dial.height);
  CHECK(list.right == client.right);
}

TEST_CASE("the painted chooser: the rows' colours, the heading's text, the band and the buttons") {
  Fixture f;
  Contact contact = ThreeNumbers();
  contact.text[ContactField::Company] = L"Quarry Lane Books";
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  f.KeyDown(VK_DOWN);
  RedrawWindow(f.Window(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  Pump(200);
  HWND list = f.ListWindow();
  const int rowHeight = f.Chooser().List().RowHeight();
  RECT client;
  GetClientRect(list, &client);
  // Row 1 is selected; rows 0 and 2 are the even stripe, the space below the rows white.
  CHECK(ScreenPixel(list, 3, rowHeight / 2) == PhoneSelectList::kEvenColor);
  CHECK(ScreenPixel(list, 3, rowHeight + rowHeight / 2) == PhoneSelectList::kSelectedColor);
  CHECK(ScreenPixel(list, 3, 2 * rowHeight + rowHeight / 2) == PhoneSelectList::kEvenColor);
  CHECK(ScreenPixel(list, 3, 3 * rowHeight + 4) == RGB(255, 255, 255));
  CHECK(ScreenPixel(list, client.right / 2, 0) == PhoneSelectList::kFrameColor);
  CHECK(ScreenPixel(list, client.right / 2, client.bottom - 1) == PhoneSelectList::kFrameColor);
  // White text in the selected row, black in the others.
  int white = 0, black = 0;
  for (int y = rowHeight; y < 2 * rowHeight; ++y)
    for (int x = 0; x < client.right; ++x) white += ScreenPixel(list, x, y) == RGB(255, 255, 255);
  for (int y = 0; y < rowHeight; ++y)
    for (int x = 0; x < client.right; ++x) black += ScreenPixel(list, x, y) == RGB(0, 0, 0);
  CHECK(white > 20);
  CHECK(black > 20);

  HWND window = f.Window();
  RECT whole;
  GetClientRect(window, &whole);
  const PhoneSelectWnd::Button& dial = f.Chooser().GetButton(PhoneSelectWnd::kDialButton);
  // The band: its colour between the buttons and at the bottom edge.
  CHECK(ScreenPixel(window, dial.rect.left / 2, whole.bottom - 2) == PhoneSelectWnd::kBandColor);
  CHECK(ScreenPixel(window, whole.right / 2, whole.bottom - ScaleY(10) - dial.height + 1) ==
        PhoneSelectWnd::kBandColor);
  // The button's black corners are the band's colour; its middle is the picture's.
  CHECK(ScreenPixel(window, dial.rect.left, dial.rect.top) == PhoneSelectWnd::kBandColor);
  CHECK(ScreenPixel(window, dial.rect.left + dial.width / 2, dial.rect.top + 3) !=
        PhoneSelectWnd::kBandColor);
  // The heading's name in its colour, right of the picture.
  const RECT heading = f.Chooser().HeadingRect();
  int named = 0;
  for (int y = heading.top; y < heading.bottom; ++y)
    for (int x = ScaleX(60); x < heading.right; ++x)
      named += ScreenPixel(window, x, y) == PhoneSelectWnd::kHeadingTextColor;
  CHECK(named > 20);
  CreateDirectoryW(L"C:\\Temp", nullptr);
  SaveWindowPicture(window,
                    Skin::isHighRes ? L"C:\\Temp\\phone-select-vga.bmp" : L"C:\\Temp\\phone-select.bmp");
}

TEST_CASE("a screen change takes the new screen size and lays the window out again") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  // Narrower by all but 8 pixels of the buttons' room: the gaps shrink to 2.
  int sum = 0;
  for (int i = 0; i < PhoneSelectWnd::kButtonCount; ++i) sum += f.Chooser().GetButton(i).width;
  SetWindowPos(f.Window(), nullptr, 0, 0, sum + 8, 200, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  Pump();
  CHECK(f.Chooser().GetButton(PhoneSelectWnd::kCancelButton).rect.right == sum + 6);
  CHECK(f.Chooser().GetButton(PhoneSelectWnd::kDialButton).rect.left == 2);
  SendMessageW(f.Window(), WM_SETTINGCHANGE, PhoneSelectWnd::kScreenChanged, 0);
  Pump();
  RECT rect;
  GetWindowRect(f.Window(), &rect);
  CHECK(rect.right - rect.left == GetSystemMetrics(SM_CXSCREEN));
  CHECK(rect.bottom == GetSystemMetrics(SM_CYSCREEN));
  RECT client;
  GetClientRect(f.Window(), &client);
  CHECK(f.Chooser().GetButton(PhoneSelectWnd::kCancelButton).rect.bottom == client.bottom - ScaleY(5));
}

// --- the list -------------------------------------------------------------------------------------------------

TEST_CASE("the list: rows twice the small font's height, scrolled so that the selection shows whole") {
  Fixture f;
  Contact contact = ThreeNumbers();
  const wchar_t* extra[] = {L"555-1001", L"555-1002", L"555-1003", L"555-1004", L"555-1005",
                            L"555-1006", L"555-1007", L"555-1008", L"555-1009"};
  for (const wchar_t* number : extra) {
    LabelValue entry;
    entry.label = L"Other";
    entry.value = number;
    contact.Phone.Add(entry);
  }
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  const PhoneSelectList& list = f.Chooser().List();
  HDC dc = GetDC(f.ListWindow());
  HGDIOBJ old = SelectObject(dc, f.Chooser().GetSmallFont());
  TEXTMETRICW metrics;
  GetTextMetricsW(dc, &metrics);
  SelectObject(dc, old);
  ReleaseDC(f.ListWindow(), dc);
  CHECK(list.RowHeight() == 2 * (metrics.tmHeight + metrics.tmInternalLeading));
  const int whole = list.WholeRows();
  REQUIRE(whole < 12);
  for (int i = 0; i < whole; ++i) f.KeyDown(VK_DOWN);
  // One past the last whole row: it becomes the last whole row.
  CHECK(list.Selected() == whole);
  CHECK(list.Top() == 1);
  while (list.Selected() < 11) f.KeyDown(VK_DOWN);
  CHECK(list.Top() == 12 - whole);
  for (int i = 0; i < 11; ++i) f.KeyDown(VK_UP);
  CHECK(list.Selected() == 0);
  CHECK(list.Top() == 0);
}

TEST_CASE("the stylus: a press selects, a drag follows, a release on a row dials it") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  HWND list = f.ListWindow();
  const PhoneSelectList& rows = f.Chooser().List();
  f.Press(list, f.Centre(rows.RowRect(1)));
  CHECK(rows.Selected() == 1);
  CHECK(GetCapture() == list);
  f.Move(list, f.Centre(rows.RowRect(2)));
  CHECK(rows.Selected() == 2);
  size_t mark = JournalMark();
  f.Release(list, f.Centre(rows.RowRect(2)));
  CHECK(JournalContains(mark, "phone", Call("555-0300")));
  CHECK_FALSE(f.Up());
}

TEST_CASE("the stylus held below the rows scrolls a row each tenth of a second until it comes back") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  HWND list = f.ListWindow();
  const PhoneSelectList& rows = f.Chooser().List();
  f.Press(list, f.Centre(rows.RowRect(0)));
  RECT client;
  GetClientRect(list, &client);
  f.Move(list, POINT{client.right / 2, 3 * rows.RowHeight() + 5});
  CHECK(rows.ScrollDirection() == 1);
  CHECK(PumpUntil([&] { return rows.Selected() == 2; }, 2000));
  f.Move(list, POINT{client.right / 2, -5});
  CHECK(rows.ScrollDirection() == -1);
  CHECK(PumpUntil([&] { return rows.Selected() == 0; }, 2000));
  f.Move(list, f.Centre(rows.RowRect(1)));
  CHECK(rows.ScrollDirection() == 0);
  CHECK(rows.Selected() == 1);
  // A release off the rows dials nothing.
  size_t mark = JournalMark();
  f.Release(list, POINT{client.right / 2, -5});
  CHECK(GetCapture() != list);
  CHECK_FALSE(AnyCall(mark, 500));
  CHECK(f.Up());
}

// --- the buttons ------------------------------------------------------------------------------------------------

TEST_CASE("a button looks pressed while the stylus is on it and acts only on a release inside") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  HWND window = f.Window();
  const PhoneSelectWnd::Button& cancel = f.Chooser().GetButton(PhoneSelectWnd::kCancelButton);
  f.Press(window, f.Centre(cancel.rect));
  CHECK(cancel.pressed);
  CHECK(f.Chooser().PressedButton() == PhoneSelectWnd::kCancelButton);
  f.Move(window, POINT{cancel.rect.left - 5, cancel.rect.top - 5});
  CHECK_FALSE(cancel.pressed);
  f.Move(window, f.Centre(cancel.rect));
  CHECK(cancel.pressed);
  // Cancel mode drops the press: the release then does nothing.
  SendMessageW(window, WM_CANCELMODE, 0, 0);
  CHECK_FALSE(cancel.pressed);
  CHECK(f.Chooser().PressedButton() == -1);
  f.Release(window, f.Centre(cancel.rect));
  CHECK(f.Up());
  // Off the button at the release: nothing.
  f.Press(window, f.Centre(cancel.rect));
  f.Release(window, POINT{cancel.rect.left - 5, cancel.rect.top});
  CHECK(f.Up());
  // On it: cancelled without a call.
  size_t mark = JournalMark();
  f.Press(window, f.Centre(cancel.rect));
  f.Release(window, f.Centre(cancel.rect));
  CHECK_FALSE(f.Up());
  CHECK_FALSE(AnyCall(mark, 300));
}

TEST_CASE("the Dial button dials the selection; the SMS button writes an SMS to it") {
  Fixture f;
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  f.KeyDown(VK_DOWN);
  const PhoneSelectWnd::Button& dial = f.Chooser().GetButton(PhoneSelectWnd::kDialButton);
  size_t mark = JournalMark();
  f.Press(f.Window(), f.Centre(dial.rect));
  f.Release(f.Window(), f.Centre(dial.rect));
  CHECK(JournalContains(mark, "phone", Call("555-0200")));
  CHECK_FALSE(f.Up());
  phonetest::StopPhoneProgram();

  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  f.KeyDown(VK_DOWN);
  f.KeyDown(VK_DOWN);
  const PhoneSelectWnd::Button& sms = f.Chooser().GetButton(PhoneSelectWnd::kSmsButton);
  mark = JournalMark();
  f.Press(f.Window(), f.Centre(sms.rect));
  f.Release(f.Window(), f.Centre(sms.rect));
  CHECK_FALSE(f.Up());
  CHECK(JournalContains(mark, "tmail", "run -service \"SMS\" -To \"Hollis Greta<5550300>\""));
  CHECK_FALSE(AnyCall(mark, 300));
}

// --- pick mode ----------------------------------------------------------------------------------------------------

TEST_CASE("pick mode: the caller's numbers, no SMS button, the index back, the window left to the caller") {
  Fixture f;
  Contact contact = ThreeNumbers();
  Array<LabelValue> numbers;
  LabelValue one, two;
  one.label = L"Desk";
  one.value = L"101";
  two.label = L"Lab";
  two.value = L"202";
  numbers.Add(one);
  CHECK_FALSE(f.Chooser().ShowForPick(f.parent, &contact, numbers, nullptr, nullptr));
  numbers.Add(two);
  PickRecorder caller;
  REQUIRE(f.Chooser().ShowForPick(f.parent, &contact, numbers, nullptr, &caller));
  CHECK(f.Chooser().IsPickMode());
  CHECK(f.Rows() == std::vector<std::string>{"Desk 101", "Lab 202"});
  CHECK(f.Chooser().List().Selected() == 0);
  CHECK_FALSE(f.Chooser().GetButton(PhoneSelectWnd::kSmsButton).visible);
  // A tap where the SMS button would be does nothing.
  const PhoneSelectWnd::Button& sms = f.Chooser().GetButton(PhoneSelectWnd::kSmsButton);
  f.Press(f.Window(), f.Centre(sms.rect));
  f.Release(f.Window(), f.Centre(sms.rect));
  CHECK(f.Up());
  f.KeyDown(VK_DOWN);
  size_t mark = JournalMark();
  f.TalkKey(false);
  CHECK(caller.heard == std::vector<std::string>{"picked 1"});
  CHECK_FALSE(f.Chooser().IsShown());
  CHECK(IsWindowVisible(f.Window()));
  CHECK_FALSE(AnyCall(mark, 500));
  f.Chooser().Close();
  CHECK_FALSE(IsWindowVisible(f.Window()));

  caller.heard.clear();
  REQUIRE(f.Chooser().ShowForPick(f.parent, &contact, numbers, nullptr, &caller));
  f.KeyUp(PhoneSelectWnd::kEndKey);
  CHECK(caller.heard == std::vector<std::string>{"cancelled"});
  CHECK_FALSE(f.Up());
  // Back in normal use, the SMS button is there again.
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  CHECK_FALSE(f.Chooser().IsPickMode());
  CHECK(f.Chooser().GetButton(PhoneSelectWnd::kSmsButton).visible);
}

// --- the foreground -------------------------------------------------------------------------------------------------

TEST_CASE("edge: another program that comes up within two seconds leaves the chooser on top") {
  Fixture f;
  OtherProgram other(L"AnotherProgramWindow");
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  REQUIRE(GetForegroundWindow() == f.Window());
  other.PopUp();
  Pump(300);
  CHECK(GetForegroundWindow() == f.Window());
  CHECK(f.Up());
  CHECK((GetWindowLongW(f.Window(), GWL_EXSTYLE) & WS_EX_TOPMOST) != 0);
}

TEST_CASE("after two seconds a platform dialog may come up over the chooser; another window still may not") {
  Fixture f;
  // Windows of the chooser's own thread, whose classes it can read.
  HWND dialog = MakeWindowOfClass(L"Dialog");
  HWND other = MakeWindowOfClass(L"AnotherWindowOfTheItem");
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  Pump(PhoneSelectWnd::kDefendMs + 200);
  ShowWindow(other, SW_SHOW);
  SetForegroundWindow(other);
  Pump(300);
  CHECK(GetForegroundWindow() == f.Window());
  ShowWindow(dialog, SW_SHOW);
  SetForegroundWindow(dialog);
  Pump(300);
  CHECK(GetForegroundWindow() == dialog);
  CHECK(f.Chooser().IsShown());
  DestroyWindow(dialog);
  DestroyWindow(other);
  Pump();
}

TEST_CASE("a closed chooser doesn't take the foreground back") {
  Fixture f;
  OtherProgram other(L"AnotherProgramWindow");
  Contact contact = ThreeNumbers();
  REQUIRE(f.Chooser().Show(f.parent, &contact, nullptr));
  f.KeyUp(PhoneSelectWnd::kEndKey);
  other.PopUp();
  Pump(300);
  CHECK(GetForegroundWindow() == other.window);
}
