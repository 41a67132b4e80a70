#include "plugins/PimObjectModel.h"

PimObjectModel::PimObjectModel() : app(nullptr), state(NotTried) {}
PimObjectModel::~PimObjectModel() { Shutdown(); }

BOOL PimObjectModel::Ensure() {
  // LATER(object model): the platform's object model isn't created yet, so nothing logs on; returns
  // false.
  return FALSE;
}

BOOL PimObjectModel::BeamContacts(const Array<CEOID>&) {
  // LATER(object model): no object model to send with yet; returns false.
  return FALSE;
}

BOOL PimObjectModel::MakeAppointment(const Str&, const Str&, const SYSTEMTIME&) {
  // LATER(object model): no object model to make the appointment with yet; returns false.
  return FALSE;
}

void PimObjectModel::Shutdown() {}

PimObjectModel* GetPimObjectModel() {
  static PimObjectModel model;
  return &model;
}
