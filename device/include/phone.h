/*
 * The phone's library (phone.dll): starting a call through the phone program.
 *
 * Plain C declarations with the platform's names and numbers. The call record holds pointers, so it
 * takes the natural layout of the build; its cbSize is sizeof of the record of this build (24 bytes on
 * the 32-bit device).
 */
#ifndef PHONE_H
#define PHONE_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TAPIMAXDESTADDRESSSIZE 80
#define TAPIMAXCALLEDPARTYSIZE 40

/* dwFlags of PHONEMAKECALLINFO */
#define PMCF_DEFAULT 0x00000001
#define PMCF_PROMPTBEFORECALLING 0x00000002

typedef struct tagPHONEMAKECALLINFO {
  DWORD cbSize;
  DWORD dwFlags;
  PCWSTR pszDestAddress;
  PCWSTR pszAppName;
  PCWSTR pszCalledParty;
  PCWSTR pszComment;
} PHONEMAKECALLINFO, *PPHONEMAKECALLINFO;

/* 0 when the call was handed to the phone program, non-zero otherwise. */
typedef LONG (*PFNPHONEMAKECALL)(PHONEMAKECALLINFO* ppmci);
LONG PhoneMakeCall(PHONEMAKECALLINFO* ppmci);

#ifdef __cplusplus
}
#endif

#endif /* PHONE_H */
