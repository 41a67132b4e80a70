// The countdown dialog: "Waiting for N seconds..." counted down step by step, then the closing text for
// one more step, then the action, after which the dialog ends with 1. Cancel, in the lower right
// corner, ends it with IDCANCEL and runs nothing.
#pragma once
#include <windows.h>
#include "foundation/Str.h"
#include "foundation/TitledDialog.h"

class InfoProcessDlg : public TitledDialog {
 public:
  static constexpr UINT_PTR kTimerId = 1;

  // `text`: what shows once the count reaches 0; `remainingMs` and `stepMs`: the time left and the
  // tick; `detail`: a line shown under the waiting text (null or empty: none).
  InfoProcessDlg(const wchar_t* text, int remainingMs, int stepMs, const wchar_t* detail = nullptr);
  BOOL OnMessage(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override;

  int GetRemaining() const { return remaining; }
  HWND GetCancelButton() const { return cancelButton; }

 protected:
  // What a derived dialog does when the time is up; it runs once, just before the dialog ends with 1.
  virtual void OnCountdownEnd();

 private:
  void Start();
  void Tick();
  void ShowWaiting();
  void MakeCancelButton();
  void End(INT_PTR result);

  Str text;
  Str detail;
  int remaining;
  int step;
  HWND cancelButton;
};
