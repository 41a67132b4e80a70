// Coordination of the product's processes over a shared record. The shared block arrives with the
// master and slave protocol; until then Open fails and every flag reads 0, which the item accepts.
#pragma once
#include <windows.h>

class PimSync {
 public:
  PimSync();
  virtual ~PimSync();
  virtual BOOL Open();
  virtual BOOL Register(HWND window);
  virtual BOOL Unregister(HWND window);
  virtual BOOL GetFlag(int index);
  virtual void SetFlag(int index, BOOL value);
  BOOL IsOpen() const { return open; }

 private:
  int open;
};

// One per process; made by the Today item at start and deleted at its shutdown.
extern PimSync* g_pimSync;
