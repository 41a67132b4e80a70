// The add-ins that other programs register for the contacts' menus, and the shell's context menu
// extensions, under one popup of commands.
//
// An add-in is a subkey of HKLM\SOFTWARE\Microsoft\PimApps\PimExtensions\Contacts\AddIns with the values
// "DLL" (its library) and "Menu" (its command's text). The library exports
//   HRESULT CePimCommand(HWND parent, int itemType, UINT count, const CEOID* ids, void* reserved)
// which the manager calls with item type 0 (contacts) and the selected contacts.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "plugins/ContextMenuExtensions.h"

// One add-in as read from the registry.
struct PluginEntry {
  Str text;  // the menu text
  Str path;  // the library, as found on the device
};

class PluginManager {
 public:
  static const int kMaxPlugins = 10;
  // The highest command id is the first one plus this.
  static const UINT kCommandRange = 64;

  typedef HRESULT (*PimCommandProc)(HWND parent, int itemType, UINT count, const CEOID* ids, void* reserved);

  PluginManager();
  virtual ~PluginManager();

  // Numbers the commands from `firstCommand` on and reads the add-ins from the registry anew; false
  // when the add-ins' key can't be opened.
  virtual BOOL Init(UINT firstCommand);
  int Count() const { return count; }
  UINT FirstCommand() const { return firstCommand; }
  // The menu text of add-in `index`; empty for an index out of range.
  Str GetMenuText(int index) const;
  // The library of add-in `index`; empty for an index out of range.
  Str GetLibraryPath(int index) const;
  // Whether the headset dialer "btdialer.dll" is among the add-ins.
  BOOL HasDialPlugin() const;
  // The dialer's command id, or -1 when there is none.
  int DialPluginCommand() const;
  // The dialer's menu text, or null when there is none.
  const wchar_t* DialPluginText() const;

  // Appends to `parent` a separator and a popup with the add-ins' commands and those the shell's
  // extensions add for the contacts `ids`, labelled "Outlook Plugin". True when anything was added;
  // with no command at all nothing is appended.
  virtual BOOL BuildMenu(HMENU parent, const Array<CEOID>& ids);
  // Runs command `command` of BuildMenu for the contacts `ids`: an add-in's, or one of the shell's
  // extensions. False when the id isn't one of them or the command couldn't run.
  virtual BOOL Invoke(UINT command, const Array<CEOID>& ids);

  ContextMenuExtensions& Extensions() { return extensions; }

 protected:
  // Runs add-in `index` for the contacts `ids`.
  virtual BOOL RunPlugin(int index, const Array<CEOID>& ids);
  // Reads one add-in's subkey; false when it lacks a value or its library isn't on the device.
  virtual BOOL ReadPlugin(HKEY key, PluginEntry& entry);
  // Logs the platform's object model on, through which add-ins reach the contacts.
  virtual BOOL EnsureObjectModel();

 private:
  PluginManager(const PluginManager&) = delete;
  PluginManager& operator=(const PluginManager&) = delete;

  int count;
  PluginEntry plugins[kMaxPlugins];
  ContextMenuExtensions extensions;
  UINT firstCommand;
};

PluginManager* GetPluginManager();
