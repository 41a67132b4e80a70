/*
 * The phone's hardware keys and the window additions of the platform: the key names of the keypad
 * (aliases of ordinary virtual keys), the key-up mark of WM_HOTKEY and the OK button of a caption.
 */
#ifndef WINUSERM_H
#define WINUSERM_H

#include <windows.h>

#define VK_TSOFT1 VK_F1    /* left soft key */
#define VK_TSOFT2 VK_F2    /* right soft key */
#define VK_TTALK VK_F3     /* talk (green) key, 114 */
#define VK_TEND VK_F4      /* end (red) key, 115 */
#define VK_THOME VK_LWIN   /* home key */
#define VK_TBACK VK_ESCAPE /* back key */
#define VK_TACTION VK_RETURN
/* The code the five-way pad's centre sends while it is held, before its Return. */
#define VK_PAD_ACTION 0x86
#define VK_TUP VK_UP
#define VK_TDOWN VK_DOWN
#define VK_TLEFT VK_LEFT
#define VK_TRIGHT VK_RIGHT

/* In the low word of a WM_HOTKEY's lParam: the key went up. */
#ifndef MOD_KEYUP
#define MOD_KEYUP 0x1000
#endif

/* A window with an OK button in its caption: the button sends WM_COMMAND IDOK. */
#ifndef WS_EX_CAPTIONOKBTN
#define WS_EX_CAPTIONOKBTN 0x80000000L
#endif

#endif /* WINUSERM_H */
