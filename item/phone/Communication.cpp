#include "phone/Communication.h"

int Dial(HWND, const wchar_t*, const Contact*, int, const wchar_t*) {
  // LATER(communication actions): the phone program isn't reached yet; nothing is dialled and -1
  // (the phone missing) comes back.
  return -1;
}

void SendSmsToContact(const wchar_t*, const Contact*) {
  // LATER(communication actions): the messaging program isn't started yet; no SMS is begun.
}

void SendMail(const wchar_t*) {
  // LATER(communication actions): the mail program isn't started yet; no mail is begun.
}

BOOL BeamContacts(const Array<CEOID>&) {
  // LATER(communication actions): the contacts aren't handed to the infrared transfer yet; returns
  // false.
  return FALSE;
}
