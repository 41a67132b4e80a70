// The frame of a helper process that plays the item's data side beside a test (HelperWindow.h): it
// answers the coordinator's messages as the item's data source does, writing each to the shared log
// ("NAME ChangeToMaster", "NAME TakeOverIndex 1", ...), and opens a contact manager on command. Each
// peer carries its own protocol's commands with the pieces below.
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

// Answers one command of a peer's protocol, with the window it came to and its wParam.
typedef LRESULT (*Carry)(HWND window, UINT command, WPARAM wParam);

// Runs the helper until CmdQuit: the coordinator's messages go to the peer's reactions, the commands
// from `first` to `quit` to `carry`, and `quit` itself, after `carry` has seen it, ends the helper and
// answers 1. On leaving, as the item leaves, the manager closes (saving what is due), then the process
// unregisters, which hands the index to the next process in line.
int Run(const wchar_t* windowClass, UINT first, UINT quit, Carry carry);

}  // namespace managerpeer
