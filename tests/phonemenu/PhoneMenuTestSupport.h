// Shared pieces of the phone menu's tests: a contact list on a real window over a data source whose
// result each test sets, the measure and draw messages the menu's items get written down as they pass,
// the texts drawn read from DrawTextW, and a driver that reads the open menu and clicks one of its lines
// with real input (or closes it) from a timer that runs inside the menu's modal loop.
#pragma once
#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "ContactListKit.h"
#include "FieldIds.h"
#include "lists/ContactList.h"
#include "manager/datasource/ContactDataSource.h"
#include "phone/PhoneTemplates.h"
#include "storage/contact/Contact.h"

namespace phonemenutest {

// The property ids of the phone and mail fields.
using namespace fieldids;

// --- what is drawn ---------------------------------------------------------------------------------------

struct DrawnText {
  std::string text;
  RECT rect;
  UINT flags;
  COLORREF color;
};
// Every text drawn since the last clear, and those of them drawn by the menu's lines.
std::vector<DrawnText>& Drawn();
std::vector<DrawnText>& DrawnInMenu();
const DrawnText* FindDrawn(const std::string& text);
const DrawnText* FindDrawnInMenu(const std::string& text);

// One WM_MEASUREITEM as the menu answered it.
struct Measured {
  ULONG_PTR data;
  UINT width;
  UINT height;
  LRESULT result;
};

// One WM_DRAWITEM, with what the item looked like on the screen right after.
struct DrawnItem {
  ULONG_PTR data;
  UINT state;
  RECT rect;
  COLORREF background;  // near the item's upper right corner
  int darkInCheck;      // pixels darker than mid-grey in the check mark's place
  int darkLeftOfCheck;  // the same in the margin left of it
};

// The contact list kit's data source: the contacts sit in its cache, and UpdateDefaultItem is written
// down.
using listtest::TestSource;

// A listener that writes down every call.
class Recorder : public ContactListListener {
 public:
  std::vector<std::string> calls;
  void OnKeyDown(HWND, UINT key, LPARAM) override;
  void OnActivate(int group, int item) override;
  void OnClicked(int group, int item, BOOL tapOnMarked) override;
  void OnDoubleClicked(int, int) override {}
  void OnCaretChanged(int, int) override {}
  void OnPhoneMenuUsed(CEOID id) override;
  void OnMakeAppointment() override {}
  void OnDialed() override;
  void OnQueryHighlight(const Str&, Array<int>&) override {}
  void OnChar(HWND, WPARAM, LPARAM) override {}
  bool Has(const std::string& call) const;
};

// The list with the menu's measure and draw messages written down, and its phone menu in reach.
class TestList : public ContactList {
 public:
  TestList();
  std::vector<Measured> measured;
  std::vector<DrawnItem> drawnItems;
  ContactListPhoneMenu& Menu() { return phoneMenu; }
  LRESULT OnMeasureItem(WPARAM wParam, LPARAM lParam) override;
  LRESULT OnDrawItem(WPARAM wParam, LPARAM lParam) override;
};

// Phone templates that show a number in brackets, so that a formatted number can be told apart.
class BracketTemplates : public PhoneTemplates {
 public:
  BOOL FormatNumber(Str& number) const override;
};

// A parent as wide as the screen at `top`, the list filling it, shown, over the fixture's source.
struct ListFixture {
  HWND parent = nullptr;
  TestSource source;
  Recorder listener;
  TestList list;
  BracketTemplates templates;

  explicit ListFixture(int top = 0);
  ~ListFixture();
  HWND Window() const { return list.ContactWindow(); }
  // Shows these contacts in a flat list; their ids.
  std::vector<CEOID> Show(const std::vector<Contact>& contacts);
  // The point on a row's middle line in the phone column at the right-hand end.
  POINT PhoneColumn(int row);
  // A press and a release at a point of the list, as the stylus gives them.
  void Tap(POINT point);
  // Paints what is due; the drawn texts and the listener's calls start afresh.
  void Settle();
};

// --- the menu while it is open ---------------------------------------------------------------------------

struct MenuLine {
  bool separator;
  bool ownerDrawn;
  bool checked;
  UINT id;
  ULONG_PTR data;
};

struct MenuVisit {
  // What to do: click the line at this position, or close the menu without a choice (-1). With
  // `hover` the pointer first rests on that line, so that it is drawn selected.
  int choose = -1;
  int hover = -1;
  // What was seen.
  bool seen = false;
  std::vector<MenuLine> lines;
  RECT window = {0, 0, 0, 0};
  std::vector<RECT> itemRects;
  bool clickedByInput = false;
};

// Arms a timer that, once the menu's window shows, reads it into `visit` and does what it asks. The
// timer ends with the object.
class MenuDriver {
 public:
  explicit MenuDriver(MenuVisit& visit);
  ~MenuDriver();

 private:
  UINT_PTR timer;
};

// Sets up the skin, the fonts, the window class and the DrawTextW recorder once.
void SetUpOnce();
Contact Person(const wchar_t* last, const wchar_t* first);
Contact With(Contact contact, int field, const wchar_t* value);
// The item font of the menu as the tests make it themselves, for their own measures.
HFONT MakeItemFont();
int TextWidth(HFONT font, const std::wstring& text);

}  // namespace phonemenutest
