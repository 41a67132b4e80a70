// The data source's lifecycle: opening the contact manager under it and taking everything down.
#include "manager/datasource/ContactDataSource.h"

#include <new>
#include <string.h>

#include "foundation/DebugUtils.h"
#include "manager/core/ContactManager.h"
#include "manager/datasource/ContactCacheMap.h"

ContactDataSource g_dataSource;

ContactDataSource::ContactDataSource()
    : listener(nullptr), manager(nullptr), searchKind(SearchKindText), sortKind(SortKindName), cache(nullptr),
      cursor(0), totalRows(0), opened(FALSE), sync(nullptr) {
  memset(ring, 0, sizeof(ring));
}

ContactDataSource::~ContactDataSource() {
  // The global instance goes with the library or the program, when waiting for a save thread could
  // hang: the manager is shut down by Close, which the item calls when its window is destroyed.
  if (g_syncMessageHandler == this) g_syncMessageHandler = nullptr;
  ClearCache();
  delete cache;
  cache = nullptr;
}

BOOL ContactDataSource::Open(HINSTANCE instance, IndexProgressSink* progress, PimSync* coordinator) {
  sync = coordinator;
  if (!cache) cache = CheckAllocation(new (std::nothrow) ContactCacheMap(kCacheBuckets));
  manager = ContactManager::GetInstance();
  opened = manager->Open(instance, this, coordinator, progress) ? TRUE : FALSE;
  // From now on the item window's registered messages come here.
  if (opened) g_syncMessageHandler = this;
  return opened;
}

void ContactDataSource::Close() {
  DWORD error = GetLastError();
  listener = nullptr;
  if (g_syncMessageHandler == this) g_syncMessageHandler = nullptr;
  opened = FALSE;
  if (manager) {
    // The manager belongs to the process: whoever made it, it goes with the data source.
    ContactManager::DestroyInstance();
    manager = nullptr;
  }
  sync = nullptr;
  ClearResult();
  ClearCache();
  delete cache;
  cache = nullptr;
  SetLastError(error);
}
