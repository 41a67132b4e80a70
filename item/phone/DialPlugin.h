// The add-in that dials for the user (the headset dialer "btdialer.dll"): the dial mode that hands a
// contact to it asks here whether it is installed and runs its command.
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/Array.h"

class DialPlugin {
 public:
  virtual ~DialPlugin();
  // The command id of the dialer among the add-ins' commands, or -1 when it isn't installed.
  virtual int GetCommand();
  BOOL IsInstalled() { return GetCommand() >= 0; }
  // Runs the dialer's command for the contacts `ids` (the dialer lets its user pick the number);
  // true when it ran.
  virtual BOOL Run(const Array<CEOID>& ids);
};

// The process's dialer add-in.
DialPlugin* GetDialPlugin();
// Puts `plugin` in its place (null: the one the add-ins give) and returns the one before.
DialPlugin* SetDialPlugin(DialPlugin* plugin);
