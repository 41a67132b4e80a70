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

int DialPlugin::GetCommand() { return GetPluginManager()->DialPluginCommand(); }

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
