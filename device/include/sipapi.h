/* Software input panel: the platform's published names and numbers. */
#pragma once
#include <windows.h>

#define SPI_SETCOMPLETIONINFO 223
#define SPI_SETSIPINFO 224
#define SPI_GETSIPINFO 225
#define SPI_SETCURRENTIM 226
#define SPI_GETCURRENTIM 227

#define SIPF_OFF 0x00000000
#define SIPF_ON 0x00000001
#define SIPF_DOCKED 0x00000002
#define SIPF_LOCKED 0x00000004

typedef struct tagSIPINFO {
  DWORD cbSize;
  DWORD fdwFlags;
  RECT rcVisibleDesktop;
  RECT rcSipRect;
  DWORD dwImDataSize;
  void* pvImData;
} SIPINFO;
