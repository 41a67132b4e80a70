// The one object between the user interface and the contact data. The contact manager joins it
// with the index; until then it opens nothing and every search is empty.
#pragma once
#include <windows.h>

class ItemListener;
class PimSync;

class ContactDataSource {
 public:
  ContactDataSource();
  virtual ~ContactDataSource();
  // Keeps the synchronisation object and starts the data side; true when it stands.
  virtual BOOL Open(HINSTANCE instance, void* progress, PimSync* sync);
  // Forgets the listener, shuts the data side down and empties the result.
  virtual void Close();
  void SetListener(ItemListener* listener) { this->listener = listener; }
  ItemListener* GetListener() const { return listener; }
  BOOL IsOpen() const { return open; }

 private:
  ItemListener* listener;
  PimSync* sync;
  HINSTANCE instance;
  int open;
};

extern ContactDataSource g_dataSource;
