#include "phone/ToneDialDlg.h"
#include "phone/Communication.h"

ToneDialDlg::ToneDialDlg(const wchar_t* text, int remainingMs, int stepMs, const wchar_t* number)
    : InfoProcessDlg(text, remainingMs, stepMs, number), tones(number) {}

void ToneDialDlg::OnCountdownEnd() {
  if (!tones.IsEmpty()) PlayDialTones(tones);
}
