// What the object model's items (a contact, an appointment) share: the application they belong to and
// hold, their record id, and the ink body they don't offer.
#pragma once
#include "PimServer.h"

template <class I>
class PimItem : public ComObject<I> {
 public:
  PimItem(const IID& iid, IPOutlookApp* app) : ComObject<I>(iid), app(app) { app->AddRef(); }
  ~PimItem() override { app->Release(); }

  HRESULT STDMETHODCALLTYPE get_Oid(long* result) override {
    if (!result) return E_POINTER;
    *result = static_cast<long>(ItemOid());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_BodyInk(CEBLOB*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_BodyInk(CEBLOB*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** result) override {
    if (!result) return E_POINTER;
    app->AddRef();
    *result = app;
    return S_OK;
  }

 protected:
  // The item's record in its database; 0 while it has none.
  virtual CEOID ItemOid() const = 0;

  IPOutlookApp* app;
};
