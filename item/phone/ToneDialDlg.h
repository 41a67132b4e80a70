// The countdown before tone dialling: "Waiting for 3 seconds..." with the number, counted down to
// "Dialing...", after which the number's tones play. Cancel stops it before anything is played.
#pragma once
#include "foundation/InfoProcessDlg.h"
#include "foundation/Str.h"

class ToneDialDlg : public InfoProcessDlg {
 public:
  // `text`: what shows once the count reaches 0; `tones`: the number to play, shown under the count.
  ToneDialDlg(const wchar_t* text, int remainingMs, int stepMs, const wchar_t* tones);

 protected:
  void OnCountdownEnd() override;

 private:
  Str tones;
};
