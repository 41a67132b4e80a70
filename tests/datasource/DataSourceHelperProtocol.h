// What the data source tests and their helper process agree on. A helper is started as
//   datasource_helper.exe NAME LOGFILE
// and makes a hidden window of class kDataSourceHelperClass titled NAME, which hands the coordinator's
// messages to the helper's own contact data source, as the item window does. It writes one line to
// LOGFILE for each such message ("NAME got SlaveStop") and for each call its data source makes on its
// view ("NAME EnableItem 0", "NAME ResultsChanged"). Commands are sent to the window with
// SendMessageTimeoutW; their result is the result of the send.
#pragma once
#include <windows.h>

namespace dshelper {

const wchar_t kDataSourceHelperClass[] = L"PagemarkDataSourceTestHelper";

enum Command : UINT {
  CmdRegister = WM_APP + 101,  // the coordinator takes the window: 1 as slave, 3 as master, 0 refused
  CmdUnregister,               // the data source closes and the window leaves the coordinator
  CmdChangeToMaster,           // this process asks to be master
  CmdIsMaster,
  CmdOpen,           // opens the data source with the coordinator; 1 when it stands
  CmdSearchAll,      // the empty text search under sort kind 0: the rows, or -1
  CmdTotalRows,      // the rows of the current result
  CmdDefaultItemOf,  // wParam: id; the default item of the cached contact, or -1
  CmdWriteNamed,     // wParam: count; writes contacts "Helper<n>" straight into the database
  CmdDrain,          // handles what is queued for the window, then 1
  CmdQuit,
};

}  // namespace dshelper
