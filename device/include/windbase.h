// windbase.h: the device's property database (CEDB), with the platform's published names, numbers and
// structure layouts. The functions live in coredll.dll and are exported by name with plain C linkage.
//
// This is a 64-bit build: structures that hold a pointer or a handle (CEBLOB, CEVALUNION, CEPROPVAL,
// CENOTIFYREQUEST) take the natural 64-bit layout; the others keep the platform's exact byte layout.
#pragma once
#ifndef PAGEMARK_WINDBASE_H
#define PAGEMARK_WINDBASE_H

#include <windows.h>
#include <stddef.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- Basic types -------------------------------------------------------------------------------------

typedef DWORD CEOID;
typedef CEOID* PCEOID;

// High word: property number; low word: value type (CEVT_*).
typedef DWORD CEPROPID;
typedef CEPROPID* PCEPROPID;

#define TypeFromPropID(propid) LOWORD(propid)
#define IdFromPropID(propid) HIWORD(propid)
#define MAKE_CEPROPID(id, type) ((CEPROPID)((((DWORD)(id)&0xFFFF) << 16) | ((DWORD)(type)&0xFFFF)))

// Volume identifier. All zero = the object store; all ones = "search every volume by name".
typedef struct _CEGUID {
  DWORD Data1;
  DWORD Data2;
  DWORD Data3;
  DWORD Data4;
} CEGUID, *PCEGUID;

#define CREATE_SYSTEMGUID(pguid) (memset((pguid), 0, sizeof(CEGUID)))
#define CREATE_INVALIDGUID(pguid) (memset((pguid), -1, sizeof(CEGUID)))
#define CHECK_SYSTEMGUID(pguid) (!((pguid)->Data1 | (pguid)->Data2 | (pguid)->Data3 | (pguid)->Data4))
#define CHECK_INVALIDGUID(pguid) \
  (((pguid)->Data1 & (pguid)->Data2 & (pguid)->Data3 & (pguid)->Data4) == 0xFFFFFFFF)

// Value types.
#define CEVT_I2 2
#define CEVT_UI2 18
#define CEVT_I4 3
#define CEVT_UI4 19
#define CEVT_FILETIME 64
#define CEVT_LPWSTR 31
#define CEVT_BLOB 65
#define CEVT_BOOL 11
#define CEVT_R8 5

typedef struct _CEBLOB {
  DWORD dwCount;
  LPBYTE lpb;
} CEBLOB;

typedef union _CEVALUNION {
  short iVal;
  USHORT uiVal;
  long lVal;
  ULONG ulVal;
  FILETIME filetime;
  LPWSTR lpwstr;
  CEBLOB blob;
  BOOL boolVal;
  double dblVal;
} CEVALUNION;

// CEPROPVAL.wFlags. No flag may use the low byte or the high nibble.
#define CEDB_PROPNOTFOUND 0x0100
#define CEDB_PROPDELETE 0x0200

typedef struct _CEPROPVAL {
  CEPROPID propid;
  WORD wLenData;  // private to the store; may be garbage on entry
  WORD wFlags;
  CEVALUNION val;
} CEPROPVAL, *PCEPROPVAL;

// ---- Limits ------------------------------------------------------------------------------------------

#define CEDB_MAXDATABLOCKSIZE 4092
#define CEDB_MAXPROPDATASIZE (CEDB_MAXDATABLOCKSIZE * 16 - 1)
#define CEDB_MAXRECORDSIZE (128 * 1024)
#define CEDB_MAXSORTORDER 4
#define CEDB_MAXSORTPROP 3
#define CEDB_MAXDBASENAMELEN 32
#define CEDB_MAXNUMRECORDS 0xFFFF

// ---- Sort orders -------------------------------------------------------------------------------------

#define CEDB_SORT_DESCENDING 0x00000001
#define CEDB_SORT_CASEINSENSITIVE 0x00000002
#define CEDB_SORT_UNKNOWNFIRST 0x00000004
#define CEDB_SORT_GENERICORDER 0x00000008
#define CEDB_SORT_IGNORENONSPACE 0x00000010
#define CEDB_SORT_IGNORESYMBOLS 0x00000020
#define CEDB_SORT_IGNOREKANATYPE 0x00000040
#define CEDB_SORT_IGNOREWIDTH 0x00000080
#define CEDB_SORT_STRINGSORT 0x00000100
#define CEDB_SORT_UNIQUE 0x00000200
#define CEDB_SORT_NONNULL 0x00000400

typedef struct _SORTORDERSPEC {
  CEPROPID propid;
  DWORD dwFlags;
} SORTORDERSPEC;

// ---- Database and object information ------------------------------------------------------------------

#define CEDB_VALIDNAME 0x0001
#define CEDB_VALIDTYPE 0x0002
#define CEDB_VALIDSORTSPEC 0x0004
#define CEDB_VALIDMODTIME 0x0008
#define CEDB_VALIDDBFLAGS 0x0010
#define CEDB_VALIDCREATE (CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC | CEDB_VALIDDBFLAGS)

#define CEDB_NOCOMPRESS 0x00010000
#define CEDB_SYSTEMDB 0x00020000

typedef struct _CEDBASEINFO {
  DWORD dwFlags;
  WCHAR szDbaseName[CEDB_MAXDBASENAMELEN];
  DWORD dwDbaseType;
  WORD wNumRecords;
  WORD wNumSortOrder;
  DWORD dwSize;
  FILETIME ftLastModified;
  SORTORDERSPEC rgSortSpecs[CEDB_MAXSORTORDER];
} CEDBASEINFO, *PCEDBASEINFO;

typedef struct _CEFILEINFO {
  DWORD dwAttributes;
  CEOID oidParent;
  WCHAR szFileName[MAX_PATH];
  FILETIME ftLastChanged;
  DWORD dwLength;
} CEFILEINFO;

typedef struct _CEDIRINFO {
  DWORD dwAttributes;
  CEOID oidParent;
  WCHAR szDirName[MAX_PATH];
} CEDIRINFO;

typedef struct _CERECORDINFO {
  CEOID oidParent;
} CERECORDINFO;

#define OBJTYPE_INVALID 0
#define OBJTYPE_FILE 1
#define OBJTYPE_DIRECTORY 2
#define OBJTYPE_DATABASE 3
#define OBJTYPE_RECORD 4

typedef struct _CEOIDINFO {
  WORD wObjType;
  WORD wPad;
  union {
    CEFILEINFO infFile;
    CEDIRINFO infDirectory;
    CEDBASEINFO infDatabase;
    CERECORDINFO infRecord;
  };
} CEOIDINFO, *PCEOIDINFO;

// ---- Open, read and seek flags -----------------------------------------------------------------------

#define CEDB_AUTOINCREMENT 0x00000001  // open flag: every read advances the seek pointer
#define CEDB_ALLOWREALLOC 0x00000001   // read flag: the store may (re)allocate the caller's buffer

#define CEDB_SEEK_CEOID 0x00000001
#define CEDB_SEEK_BEGINNING 0x00000002
#define CEDB_SEEK_END 0x00000004
#define CEDB_SEEK_CURRENT 0x00000008
#define CEDB_SEEK_VALUESMALLER 0x00000010
#define CEDB_SEEK_VALUEFIRSTEQUAL 0x00000020
#define CEDB_SEEK_VALUEGREATER 0x00000040
#define CEDB_SEEK_VALUENEXTEQUAL 0x00000080

// ---- Notifications -----------------------------------------------------------------------------------

#define WM_DBNOTIFICATION 0x03FD

// CENOTIFICATION.uType, and the messages of the legacy path (wParam = oid, lParam = parent oid).
#define DB_CEOID_CREATED (WM_USER + 0x1)
#define DB_CEOID_DATABASE_DELETED (WM_USER + 0x2)
#define DB_CEOID_RECORD_DELETED (WM_USER + 0x3)
#define DB_CEOID_FILE_DELETED (WM_USER + 0x4)
#define DB_CEOID_DIRECTORY_DELETED (WM_USER + 0x5)
#define DB_CEOID_CHANGED (WM_USER + 0x6)

#define CEDB_EXNOTIFICATION 0x00000001

typedef struct _CENOTIFYREQUEST {
  DWORD dwSize;
  HWND hwnd;
  DWORD dwFlags;
  HANDLE hHeap;  // NULL: the process heap
  DWORD dwParam;
} CENOTIFYREQUEST, *PCENOTIFYREQUEST;

typedef struct _CENOTIFICATION {
  DWORD dwSize;
  DWORD dwParam;
  UINT uType;
  CEGUID guid;
  CEOID oid;
  CEOID oidParent;
} CENOTIFICATION, *PCENOTIFICATION;

// ---- Last-error aliases ------------------------------------------------------------------------------

#define ERROR_DBPROP_NOT_FOUND ERROR_ACCESS_DENIED
#define ERROR_REPEATED_KEY ERROR_ALREADY_EXISTS

// ---- Functions (coredll.dll) -------------------------------------------------------------------------

HANDLE CeFindFirstDatabase(DWORD dwDbaseType);
CEOID CeFindNextDatabase(HANDLE hEnum);

CEOID CeCreateDatabase(LPWSTR lpszName, DWORD dwDbaseType, WORD wNumSortOrder, SORTORDERSPEC* rgSortSpecs);
CEOID CeCreateDatabaseEx(PCEGUID pceguid, CEDBASEINFO* pInfo);

HANDLE CeOpenDatabase(PCEOID poid, LPWSTR lpszName, CEPROPID propid, DWORD dwFlags, HWND hwndNotify);
HANDLE CeOpenDatabaseEx(PCEGUID pceguid, PCEOID poid, LPWSTR lpszName, CEPROPID propid, DWORD dwFlags,
                        CENOTIFYREQUEST* pRequest);

BOOL CeDeleteDatabase(CEOID oidDbase);

BOOL CeOidGetInfo(CEOID oid, CEOIDINFO* oidInfo);
BOOL CeOidGetInfoEx(PCEGUID pceguid, CEOID oid, CEOIDINFO* oidInfo);

BOOL CeSetDatabaseInfo(CEOID oidDbase, CEDBASEINFO* pNewInfo);
BOOL CeSetDatabaseInfoEx(PCEGUID pceguid, CEOID oidDbase, CEDBASEINFO* pNewInfo);

// dwValue is an oid, a count or a signed offset (its low 32 bits) for the positional seek types, and a
// CEPROPVAL* for the CEDB_SEEK_VALUE* types; it is pointer-wide so that the pointer survives the 64-bit
// build (on a 32-bit build DWORD_PTR is the platform's DWORD).
CEOID CeSeekDatabase(HANDLE hDatabase, DWORD dwSeekType, DWORD_PTR dwValue, LPDWORD lpdwIndex);

CEOID CeReadRecordProps(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID,
                        LPBYTE* lplpBuffer, LPDWORD lpcbBuffer);
CEOID CeReadRecordPropsEx(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID,
                          LPBYTE* lplpBuffer, LPDWORD lpcbBuffer, HANDLE hHeap);

CEOID CeWriteRecordProps(HANDLE hDbase, CEOID oidRecord, WORD cPropID, CEPROPVAL* rgPropVal);
BOOL CeDeleteRecord(HANDLE hDatabase, CEOID oidRecord);

BOOL CeFreeNotification(PCENOTIFYREQUEST pRequest, PCENOTIFICATION pNotify);

#ifdef __cplusplus
}  // extern "C"

// Layouts that do not depend on the pointer size are the platform's to the byte.
static_assert(sizeof(CEGUID) == 16, "CEGUID");
static_assert(sizeof(SORTORDERSPEC) == 8, "SORTORDERSPEC");
static_assert(sizeof(CEDBASEINFO) == 0x78, "CEDBASEINFO");
static_assert(offsetof(CEDBASEINFO, dwDbaseType) == 0x44 && offsetof(CEDBASEINFO, ftLastModified) == 0x50 &&
                  offsetof(CEDBASEINFO, rgSortSpecs) == 0x58,
              "CEDBASEINFO offsets");
static_assert(sizeof(CEFILEINFO) == 540, "CEFILEINFO");
static_assert(sizeof(CEDIRINFO) == 528, "CEDIRINFO");
static_assert(sizeof(CEOIDINFO) == 0x220, "CEOIDINFO");
static_assert(sizeof(CENOTIFICATION) == 36 && offsetof(CENOTIFICATION, guid) == 0x0C &&
                  offsetof(CENOTIFICATION, oidParent) == 0x20,
              "CENOTIFICATION");
static_assert(offsetof(CEPROPVAL, wFlags) == 6 && offsetof(CEPROPVAL, val) == 8, "CEPROPVAL");
#endif

#endif  // PAGEMARK_WINDBASE_H
