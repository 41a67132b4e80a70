// The contact manager as the tool opens it: as one more process of the product. The tool takes part
// in the coordination with a hidden window of its own, so that it can run beside the item: the first
// process in is master and writes the index. A verb that writes takes over as master for its run and
// leaves at the end, which hands the index back to the process next in line; a verb that only reads
// is a slave when another process is master, and lets go of the index or reopens it when told. Without
// the coordination's shared record the tool runs alone and writes.
#pragma once
#include <string>

#include "manager/core/ContactManager.h"
#include "sync/SyncMessageHandler.h"

class PimSync;

class ToolManager : public SyncMessageHandler {
 public:
  ToolManager();
  ~ToolManager() override;
  // Opens as the item does; with `write`, as master. False (with a message printed) when the
  // database or the index can't be brought up.
  bool Open(bool write = false);
  ContactManager& Get() { return manager; }
  // Takes in the notifications of the tool's own writes and applies the manager's queued events.
  void Settle();

  // What the coordinator's messages ask of the tool, as of the item.
  void OnChangeToMaster() override;
  void OnChangeToSlave() override;
  void OnSlaveReload() override;
  void OnSlaveStop() override;
  void OnUpdateLinkType(DWORD id, DWORD item) override;

 private:
  // Joins the coordination; false when the tool runs alone.
  bool Join(bool write);
  void Leave();

  ContactManager manager;
  PimSync* sync;
  HWND window;
};

// The list name of a contact as the lists show it: "Last, First", or what there is.
std::wstring ListNameOf(ContactManager& manager, CEOID oid);
// "%08x" of an id.
std::wstring HexId(CEOID oid);
// An id in hexadecimal from the command line; 0 when it isn't one.
CEOID ParseId(const wchar_t* text);
