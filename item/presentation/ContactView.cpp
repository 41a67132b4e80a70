// The contact page: its window, filling the rows from the model, and the actions of the rows.
#include "presentation/ContactView.h"
#include "phone/Communication.h"
#include "phone/PhoneDevice.h"
#include "presentation/ContactTemplate.h"
#include "presentation/Skin.h"

namespace {

const DWORD kTextStyle = WS_CHILD | WS_VISIBLE | WS_VSCROLL;
// The row sections whose taps act.
const int kPhoneSection = 1;
const int kMailSection = 2;
const int kWebSection = 4;
const int kLinkSection = 10;
const int kNoteSection = 12;

}  // namespace

ContactView::ContactView() {}

ContactView::~ContactView() {
  if (hwnd && IsWindow(hwnd)) DestroyWindow(hwnd);
}

BOOL ContactView::Create(HWND parent, DWORD style) {
  if (hwnd) return TRUE;
  HINSTANCE instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(parent, GWLP_HINSTANCE));
  if (!BaseWindow::Create(0, nullptr, style, 0, 0, 0, 0, parent, 0, instance)) return FALSE;
  return text.Create(hwnd, kTextStyle, kTextWindowId);
}

BOOL ContactView::Show(const Contact& contact) {
  model.Fill(contact);
  text.Clear();
  int sectionGap = (Skin::dpiY + 6) * 8 / 96;
  if (model.photo || !model.headText.IsEmpty())
    text.SetHead(model.photo, model.headText, SectionName, sectionGap, !model.photoOwned);
  int count = model.fields.GetSize();
  for (int i = 0; i < count; ++i) {
    const ContactViewField& field = model.fields[i];
    bool lastOfSection = i == count - 1 || model.fields[i + 1].section != field.section;
    text.AddField(field.label, field.value, field.extra, field.section, lastOfSection ? sectionGap : 0,
                  field.icon);
  }
  if (!model.note.IsEmpty()) text.SetNote(model.note.GetData(), model.note.GetLength(), kNoteSection);
  text.Relayout();
  return TRUE;
}

void ContactView::SetFonts(HFONT labelFont, HFONT baseFont) { text.SetFonts(labelFont, baseFont); }

void ContactView::ShowText(BOOL hide) {
  if (text.GetHwnd()) ShowWindow(text.GetHwnd(), hide ? SW_HIDE : SW_SHOWNA);
}

void ContactView::SetFocus() {
  if (text.GetHwnd()) ::SetFocus(text.GetHwnd());
}

void ContactView::PressEnter() {
  if (text.GetHwnd()) PostMessageW(text.GetHwnd(), WM_CHAR, VK_RETURN, 0);
}

void ContactView::Done() { SendMessageW(GetParent(hwnd), kDoneMessage, 0, 0); }

void ContactView::OnRowNotify(const wchar_t* value, const ContactTextNotify& report) {
  const Contact& contact = model.contact;
  switch (report.section) {
    case kPhoneSection:
      if (value && *value) {
        if (report.key == VK_RIGHT && IsPhoneDevice())
          SendSmsToContact(value, &contact);
        else
          Dial(hwnd, value, &contact, 0, nullptr);
        Done();
        return;
      }
      break;
    case kMailSection:
      SendMail(value);
      return;
    case kWebSection:
      OpenUrl(value);
      return;
    case kLinkSection:
      ShellOpen(value, hwnd);
      return;
    default:
      break;
  }
  // A key on any other row is done with the page; a tap there does nothing.
  if (report.key != 0) Done();
}

void ContactView::CallSelected() {
  int selected = text.SelEnd();
  if (selected >= 0 && selected < text.ItemCount() && text.Item(selected).section == kPhoneSection) {
    const wchar_t* plain = text.Item(selected).text.GetPlainText();
    if (plain && *plain) {
      Dial(hwnd, plain, &model.contact, 0, nullptr);
      Done();
      return;
    }
  }
  // No number chosen on the page: the contact's own default number.
  uint32_t id = model.contact.defaultItem;
  Str number, label;
  if (model.contact.GetPhoneByType(id, number, label) && !number.IsEmpty()) {
    Dial(hwnd, number, &model.contact, 0, nullptr);
    Done();
  }
}

LRESULT ContactView::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE:
      if (text.GetHwnd()) MoveWindow(text.GetHwnd(), 0, 0, LOWORD(lParam), HIWORD(lParam), TRUE);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_SETFOCUS:
      SetFocus();
      return 0;
    case WM_NOTIFY: {
      const ContactTextNotify* report = reinterpret_cast<const ContactTextNotify*>(lParam);
      if (report && report->header.code == ContactTextWindow::kNotifyCode &&
          report->header.hwndFrom == text.GetHwnd())
        OnRowNotify(reinterpret_cast<const wchar_t*>(wParam), *report);
      return 0;
    }
    case WM_KEYUP:
      // The End key's release belongs to the popup.
      if (wParam == VK_F4) SendMessageW(GetParent(window), message, wParam, lParam);
      return 0;
    case kCallMessage:
      CallSelected();
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}
