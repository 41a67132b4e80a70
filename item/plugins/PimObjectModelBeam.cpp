#include <pimstore.h>

#include "plugins/PimObjectModelItems.h"

BOOL BeamThroughFolder(IPOutlookApp* app, const Array<CEOID>& ids) {
  IFolder* folder = nullptr;
  HRESULT result = app->GetDefaultFolder(olFolderInfrared, &folder);
  if (FAILED(result)) {
    SetLastError(static_cast<DWORD>(result));
    return FALSE;
  }
  for (int i = 0; i < ids.GetSize() && SUCCEEDED(result); ++i) {
    IDispatch* contact = nullptr;
    result = app->GetItemFromOid(static_cast<long>(ids[i]), &contact);
    if (SUCCEEDED(result)) {
      result = folder->AddItemToInfraredFolder(olContactItem, contact);
      contact->Release();
    }
  }
  // One send for the whole list, and none when a contact was missing.
  if (SUCCEEDED(result)) result = folder->SendToInfrared();
  folder->Release();
  if (FAILED(result)) SetLastError(static_cast<DWORD>(result));
  return SUCCEEDED(result);
}
