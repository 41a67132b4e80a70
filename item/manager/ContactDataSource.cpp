#include "manager/ContactDataSource.h"

ContactDataSource g_dataSource;

ContactDataSource::ContactDataSource() : listener(nullptr), sync(nullptr), instance(nullptr), open(0) {}

ContactDataSource::~ContactDataSource() {}

BOOL ContactDataSource::Open(HINSTANCE module, void*, PimSync* synchronisation) {
  instance = module;
  sync = synchronisation;
  open = 1;
  return TRUE;
}

void ContactDataSource::Close() {
  listener = nullptr;
  sync = nullptr;
  open = 0;
}
