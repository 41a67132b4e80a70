/*
 * Today screen: what the shell and a custom Today item share.
 *
 * The shell reads the items from HKEY_LOCAL_MACHINE\Software\Microsoft\Today\Items\<name> (values DLL,
 * Type, Enabled, Options, Flags, Order, Selectability), loads each enabled custom item's library, calls
 * its export ORDINAL_INITIALIZEITEM with a TODAYLISTITEM and talks to the returned child window with the
 * WM_TODAYCUSTOM_... messages below. The item talks back to its parent with the TODAYM_... messages.
 *
 * Plain C declarations. Records that hold a pointer or a handle take the natural layout of the build.
 */
#ifndef TODAYCMN_H
#define TODAYCMN_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Longest item name (the registry key name), terminator included. */
#define MAX_ITEMNAME 32

/* Most items the Today screen lists at once. */
#define k_cTodayItemsMax 30

/* Resource ids of a custom item's library: its icon and its options dialog. */
#ifndef IDI_ICON
#define IDI_ICON 128
#endif
#ifndef IDD_TODAY_CUSTOM
#define IDD_TODAY_CUSTOM 500
#endif

/* Exports of a custom item, called by ordinal. */
#define ORDINAL_INITIALIZEITEM 240
#define ORDINAL_OPTIONSDIALOGPROC 241

typedef enum _TODAYLISTITEMTYPE {
  tlitOwnerInfo = 0,
  tlitAppointments = 1,
  tlitMail = 2,
  tlitTasks = 3,
  tlitCustom = 4,
  tlitReserved1 = 5,
  tlitReserved2 = 6,
  tlitReserved3 = 7,
  tlitNil = 8
} TODAYLISTITEMTYPE;

/* Registry value "Selectability". */
typedef enum _TODAY_SELECTABILITY {
  TODAY_SELECTABILITY_NOTSELECTABLE = 0,
  TODAY_SELECTABILITY_SELECTABLE = 1,
  TODAY_SELECTABILITY_CUSTOMSELECTION = 2
} TODAY_SELECTABILITY;

typedef struct _TODAYLISTITEM {
  WCHAR szName[MAX_ITEMNAME]; /* the registry key name */
  TODAYLISTITEMTYPE tlit;
  DWORD dwOrder; /* items are listed by it */
  DWORD cyp;     /* height in pixels, set by the item on WM_TODAYCUSTOM_QUERYREFRESHCACHE */
  BOOL fEnabled;
  BOOL fOptions;  /* the item has an options dialog */
  DWORD grfFlags; /* the registry value "Flags", free for the item */
  WCHAR szDLLPath[MAX_PATH];
  HINSTANCE hinstDLL;
  HWND hwndCustom;
  BOOL fSizeOnDraw;
  BYTE* prgbCachedData;
  DWORD cbCachedData;
  DWORD dwSelectability; /* TODAY_SELECTABILITY */
} TODAYLISTITEM, *PTODAYLISTITEM;

/* lParam of TODAYM_DRAWWATERMARK. */
typedef struct _TODAYDRAWWATERMARKINFO {
  HDC hdc;
  RECT rc;
  HWND hwnd;
} TODAYDRAWWATERMARKINFO;

/* From the item to the shell (its parent window). */
#define TODAYM_GETCOLOR (WM_USER + 100)       /* wParam TODAYCOLOR_...; returns a COLORREF */
#define TODAYM_DRAWWATERMARK (WM_USER + 101)  /* lParam TODAYDRAWWATERMARKINFO* */
#define TODAYM_TOOKSELECTION (WM_USER + 102)  /* wParam the item's window; posted */
#define TODAYM_REQUESTREFRESH (WM_USER + 103) /* wParam 0 or TODAYREFRESH_NOHEIGHTCHANGE */
#define TODAYM_RESERVEDSTART (WM_USER + 300)
#define TODAYM_RESERVEDEND (WM_USER + 399)

#define TODAYREFRESH_NOHEIGHTCHANGE 1

#define TODAYCOLOR_TEXT 0x10000004
#define TODAYCOLOR_HIGHLIGHT 0x10000022
#define TODAYCOLOR_HIGHLIGHTEDTEXT 0x10000023

/* From the shell to the item's window. */
#define WM_TODAYCUSTOM_CLEARCACHE (WM_USER + 242)        /* wParam TODAYLISTITEM* */
#define WM_TODAYCUSTOM_QUERYREFRESHCACHE (WM_USER + 243) /* wParam TODAYLISTITEM*; TRUE: repaint, cyp set */
#define WM_TODAYCUSTOM_RECEIVEDSELECTION (WM_USER + 244) /* wParam the key that moved the selection */
#define WM_TODAYCUSTOM_LOSTSELECTION (WM_USER + 245)
#define WM_TODAYCUSTOM_USERNAVIGATION (WM_USER + 246) /* wParam the key; TRUE: handled by the item */
#define WM_TODAYCUSTOM_ACTION (WM_USER + 247)         /* wParam the key */
#define WM_TODAYCUSTOM_CLOSEDATABASES (WM_USER + 248)

typedef HWND (*PFNCUSTOMINITIALIZEITEM)(TODAYLISTITEM*, HWND);
typedef BOOL (*PFNCUSTOMOPTIONSDLGPROC)(HWND, UINT, UINT, LONG);

#ifdef __cplusplus
}
#endif

#endif /* TODAYCMN_H */
