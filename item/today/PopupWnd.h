// The popup over the Today screen that holds the contact list and the contact page. Its pages join
// with the list and view windows; until then it makes no window and every operation is a no-op.
#pragma once
#include <windows.h>

class PhoneTemplates;

class PopupWnd {
 public:
  PopupWnd();
  virtual ~PopupWnd();
  virtual BOOL Create(HWND owner);
  virtual void Destroy();
  HWND GetHwnd() const { return hwnd; }
  void SetColors(COLORREF first, COLORREF second, COLORREF text);
  void SetPhoneTemplates(PhoneTemplates* templates) { phoneTemplates = templates; }
  void SetKeepFocus(BOOL keep) { keepFocus = keep ? 1 : 0; }
  void Hide();

 private:
  HWND hwnd;
  PhoneTemplates* phoneTemplates;
  COLORREF color1, color2, textColor;
  int keepFocus;
};
