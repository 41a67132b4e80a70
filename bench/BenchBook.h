// The benchmarks' address book: generated contacts written in order into the device's contacts
// database, so that record k holds generated contact k, and changes to them as another program makes.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <vector>

// Writes or deletes records at the end so that the database holds generated contacts [0, count).
bool HoldBenchContacts(int count);
// Another program changes the company of `changes` records spread over the database; `round` picks
// other records each time. The company gets " Ltd" added, or loses it, so that a second call with the
// same round puts the records back.
bool ChangeBenchContacts(int round, int changes);
// The records in the order they were written.
const std::vector<CEOID>& BenchRecords();
