// pimstore.dll's entry points: the class object of the application object, for COM's in-process
// activation.
#include "PimServer.h"

extern "C" HRESULT WINAPI DllCanUnloadNow();

namespace {

LONG liveObjects = 0;

class ApplicationFactory : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID asked, void** object) override {
    if (!object) return E_POINTER;
    if (IsEqualIID(asked, IID_IUnknown) || IsEqualIID(asked, IID_IClassFactory)) {
      *object = static_cast<IClassFactory*>(this);
      AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    ServerLock();
    return 2;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    ServerUnlock();
    return 1;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID asked, void** object) override {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    // The object model stays loaded once in use, as the device's own library does: its objects may be
    // let go of at the very end of a process, after COM has ended on the thread that made them.
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&DllCanUnloadNow), &self);
    IPOutlookApp* app = NewApplication();
    if (!app) return E_OUTOFMEMORY;
    HRESULT result = app->QueryInterface(asked, object);
    app->Release();
    return result;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    if (lock)
      ServerLock();
    else
      ServerUnlock();
    return S_OK;
  }
};

ApplicationFactory factory;

}  // namespace

void ServerLock() { InterlockedIncrement(&liveObjects); }
void ServerUnlock() { InterlockedDecrement(&liveObjects); }

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID asked, void** object) {
  if (!object) return E_POINTER;
  *object = nullptr;
  if (!IsEqualCLSID(clsid, CLSID_Application)) return CLASS_E_CLASSNOTAVAILABLE;
  return factory.QueryInterface(asked, object);
}

extern "C" HRESULT WINAPI DllCanUnloadNow() { return liveObjects == 0 ? S_OK : S_FALSE; }
