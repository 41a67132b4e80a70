#include "phone/DialPlugin.h"
#include "plugins/PluginManager.h"

namespace {

DialPlugin& FromAddIns() {
  static DialPlugin plugin;
  return plugin;
}

DialPlugin* current = nullptr;

}  // namespace

DialPlugin::~DialPlugin() {}

int DialPlugin::GetCommand() {
  // LATER(plug-ins): the add-ins' list can't tell yet which of them is "btdialer.dll", so no dialer is
  // found; gives -1.
  return -1;
}

BOOL DialPlugin::Run(const Array<CEOID>& ids) {
  const int command = GetCommand();
  if (command < 0) return FALSE;
  return GetPluginManager()->Invoke(static_cast<UINT>(command), ids);
}

DialPlugin* GetDialPlugin() { return current ? current : &FromAddIns(); }

DialPlugin* SetDialPlugin(DialPlugin* plugin) {
  DialPlugin* before = GetDialPlugin();
  current = plugin;
  return before;
}
