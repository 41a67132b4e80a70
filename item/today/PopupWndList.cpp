// The popup as the contact list's listener: what a tap, a key or a menu of the list asks of the item,
// and the talk key.
#include "foundation/Str.h"
#include "manager/datasource/ContactDataSource.h"
#include "plugins/PimObjectModel.h"
#include "resources/resource.h"
#include "storage/contact/Contact.h"
#include "today/ItemMessages.h"
#include "today/PimToday.h"
#include "today/PopupWnd.h"
#include <winuserm.h>

namespace {

// The keypad's digits as letter groups: '2' to '9' are the groups 0 to 7, '1' is group 8.
int GroupOfDigit(WPARAM character) {
  if (character >= L'2' && character <= L'9') return static_cast<int>(character - L'2');
  if (character == L'1') return 8;
  return -1;
}

Str LoadLabel(UINT id) {
  wchar_t text[128];
  int length = SafeLoadStr(id, g_hModule, text, 128);
  return Str(text, length);
}

// One line of the appointment's body: the label, ": " and the value, after a line break when it isn't
// the first.
void AddBodyLine(Str& body, const Str& label, const Str& value) {
  static const wchar_t kBreak[] = {0x000D, 0x0007, 0};
  if (body.GetLength() != 0) body += kBreak;
  body += label;
  body += L": ";
  body += value;
}

}  // namespace

void PopupWnd::OnKeyDown(HWND, UINT key, LPARAM) {
  // Up at the first row gives the selection back to the Today screen.
  if (key == VK_UP && owner) PostMessageW(owner, WM_ITEM_GIVE_UP, 0, 0);
}

void PopupWnd::OnActivate(int group, int item) { SendToOwner(WM_ITEM_OPEN_CONTACT, group, item); }

void PopupWnd::OnClicked(int group, int item, BOOL) {
  if (item < 0 || !source) return;
  Contact* contact = nullptr;
  if (source->GetCachedContact(group, item, contact, 1) && contact)
    SendToOwner(WM_ITEM_OPEN_CONTACT, group, item);
}

void PopupWnd::OnDoubleClicked(int group, int item) { SendToOwner(WM_ITEM_RESERVED, group, item); }

void PopupWnd::OnCaretChanged(int, int) {}

void PopupWnd::OnPhoneMenuUsed(CEOID) {
  // Nothing more for the popup: the list has stored the contact's new default and repainted its row.
}

void PopupWnd::OnDialed() {}

void PopupWnd::OnQueryHighlight(const Str&, Array<int>& positions) { positions.SetSize(0); }

void PopupWnd::OnChar(HWND, WPARAM character, LPARAM) {
  int group = GroupOfDigit(character);
  if (group >= 0) SendToOwner(WM_ITEM_GROUP_KEY, static_cast<WPARAM>(group), 0);
}

void PopupWnd::ComposeAppointment(const Contact& contact, Str& subject, Str& body) {
  const Str* text = contact.text;
  subject = Str();
  const int nameParts[] = {ContactField::Title, ContactField::FirstName, ContactField::MiddleName,
                           ContactField::LastName};
  for (int part : nameParts) {
    if (text[part].GetLength() == 0) continue;
    if (subject.GetLength() != 0) subject += L" ";
    subject += text[part];
  }
  if (subject.GetLength() == 0) subject = text[ContactField::Company];

  body = Str();
  // The work phone's line asks whether the second work phone is filled: both lines test that field.
  if (text[ContactField::WorkPhone2].GetLength() != 0)
    AddBodyLine(body, LoadLabel(IDS_LABEL_WORK_PHONE), text[ContactField::WorkPhone]);
  struct Line {
    UINT label;
    int field;
  };
  static const Line lines[] = {
      {IDS_LABEL_WORK_PHONE, ContactField::WorkPhone2},
      {IDS_LABEL_WORK_FAX_PHONE, ContactField::WorkFax},
      {IDS_LABEL_MOBILE_PHONE, ContactField::MobilePhone},
      {IDS_LABEL_HOME_PHONE, ContactField::HomePhone},
      {IDS_LABEL_HOME_PHONE, ContactField::HomePhone2},
      {IDS_LABEL_HOME_FAX_PHONE, ContactField::HomeFax},
      {IDS_LABEL_RADIO_PHONE, ContactField::RadioPhone},
      {IDS_LABEL_CAR_PHONE, ContactField::CarPhone},
      {IDS_LABEL_PAGER_PHONE, ContactField::Pager},
      {IDS_LABEL_ASSISTANT_PHONE, ContactField::AssistantPhone},
  };
  for (const Line& line : lines)
    if (text[line.field].GetLength() != 0) AddBodyLine(body, LoadLabel(line.label), text[line.field]);
  for (int i = 0; i < contact.Phone.GetSize(); ++i)
    AddBodyLine(body, contact.Phone[i].label, contact.Phone[i].value);
}

void PopupWnd::OnMakeAppointment() {
  if (!source) return;
  ListPosition at = list.GetCurrent();
  if (at.group < 0 || at.item < 0) return;
  Contact contact;
  if (!source->ReadAt(at.group, at.item, contact)) return;
  Str subject, body;
  ComposeAppointment(contact, subject, body);
  // It starts now; the calendar opens it for editing, where the user gives it its time.
  SYSTEMTIME now;
  GetLocalTime(&now);
  now.wSecond = 0;
  now.wMilliseconds = 0;
  GetPimObjectModel()->MakeAppointment(subject, body, now);
}

void PopupWnd::OnHotKey(WPARAM wParam, LPARAM lParam) {
  // The menu bar hands the key over on its press and on its release; the press acts.
  if (wParam != kTalkKey || (LOWORD(lParam) & MOD_KEYUP)) return;
  if (showsList && list.ContactWindow() && IsWindowVisible(list.ContactWindow()))
    list.CallContact(nullptr);
  else if (view.GetHwnd())
    PostMessageW(view.GetHwnd(), ContactView::kCallMessage, 0, 0);
}
