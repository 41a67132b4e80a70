// The frame of a helper process that plays the item's data side beside a test (HelperWindow.h): it
// answers the coordinator's messages as the item's data source does, writing each to the shared log
// ("NAME ChangeToMaster", "NAME TakeOverIndex 1", ...), and opens a contact manager on command. Each
// peer's own procedure carries its protocol's commands with the pieces below.
#pragma once
#include <windows.h>

#include "manager/core/ContactManager.h"

namespace managerpeer {

// The peer's contact manager; null until Open made one.
ContactManager* Manager();

// Registers `window` with the coordinator and opens a contact manager: 1 when it worked, + 2 when this
// process is the master; 0 when either failed.
LRESULT Open(HWND window);

// How many contacts the text search for `text` finds; -1 when it fails or there is no manager.
LRESULT Found(const wchar_t* text);

// How many contacts the index holds; -1 when it isn't open or there is no manager.
LRESULT Count();

// Hands a coordinator's message to the peer's reactions; true when it was one.
bool CoordinatorMessage(UINT message, WPARAM wParam, LPARAM lParam);

// Runs the helper with `procedure` for its window's messages until that posts a quit. On leaving, as the
// item leaves, the manager closes (saving what is due), then the process unregisters, which hands the
// index to the next process in line.
int Run(const wchar_t* windowClass, WNDPROC procedure);

}  // namespace managerpeer
