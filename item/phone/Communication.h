// The actions behind the commands of the lists, menus and the contact page: dial a number, send an SMS
// or an e-mail, open a web page or a file, play dial tones. Each works out what the device can do and
// hands over to the platform's own programs; none waits for the outcome, except that a call waits up
// to two seconds for the phone program to come up.
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/Array.h"
#include "foundation/Str.h"

class Contact;

// Ways to dial, as stored in the DialupMode setting.
enum DialMode {
  DialModePhone = 41235,   // the device's own phone
  DialModeTones = 41236,   // dial tones through the speaker, held to another phone
  DialModePlugin = 41237,  // the contact handed to the dialer add-in
  DialModeNone = 41296,    // no way to dial
};

// Results of Dial.
const int kDialDone = 0;
const int kDialNoPhone = -1;      // phone.dll or its PhoneMakeCall missing, no "CallPol" window, or
                                  // the add-in's mode without a contact
const int kDialUnknownMode = -2;  // a mode the resolver doesn't give

// The way a dial goes on this device: `mode`, or the setting for 0, corrected to what the device has.
int ResolveDialMode(int mode);
// Makes sure the phone program runs, starting it (with "-n" when `passMinusN`) when it doesn't, and
// waits up to `timeoutMs` for its window. True when it runs.
BOOL StartPhoneProcess(DWORD timeoutMs, BOOL passMinusN);
// Dials `number` for `contact` (may be null) over `owner`. `mode` 0 takes the DialupMode setting;
// `party` (may be null) names the called party when there is no contact. 0 when done or when there
// was nothing to do, a negative code when the phone couldn't be reached.
int Dial(HWND owner, const wchar_t* number, const Contact* contact, int mode, const wchar_t* party);
// Starts an SMS to `number`, the recipient named after `contact` (may be null).
void SendSmsToContact(const wchar_t* number, const Contact* contact);
// Starts an SMS to `number` for the recipient `name` (may be null or empty).
void SendSms(const wchar_t* number, const wchar_t* name);
// Starts a mail to `address`.
void SendMail(const wchar_t* address);
// The program that writes mails and messages, as the device names it; "tmail.exe" when it doesn't.
void GetMailProgram(Str& out);
// Opens `url` in the browser; a box tells when the browser can't be started.
void OpenUrl(const wchar_t* url);
// Opens `file` with the program the device has for it; true when it was opened.
BOOL ShellOpen(const wchar_t* file, HWND owner);
// Plays the dial tones of `number` through the speaker, at least at half volume.
void PlayDialTones(const wchar_t* number);
// Sends the contacts `ids` by infrared; true when they went.
BOOL BeamContacts(const Array<CEOID>& ids);
