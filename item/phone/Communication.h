// The actions behind the commands of the lists and menus: dial a number, send an SMS or an e-mail,
// beam contacts. Each hands over to the platform's own programs and waits for no outcome.
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/Array.h"

class Contact;

// Dials `number` for `contact` (may be null) over `owner`. `mode` 0 takes the DialupMode setting;
// `party` (may be null) names the called party when there is no contact. 0 when done or when there
// was nothing to do, a negative code when the phone couldn't be reached.
int Dial(HWND owner, const wchar_t* number, const Contact* contact, int mode, const wchar_t* party);
// Starts an SMS to `number`, the recipient named after `contact` (may be null).
void SendSmsToContact(const wchar_t* number, const Contact* contact);
// Starts a mail to `address`.
void SendMail(const wchar_t* address);
// Sends the contacts `ids` by infrared; true when they went.
BOOL BeamContacts(const Array<CEOID>& ids);
