// PhoneSelectWnd: the layout. The heading across the top, the buttons spread over the bottom band with
// even gaps, and the list between them.
#include "lists/PhoneSelectWnd.h"

#include "presentation/Skin.h"

void PhoneSelectWnd::Layout() {
  if (!hwnd) return;
  RECT client;
  GetClientRect(hwnd, &client);
  if (IsRectEmpty(&client)) return;
  const int l = client.left, t = client.top, r = client.right, b = client.bottom;
  heading = RECT{l, t, r, t + ScaleY(45)};

  // The gaps are the same left of Dial, between the buttons and right of Cancel; what doesn't divide
  // evenly goes half before the SMS button.
  int sum = 0, buttonHeight = 0;
  for (const Button& button : buttons) {
    sum += button.width;
    if (button.height > buttonHeight) buttonHeight = button.height;
  }
  const int gap = (r - l - sum) / 4;
  const int rem = (r - l - sum) % 4;
  const int bottom = b - ScaleY(5);
  Button& dial = buttons[kDialButton];
  Button& sms = buttons[kSmsButton];
  Button& cancel = buttons[kCancelButton];
  dial.rect = RECT{l + gap, bottom - dial.height, l + gap + dial.width, bottom};
  const int smsLeft = dial.rect.right + gap + rem / 2;
  sms.rect = RECT{smsLeft, bottom - sms.height, smsLeft + sms.width, bottom};
  cancel.rect = RECT{r - gap - cancel.width, bottom - cancel.height, r - gap, bottom};

  const int listBottom = b - ScaleY(10) - buttonHeight;
  if (list.GetHwnd())
    MoveWindow(list.GetHwnd(), l, heading.bottom, r - l,
               listBottom > heading.bottom ? listBottom - heading.bottom : 0, TRUE);
  InvalidateRect(hwnd, nullptr, FALSE);
}
