// The bridge to the platform's contacts object model, for the few things the item leaves to the
// platform: sending contacts by infrared and making an appointment that the calendar then shows.
// One global instance logs on once, on first use, and off at exit.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

struct IPOutlookApp;

class PimObjectModel {
 public:
  // What Ensure found: not tried yet, no object model, logged on.
  enum State { NotTried = -1, Unavailable = 0, Ready = 1 };

  PimObjectModel();
  // Logs off and lets go of the object model.
  virtual ~PimObjectModel();

  // Logs the object model on, on the first call only; true while it is logged on. A failed first
  // attempt is never repeated.
  virtual BOOL Ensure();
  // Sends the contacts `ids` by infrared as one list; an empty list is a success and sends nothing.
  virtual BOOL BeamContacts(const Array<CEOID>& ids);
  // Makes an appointment of 15 minutes from `start`, saves it and shows it in the calendar, which is
  // then asked to open it for editing. An empty body leaves the appointment's notes alone.
  virtual BOOL MakeAppointment(const Str& subject, const Str& body, const SYSTEMTIME& start);

  State GetState() const { return state; }

 private:
  IPOutlookApp* app;
  State state;
  bool ownsCom;  // this object's CoInitializeEx succeeded
};

PimObjectModel* GetPimObjectModel();
