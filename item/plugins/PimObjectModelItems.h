// The two services of the object model bridge, each over a logged-on application object.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

struct IPOutlookApp;

// Puts the contacts `ids` into the infrared folder and sends it; false when a contact can't be had or
// the send fails.
BOOL BeamThroughFolder(IPOutlookApp* app, const Array<CEOID>& ids);

// Creates, saves and shows the appointment; a short thread asks the calendar to open it for editing.
BOOL MakeCalendarAppointment(IPOutlookApp* app, const Str& subject, const Str& body, const SYSTEMTIME& start);
