#include "plugins/PimObjectModel.h"

#include <pimstore.h>

#include "plugins/PimObjectModelItems.h"

PimObjectModel::PimObjectModel() : app(nullptr), state(NotTried), ownsCom(false) {}

PimObjectModel::~PimObjectModel() {
  if (!app) return;
  app->Logoff();
  app->Release();
  app = nullptr;
  // COM stays initialised: at exit the thread that initialised it may be gone already.
}

BOOL PimObjectModel::Ensure() {
  if (state != NotTried) return state == Ready;
  state = Unavailable;
  HRESULT result = CoInitializeEx(nullptr, 0);
  // A thread that already runs COM in another mode serves as well; it just isn't ours to end.
  if (FAILED(result) && result != RPC_E_CHANGED_MODE) {
    SetLastError(static_cast<DWORD>(result));
    return FALSE;
  }
  ownsCom = SUCCEEDED(result);
  IPOutlookApp* created = nullptr;
  result = CoCreateInstance(CLSID_Application, nullptr, CLSCTX_INPROC_SERVER, IID_IPOutlookApp,
                            reinterpret_cast<void**>(&created));
  if (SUCCEEDED(result)) {
    result = created->Logon(0);
    if (FAILED(result)) created->Release();
  }
  if (FAILED(result)) {
    if (ownsCom) CoUninitialize();
    ownsCom = false;
    SetLastError(static_cast<DWORD>(result));
    return FALSE;
  }
  app = created;
  state = Ready;
  return TRUE;
}

BOOL PimObjectModel::BeamContacts(const Array<CEOID>& ids) {
  if (ids.GetSize() == 0) return TRUE;
  if (!Ensure()) return FALSE;
  return BeamThroughFolder(app, ids);
}

BOOL PimObjectModel::MakeAppointment(const Str& subject, const Str& body, const SYSTEMTIME& start) {
  if (!Ensure()) return FALSE;
  return MakeCalendarAppointment(app, subject, body, start);
}

PimObjectModel* GetPimObjectModel() {
  static PimObjectModel model;
  return &model;
}
