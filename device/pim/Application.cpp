// The application object: logon and logoff, the infrared folder, new appointments and contacts by
// their record id. What the item doesn't use answers E_NOTIMPL.
#include <new>

#include "PimServer.h"

namespace {

class Application : public ComObject<IPOutlookApp> {
 public:
  Application() : ComObject<IPOutlookApp>(IID_IPOutlookApp), loggedOn(false) {}
  ~Application() override { DeviceJournalWrite(PIM_JOURNAL, L"release"); }

  HRESULT STDMETHODCALLTYPE Logon(long window) override {
    if (loggedOn) return E_UNEXPECTED;
    loggedOn = true;
    DeviceJournalWrite(PIM_JOURNAL, L"logon window=%ld", window);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Logoff() override {
    if (!loggedOn) return E_UNEXPECTED;
    loggedOn = false;
    DeviceJournalWrite(PIM_JOURNAL, L"logoff");
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Version(BSTR* version) override {
    if (!version) return E_POINTER;
    *version = SysAllocString(L"2.0.0");
    return *version ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE GetDefaultFolder(int folder, IFolder** result) override {
    if (!result) return E_POINTER;
    *result = nullptr;
    if (!loggedOn) return E_UNEXPECTED;
    if (folder != olFolderInfrared) return E_NOTIMPL;
    *result = NewInfraredFolder(this);
    return *result ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE CreateItem(int itemType, IDispatch** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    if (!loggedOn) return E_UNEXPECTED;
    if (itemType != olAppointmentItem) return E_NOTIMPL;
    *item = NewAppointment(this);
    return *item ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE GetItemFromOid(long oid, IDispatch** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    if (!loggedOn) return E_UNEXPECTED;
    *item = OpenContact(this, static_cast<CEOID>(oid));
    return *item ? S_OK : E_INVALIDARG;
  }
  HRESULT STDMETHODCALLTYPE get_HomeCity(ICity**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_HomeCity(ICity*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_VisitingCity(ICity**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_VisitingCity(ICity*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CurrentCityIndex(long*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_CurrentCityIndex(long) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ReceiveFromInfrared() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_OutlookCompatible(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTimeZoneFromIndex(int, ITimeZone**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTimeZoneInformationFromIndex(int, TIME_ZONE_INFORMATION*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** app) override {
    if (!app) return E_POINTER;
    AddRef();
    *app = this;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SysFreeString(BSTR text) override {
    ::SysFreeString(text);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) override {
    if (!time) return E_POINTER;
    return ::VariantTimeToSystemTime(date, time) ? S_OK : E_INVALIDARG;
  }
  HRESULT STDMETHODCALLTYPE SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) override {
    if (!time || !date) return E_POINTER;
    return ::SystemTimeToVariantTime(time, date) ? S_OK : E_INVALIDARG;
  }

 private:
  bool loggedOn;
};

}  // namespace

IPOutlookApp* NewApplication() { return new (std::nothrow) Application(); }
