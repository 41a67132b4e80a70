// Placeholder until the search lands; every search fails.
#include "manager/ContactManager.h"
BOOL ContactManager::Search(const Str&, int, const CategoryFilter&, Array<CEOID>& out, SearchCancel*) { out.RemoveAll(); return FALSE; }
BOOL ContactManager::KeypadSearch(const Str&, int, const CategoryFilter&, Array<CEOID>& out) { out.RemoveAll(); return FALSE; }
BOOL ContactManager::GroupedSearch(const Str&, const CategoryFilter&, Array<uint32_t>& flat, Array<Str>& titles, SearchCancel*) { flat.RemoveAll(); titles.RemoveAll(); return FALSE; }
BOOL ContactManager::GroupedKeypadSearch(const Str&, const CategoryFilter&, Array<uint32_t>& flat, Array<Str>& titles) { flat.RemoveAll(); titles.RemoveAll(); return FALSE; }
int ContactManager::FindByPhone(const Str&, Array<CEOID>& ids, Array<Str>*, int, DWORD) { ids.RemoveAll(); return 0; }
