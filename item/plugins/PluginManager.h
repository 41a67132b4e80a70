// Add-ins that put their commands into the item's menus. With no add-in support loaded yet, the
// manager knows no add-ins.
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/Array.h"

class PluginManager {
 public:
  PluginManager();
  virtual ~PluginManager();
  // Loads the add-ins; their commands are numbered from firstCommandId on.
  virtual BOOL Load(UINT firstCommandId);
  int GetCount() const { return count; }
  // Appends the add-ins' commands for the contacts `ids` to `parent`: a separator, then one popup
  // that holds them. True when anything was added.
  virtual BOOL BuildMenu(HMENU parent, const Array<CEOID>& ids);
  // Runs command `id` of BuildMenu for the contacts `ids`; false when the id isn't an add-in's.
  virtual BOOL Invoke(UINT id, const Array<CEOID>& ids);

 private:
  UINT firstCommandId;
  int count;
};

PluginManager* GetPluginManager();
