// The infrared folder: items are put on its list one by one, and the list is sent as one transfer.
// The stand-in device has no infrared port; a send writes the record ids of the list to the journal.
#include <new>
#include <string>
#include <vector>

#include "PimServer.h"

namespace {

class InfraredFolder : public ComObject<IFolder> {
 public:
  explicit InfraredFolder(IPOutlookApp* app) : ComObject<IFolder>(IID_IFolder), app(app) { app->AddRef(); }
  ~InfraredFolder() override { app->Release(); }

  HRESULT STDMETHODCALLTYPE get_Items(IPOutlookItemCollection**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_DefaultItemType(int* itemType) override {
    if (!itemType) return E_POINTER;
    *itemType = olContactItem;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** result) override {
    if (!result) return E_POINTER;
    app->AddRef();
    *result = app;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE AddItemToInfraredFolder(int itemType, IDispatch* item) override {
    if (!item) return E_INVALIDARG;
    if (itemType != olContactItem) return E_NOTIMPL;
    IContact* contact = nullptr;
    if (FAILED(item->QueryInterface(IID_IContact, reinterpret_cast<void**>(&contact)))) return E_INVALIDARG;
    long oid = 0;
    HRESULT result = contact->get_Oid(&oid);
    contact->Release();
    if (FAILED(result)) return result;
    list.push_back(static_cast<CEOID>(oid));
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SendToInfrared() override {
    std::wstring ids;
    for (CEOID oid : list) ids += L" " + std::to_wstring(oid);
    DeviceJournalWrite(PIM_JOURNAL, L"beam %u contacts:%ls", static_cast<unsigned>(list.size()), ids.c_str());
    list.clear();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE ReceiveFromInfrared(IPOutlookItemCollection**) override { return E_NOTIMPL; }

 private:
  IPOutlookApp* app;
  std::vector<CEOID> list;
};

}  // namespace

IFolder* NewInfraredFolder(IPOutlookApp* app) { return new (std::nothrow) InfraredFolder(app); }
