// A sample context menu extension for the contacts: an in-process COM server whose object reads the
// selected contacts from the data object the shell hands it, adds one command to the menu, and writes
// to the device journal what it read and when its command runs.
#include <windows.h>
#include <objbase.h>
#include <shlobj.h>

#include <DeviceJournal.h>

#include <string>
#include <vector>

namespace {

// {6B1F3C2A-5D4E-4F80-9A1B-2C3D4E5F6071}
const CLSID kSampleExtensionClass = {
    0x6B1F3C2A, 0x5D4E, 0x4F80, {0x9A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F, 0x60, 0x71}};
// The kind of item of a contact in the contacts' data object.
const GUID kContactItemType = {0x18103FDF, 0xCAEC, 0x42EB, {0x90, 0xE7, 0x1C, 0x76, 0xD6, 0xE6, 0x0D, 0x24}};
const wchar_t kSource[] = L"sampleext";
const wchar_t kCommandText[] = L"Sample extension command";

struct ItemRef {
  const GUID* type;
  void* ref;
};
struct ItemRefArray {
  int count;
  ItemRef refs[1];
};

LONG g_objects = 0;

std::wstring Ids(const std::vector<DWORD>& ids) {
  std::wstring list;
  for (DWORD id : ids) list += L" " + std::to_wstring(id);
  return list;
}

class SampleExtension : public IShellExtInit, public IContextMenu {
 public:
  SampleExtension() { InterlockedIncrement(&g_objects); }
  virtual ~SampleExtension() { InterlockedDecrement(&g_objects); }

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (!object) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IContextMenu))
      *object = static_cast<IContextMenu*>(this);
    else if (IsEqualIID(iid, IID_IShellExtInit))
      *object = static_cast<IShellExtInit*>(this);
    else {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references)); }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG left = InterlockedDecrement(&references);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

  STDMETHODIMP Initialize(PCIDLIST_ABSOLUTE, IDataObject* data, HKEY) override {
    ids.clear();
    if (!data) {
      DeviceJournalWrite(kSource, L"Initialize without data object");
      return E_INVALIDARG;
    }
    FORMATETC format = {static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"ItemRefArray")), nullptr,
                        DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    STGMEDIUM medium = {};
    const HRESULT result = data->GetData(&format, &medium);
    if (FAILED(result)) {
      DeviceJournalWrite(kSource, L"Initialize: GetData 0x%08lx", static_cast<unsigned long>(result));
      return result;
    }
    const ItemRefArray* block = reinterpret_cast<const ItemRefArray*>(medium.hGlobal);
    int contacts = 0;
    for (int i = 0; block && i < block->count; ++i) {
      if (block->refs[i].type && IsEqualGUID(*block->refs[i].type, kContactItemType)) ++contacts;
      ids.push_back(static_cast<DWORD>(reinterpret_cast<UINT_PTR>(block->refs[i].ref)));
    }
    DeviceJournalWrite(kSource, L"Initialize: %d contact(s), ids%ls", contacts, Ids(ids).c_str());
    ReleaseStgMedium(&medium);
    return S_OK;
  }

  STDMETHODIMP QueryContextMenu(HMENU menu, UINT index, UINT first, UINT last, UINT) override {
    if (first > last) return MAKE_HRESULT(SEVERITY_SUCCESS, 0, 0);
    InsertMenuW(menu, index, MF_BYPOSITION | MF_STRING, first, kCommandText);
    DeviceJournalWrite(kSource, L"QueryContextMenu: command %u at %u", first, index);
    return MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1);
  }
  STDMETHODIMP InvokeCommand(CMINVOKECOMMANDINFO* info) override {
    if (!info || HIWORD(reinterpret_cast<UINT_PTR>(info->lpVerb)) != 0) return E_INVALIDARG;
    const UINT verb = LOWORD(reinterpret_cast<UINT_PTR>(info->lpVerb));
    if (verb != 0) return E_INVALIDARG;
    DeviceJournalWrite(kSource, L"InvokeCommand: ids%ls", Ids(ids).c_str());
    return S_OK;
  }
  STDMETHODIMP GetCommandString(UINT_PTR, UINT, UINT*, CHAR*, UINT) override { return E_NOTIMPL; }

 private:
  LONG references = 1;
  std::vector<DWORD> ids;
};

class Factory : public IClassFactory {
 public:
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (!object) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory)) {
      *object = static_cast<IClassFactory*>(this);
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    SampleExtension* extension = new SampleExtension;
    const HRESULT result = extension->QueryInterface(iid, object);
    extension->Release();
    return result;
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

Factory g_factory;

}  // namespace

extern "C" HRESULT __stdcall DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (!object) return E_POINTER;
  *object = nullptr;
  if (!IsEqualCLSID(clsid, kSampleExtensionClass)) return CLASS_E_CLASSNOTAVAILABLE;
  return g_factory.QueryInterface(iid, object);
}

extern "C" HRESULT __stdcall DllCanUnloadNow() { return g_objects == 0 ? S_OK : S_FALSE; }
