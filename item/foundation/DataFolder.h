// The user's data folder: where the contact template and the contacts' photo files live. Both the
// data side (photos read and written with the contacts) and the user interface ask for it.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

// FolderPath of Settings without a trailing backslash, or "\My Documents\Pagemark Files" when the
// setting is empty. Created when it doesn't exist; whether that worked is not checked, a later open
// of a file in it tells.
Str GetDataFolder();
