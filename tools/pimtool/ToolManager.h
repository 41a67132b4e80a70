// The contact manager as the tool opens it: alone (no coordinator, so it writes the index), with a
// module instance for its hidden windows, and closed with a last save of the index files.
#pragma once
#include <string>

#include "manager/core/ContactManager.h"

class ToolManager {
 public:
  ToolManager();
  ~ToolManager();
  // Opens as the item does; false (with a message printed) when the database or the index can't be
  // brought up.
  bool Open();
  ContactManager& Get() { return manager; }
  // Takes in the notifications of the tool's own writes and applies the manager's queued events.
  void Settle();

 private:
  ContactManager manager;
};

// The list name of a contact as the lists show it: "Last, First", or what there is.
std::wstring ListNameOf(ContactManager& manager, CEOID oid);
// "%08x" of an id.
std::wstring HexId(CEOID oid);
// An id in hexadecimal from the command line; 0 when it isn't one.
CEOID ParseId(const wchar_t* text);
