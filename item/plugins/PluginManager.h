// Add-ins that put their commands into the item's menus. With no add-in support loaded yet, the
// manager knows no add-ins.
#pragma once
#include <windows.h>

class PluginManager {
 public:
  PluginManager();
  virtual ~PluginManager();
  // Loads the add-ins; their commands are numbered from firstCommandId on.
  virtual BOOL Load(UINT firstCommandId);
  int GetCount() const { return count; }

 private:
  UINT firstCommandId;
  int count;
};

PluginManager* GetPluginManager();
