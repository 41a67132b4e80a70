// The stand-in of the platform's contacts object model (pimstore.dll): the pieces its objects share.
#pragma once
#include <windows.h>
#include <pimstore.h>

#include <DeviceJournal.h>

#define PIM_JOURNAL L"pimstore"

// Objects alive in this library; it can be unloaded at none.
void ServerLock();
void ServerUnlock();

// IUnknown and IDispatch for an interface `I` of identifier `iid`; the dispatch operations are
// not offered (callers of this library bind to the table of operations).
template <class I>
class ComObject : public I {
 public:
  explicit ComObject(const IID& iid) : iid(iid), references(1) { ServerLock(); }
  virtual ~ComObject() { ServerUnlock(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID asked, void** object) override {
    if (!object) return E_POINTER;
    if (IsEqualIID(asked, IID_IUnknown) || IsEqualIID(asked, IID_IDispatch) || IsEqualIID(asked, iid)) {
      *object = static_cast<I*>(this);
      this->AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return InterlockedIncrement(&references); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG left = InterlockedDecrement(&references);
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (count) *count = 0;
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }

 private:
  const IID iid;
  LONG references;
};

// The application object: what CoCreateInstance of CLSID_Application gives.
IPOutlookApp* NewApplication();
// The infrared folder of `app`, whose list starts empty.
IFolder* NewInfraredFolder(IPOutlookApp* app);
// The contact of record `oid` in the "Contacts Database"; null when there is none.
IContact* OpenContact(IPOutlookApp* app, CEOID oid);
// A new, unsaved appointment.
IAppointment* NewAppointment(IPOutlookApp* app);
