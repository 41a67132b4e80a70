// Where the item finds its module and its folders: the skin folder and the user's data folder, both
// named by settings with fixed folders on the device for when they are not set.
#pragma once
#include <windows.h>
#include "foundation/DataFolder.h"  // the user's data folder
#include "foundation/Str.h"

// The module whose resources the item loads. Set at start with the item library's handle; asked
// before that, it is the program's own module (GetModuleHandleW(null)), which is then kept.
void SetModuleInstance(HINSTANCE instance);
HINSTANCE GetModuleInstance();

// The folder of skin images, always with a trailing backslash: SkinPath, or
// "\Program Files\Zovrix Pagemark\RingvaneSkin\" when the setting is empty.
Str GetSkinFolder();
