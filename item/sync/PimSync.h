// PimSync: coordination of the product's processes over one shared record. Several processes may
// read the one contact index; exactly one of them, the master, writes it and reacts to database
// changes, and the others, the slaves, let go of the index and reopen it when told. Each process
// takes part with one window. The processes find each other through a small named mapping, which
// also carries the change flags by which a settings program tells the item that settings changed.
//
// A process is unregistered, slave or master. The master is whoever stands in word 0 of the record;
// word 0 changes only under the mutex, so there is at most one master. The death of a master is
// found late: the next Register or Unregister of any process sweeps dead windows out of the record
// and tells the window that moved into word 0.
//
// Every access to the record takes the mutex and gives it up before any message is sent.
#pragma once

#include <windows.h>

#include "foundation/Handles.h"
#include "sync/PimSyncRecord.h"

extern const wchar_t kPimSyncMappingName[];  // "450DC470-F520-401d-8A4B-F51506298DBE"
extern const wchar_t kPimSyncMutexName[];    // "9694E7F0-1902-4855-AA4D-F879CF68BE6A"

class PimSync {
 public:
  PimSync();
  // Unmaps the record and closes mapping and mutex; the record stays while other processes hold it.
  virtual ~PimSync();

  // Puts `window` in the first free word: the first process in becomes master. False when the
  // record is full (ten windows); the process is then no master and never writes.
  virtual BOOL Register(HWND window);
  // Takes this process's window out. A master that leaves hands over to the window that moves into
  // word 0. The process keeps its master flag.
  virtual BOOL Unregister(HWND window);
  // This process, through its own `window`, takes over as master; the old master is told that it is
  // a slave now.
  virtual BOOL ChangeToMaster(HWND window);
  // Master only: posts "PimSyncSlaveReload" to every slave and does not wait.
  virtual BOOL SlaveReload();
  // Master only: sends "PimSyncSlaveStop" to every slave and waits for each, so that no slave has
  // the index open when it returns.
  virtual BOOL SlaveStop();
  virtual BOOL IsMaster() const;
  virtual void SetMaster(BOOL flag);
  // A slave asks the master to store the default item of contact `id`.
  virtual BOOL UpdateLinkType(DWORD id, DWORD item);

  // Creates or opens the mutex, the mapping and its view. Without them every other operation gives
  // 0 and does nothing, and the process runs alone.
  BOOL Open();
  BOOL IsOpen() const { return ready; }
  // The word of flag `index` (0 to 9); 0 for any other index or without the record.
  DWORD GetFlag(int index);
  BOOL SetFlag(int index, DWORD value);
  // Takes the windows that are gone out of the record. When word 0 then holds another window than
  // before, the master has died and that window is told that it is master now.
  void Sweep();

  // The window this process takes part with, or null.
  HWND GetWindow() const { return myWindow; }

  // The process's one coordinator, made on first use.
  static PimSync* GetInstance();
  static void DestroyInstance();

 private:
  PimSync(const PimSync&) = delete;
  PimSync& operator=(const PimSync&) = delete;

  void CloseHandles();
  // Copies the slaves' windows, words 1 to 9 up to the first 0; gives their count.
  int CopySlaves(uint32_t* slaves);

  KernelHandle mapping;
  MappedView view;
  KernelHandle mutex;
  PimSyncRecord* record;
  int ready;
  int isMaster;
  HWND myWindow;
};

// The process's coordinator, or null before GetInstance and after DestroyInstance.
extern PimSync* g_pimSync;
