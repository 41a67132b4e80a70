/*
 * The device shell's helper library (aygshell.dll): menu bars, dialogs that fill the screen, the
 * input panel, the tap-and-hold gesture and shell notifications.
 *
 * Plain C declarations with the platform's names and numbers. Records that hold a pointer or a handle
 * take the natural layout of the build; their cbSize is sizeof of the record of this build.
 */
#ifndef AYGSHELL_H
#define AYGSHELL_H

#include <windows.h>
#include <sipapi.h>

#ifdef __cplusplus
struct IUnknown;
#else
typedef struct IUnknown IUnknown;
#endif

#ifdef __cplusplus
extern "C" {
#endif

#ifndef AYGSHELLAPI
#ifdef AYGSHELL_BUILD
#define AYGSHELLAPI
#else
#define AYGSHELLAPI __declspec(dllimport)
#endif
#endif

/* ---- menu bar ---- */

#define SHCMBF_EMPTYBAR 0x0001
#define SHCMBF_HIDDEN 0x0002
#define SHCMBF_HIDESIPBUTTON 0x0004
#define SHCMBF_COLORBK 0x0008
#define SHCMBF_HMENU 0x0010

typedef struct tagSHMENUBARINFO {
  DWORD cbSize; /* sizeof(SHMENUBARINFO), or offsetof(SHMENUBARINFO, clrBk) for a bar without colour */
  HWND hwndParent;
  DWORD dwFlags;   /* SHCMBF_... */
  UINT nToolBarId; /* resource id of the bar, unused with SHCMBF_EMPTYBAR */
  HINSTANCE hInstRes;
  int nBmpId;
  int cBmpImages;
  HWND hwndMB;    /* out: the menu bar window */
  COLORREF clrBk; /* with SHCMBF_COLORBK */
} SHMENUBARINFO, *PSHMENUBARINFO;

AYGSHELLAPI BOOL SHCreateMenuBar(SHMENUBARINFO* pmbi);
/* The menu bar of a window, or NULL when it has none. */
AYGSHELLAPI HWND SHFindMenuBar(HWND hwnd);

/* Window class of the menu bar window. */
#define SHMENUBAR_CLASS L"menu_worker"

/* Messages to the menu bar window. */
#define SHCMBM_SETSUBMENU (WM_USER + 400)
#define SHCMBM_GETSUBMENU (WM_USER + 401)
#define SHCMBM_GETMENU (WM_USER + 402)
/* wParam: virtual key; lParam: MAKELPARAM(mask, bits) of SHMBOF_...; returns the previous bits. */
#define SHCMBM_OVERRIDEKEY (WM_USER + 403)
#define SHCMBM_SETBKCOLOR (WM_USER + 406)

#define SHMBOF_NODEFAULT 0x00000001 /* the shell does not act on the key itself */
#define SHMBOF_NOTIFY 0x00000002    /* the key goes to the bar's owner as WM_HOTKEY */

/* ---- full screen ---- */

#define SHFS_SHOWTASKBAR 0x0001
#define SHFS_HIDETASKBAR 0x0002
#define SHFS_SHOWSIPBUTTON 0x0004
#define SHFS_HIDESIPBUTTON 0x0008
#define SHFS_SHOWSTARTICON 0x0010
#define SHFS_HIDESTARTICON 0x0020

AYGSHELLAPI BOOL SHFullScreen(HWND hwndRequester, DWORD dwState);

/* ---- input panel ---- */

#define SPI_APPBUTTONCHANGE 228
#define SPI_SYNCSETTINGSCHANGE 230

#define SIPF_DISABLECOMPLETION 0x08

typedef enum tagSIPSTATE {
  SIP_UP = 0,
  SIP_DOWN = 1,
  SIP_FORCEDOWN = 2,
  SIP_UNCHANGED = 3,
  SIP_INPUTDIALOG = 4
} SIPSTATE;

/* uiAction SPI_GETSIPINFO or SPI_SETSIPINFO with pvParam a SIPINFO whose cbSize is set; uiParam and
   fWinIni 0. */
AYGSHELLAPI BOOL SHSipInfo(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni);
AYGSHELLAPI BOOL SHSipPreference(HWND hwnd, SIPSTATE st);

/* ---- dialogs ---- */

#define SHIDIM_FLAGS 0x0001

#define SHIDIF_DONEBUTTON 0x0001
#define SHIDIF_SIZEDLG 0x0002
#define SHIDIF_SIZEDLGFULLSCREEN 0x0004
#define SHIDIF_SIPDOWN 0x0008
#define SHIDIF_FULLSCREENNOMENUBAR 0x0010
#define SHIDIF_EMPTYMENU 0x0020
#define SHIDIF_WANTSCROLLBAR 0x0040
#define SHIDIF_CANCELBUTTON 0x0080

typedef struct tagSHINITDLGINFO {
  DWORD dwMask; /* SHIDIM_FLAGS */
  HWND hDlg;
  DWORD dwFlags; /* SHIDIF_... */
} SHINITDLGINFO, *PSHINITDLGINFO;

AYGSHELLAPI BOOL SHInitDialog(PSHINITDLGINFO pshidi);

typedef struct tagSHACTIVATEINFO {
  DWORD cbSize;
  HWND hwndLastFocus;
  UINT fSipUp : 1;
  UINT fSipOnDeactivation : 1;
  UINT fActive : 1;
  UINT fReserved : 29;
} SHACTIVATEINFO, *PSHACTIVATEINFO;

/* ---- gestures ---- */

#define SHRG_RETURNCMD 0x00000001
#define SHRG_NOTIFYPARENT 0x00000002
#define SHRG_LONGDELAY 0x00000008
#define SHRG_NOANIMATION 0x00000010

#define GN_CONTEXTMENU 1000

typedef struct tagSHRGI {
  DWORD cbSize;
  HWND hwndClient;
  POINT ptDown; /* client coordinates of the stylus press */
  DWORD dwFlags;
} SHRGINFO, *PSHRGINFO;

typedef struct tagNMRGINFO {
  NMHDR hdr; /* code GN_CONTEXTMENU */
  POINT ptAction;
  DWORD dwItemSpec;
} NMRGINFO, *PNMRGINFO;

/* Called at WM_LBUTTONDOWN: waits while the stylus stays down and still. Returns 0 when it lifts or
   moves first; after the hold, GN_CONTEXTMENU with SHRG_RETURNCMD, otherwise the result of the
   WM_NOTIFY sent to hwndClient (or to its parent with SHRG_NOTIFYPARENT). */
AYGSHELLAPI DWORD SHRecognizeGesture(SHRGINFO* shrg);

/* ---- notifications ---- */

typedef enum _SHNP {
  SHNP_INFORM = 0x1B1, /* a bubble for the duration, then the icon */
  SHNP_ICONIC          /* the icon only */
} SHNP;

#define SHNF_STRAIGHTTOTRAY 0x00000001
#define SHNF_CRITICAL 0x00000002
#define SHNF_FORCEMESSAGE 0x00000008
#define SHNF_DISPLAYON 0x00000010
#define SHNF_SILENT 0x00000020
#define SHNF_HASMENU 0x00000040
#define SHNF_TITLETIME 0x00000080

#define NOTIF_NUM_SOFTKEYS 2

typedef struct _SOFTKEYCMD {
  WPARAM wpCmd;   /* sent with WM_COMMAND when the soft key is pressed */
  DWORD grfFlags; /* NOTIF_SOFTKEY_FLAGS_... */
} SOFTKEYCMD, *LPSOFTKEYCMD;

typedef struct _SOFTKEYNOTIFY {
  LPCWSTR pszTitle;
  SOFTKEYCMD skc;
} SOFTKEYNOTIFY, *LPSOFTKEYNOTIFY;

typedef struct _SOFTKEYMENU {
  HMENU hMenu;
  LPSOFTKEYCMD prgskc;
  UINT cskc;
} SOFTKEYMENU, *LPSOFTKEYMENU;

typedef struct _SHNOTIFICATIONDATA {
  DWORD cbStruct; /* sizeof(SHNOTIFICATIONDATA) */
  DWORD dwID;
  SHNP npPriority;
  DWORD csDuration; /* seconds */
  HICON hicon;
  DWORD grfFlags; /* SHNF_... */
  CLSID clsid;    /* with dwID, what names the notification */
  HWND hwndSink;
  LPCWSTR pszHTML;
  LPCWSTR pszTitle;
  LPARAM lParam;
  union {
    SOFTKEYMENU skm;
    SOFTKEYNOTIFY rgskn[NOTIF_NUM_SOFTKEYS];
  };
  LPCWSTR pszTodaySK;
  LPCWSTR pszTodayExec;
} SHNOTIFICATIONDATA, *LPSHNOTIFICATIONDATA;

/* Puts up a notification; one with the same class and id is replaced. Returns ERROR_SUCCESS or an
   error code. */
AYGSHELLAPI LRESULT SHNotificationAdd(LPSHNOTIFICATIONDATA pndAdd);
/* Takes down the notification of this class and id. Returns ERROR_SUCCESS, or ERROR_NOT_FOUND when
   there is none. */
AYGSHELLAPI LRESULT SHNotificationRemove(const CLSID* pclsid, DWORD dwID);

/* ---- context menu extensions ---- */

/* Loads the context menu extensions registered for a context and class under
   HKLM\Software\Microsoft\Shell\Extensions\ContextMenus\<context>\<class>\<CLSID>: each is created
   through COM, initialised (IShellExtInit) with the data object that punkOwner answers for
   IID_IDataObject, and adds its commands to hmenu with ids from idCmdFirst to idCmdLast
   (IContextMenu::QueryContextMenu). TRUE with a handle when any extension was loaded. */
AYGSHELLAPI BOOL SHLoadContextMenuExtensions(IUnknown* punkOwner, LPCWSTR pszContext, LPCWSTR pszClass,
                                             HMENU hmenu, UINT idCmdFirst, UINT idCmdLast,
                                             HANDLE* phCMExtensions);
/* Runs the command idCmd, one of those the extensions of the handle added (IContextMenu::InvokeCommand). */
AYGSHELLAPI BOOL SHInvokeContextMenuCommand(HWND hwndOwner, UINT idCmd, HANDLE hCMExtensions);
/* Releases the extensions of the handle. */
AYGSHELLAPI BOOL SHFreeContextMenuExtensions(HANDLE hCMExtensions);

#ifdef __cplusplus
}
#endif

#endif /* AYGSHELL_H */
