// The process-wide HideSim flag: not 0 when contacts from the SIM card are to stay out of the lists.
// The item sets it from its settings at start; the data side reads it.
#pragma once

extern int g_hideSim;
