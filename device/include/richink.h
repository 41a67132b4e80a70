// The platform's rich ink control: the note viewer and editor of the device, window class "RichInk".
#pragma once
#include <windows.h>
#include <richedit.h>

#define WC_RICHINKW L"RichInk"

#define EM_SELECTED (WM_USER + 210)
#define EM_SETVIEW (WM_USER + 284)
#define EM_SETPAGESTYLE (WM_USER + 287)
#define EM_SETPENMODE (WM_USER + 329)
#define EM_CLEARALL (WM_USER + 331)

#define SF_PWI 0x00010802

#define VT_TYPINGVIEW 0
#define PS_NONE 0x10
#define MODE_SELECT 1

#ifdef __cplusplus
extern "C" {
#endif
// Registers the control's window class; called once before the first control is made.
void InitRichInkDLL(void);
#ifdef __cplusplus
}
#endif
