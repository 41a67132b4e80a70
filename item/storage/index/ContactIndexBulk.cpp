// ContactIndex: writing a full rebuild, and replacing the keypad tree alone.
#include "storage/index/ContactIndex.h"

#include "storage/index/BulkBuilder.h"
#include "storage/contact/Contact.h"

BOOL ContactIndex::WriteBulk(BulkBuilder& builder) {
  if (builder.IsKeypadOnly()) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  CloseStores();
  if (!CreateStores(builder.RecordBytes())) return FALSE;
  BOOL written = builder.WriteTree(store, WordTree) && builder.WriteTree(store, KeypadTree) &&
                 builder.WriteSortedLists(store);
  Array<uint32_t> records;
  if (written) {
    Array<Contact*> contacts;
    builder.ContactsInOidOrder(contacts);
    for (int k = 0; k < contacts.GetSize() && written; ++k) {
      const uint32_t record = props.AddRecord(*contacts[k]);
      if (record == 0) written = FALSE;
      records.Add(record);
    }
  }
  written = written && builder.WriteContactMap(store, records);
  if (!written) {
    DWORD error = GetLastError();
    CloseStores();
    SetLastError(error);
    return FALSE;
  }
  LoadContactTree();
  return TRUE;
}

BOOL ContactIndex::ReplaceKeypadTree(BulkBuilder& builder) {
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (!EnsureLoaded()) return FALSE;
  store.File().CancelSave();
  keypadTree.FreeAll();
  if (store.IsDamaged()) {
    // The old tree didn't hold together: the index is made anew as a whole instead.
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return builder.WriteTree(store, KeypadTree);
}
