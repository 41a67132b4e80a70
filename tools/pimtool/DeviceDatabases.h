// The device's two contact databases made anew and empty, with the sort orders the platform gives
// them: "Contacts Database" by File As, last name, company and first name, "\Categories Database" by
// position and name. For programs that work on a store of their own.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <vector>

// Deletes every database named `name`; true when none is left.
bool DeleteDatabaseNamed(const wchar_t* name);
// Deletes `name` and creates it anew with the given sort orders; its id, or 0 when it can't be made.
CEOID RecreateDatabase(const wchar_t* name, DWORD type, std::vector<SORTORDERSPEC> sorts);

std::vector<SORTORDERSPEC> ContactSortOrders(bool withCompany = true);
std::vector<SORTORDERSPEC> CategorySortOrders();
// Both databases anew and empty; false when one of them can't be made.
bool MakeEmptyContactDatabases(bool withCompanySort = true);
