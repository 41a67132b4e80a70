// ContextMenuExtensions as the data object of the extensions: the selected contacts as one block of
// item references in the format "ItemRefArray".
#include "plugins/ContextMenuExtensions.h"

const GUID kContactItemType = {0x18103FDF, 0xCAEC, 0x42EB, {0x90, 0xE7, 0x1C, 0x76, 0xD6, 0xE6, 0x0D, 0x24}};
const wchar_t kItemRefArrayFormat[] = L"ItemRefArray";

namespace {

// The answer to a medium other than global memory.
const HRESULT kMediumRefused = static_cast<HRESULT>(0x8004006B);

}  // namespace

STDMETHODIMP ContextMenuExtensions::QueryInterface(REFIID iid, void** object) {
  if (!object) return E_NOINTERFACE;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDataObject)) {
    *object = static_cast<IDataObject*>(this);
    AddRef();
    return S_OK;
  }
  *object = nullptr;
  return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) ContextMenuExtensions::AddRef() {
  return static_cast<ULONG>(InterlockedIncrement(&references));
}

STDMETHODIMP_(ULONG) ContextMenuExtensions::Release() {
  return static_cast<ULONG>(InterlockedDecrement(&references));
}

STDMETHODIMP ContextMenuExtensions::QueryGetData(FORMATETC* asked) {
  if (asked && format != 0 && asked->cfFormat == format && asked->dwAspect == DVASPECT_CONTENT &&
      asked->tymed == TYMED_HGLOBAL)
    return S_OK;
  return DV_E_FORMATETC;
}

STDMETHODIMP ContextMenuExtensions::GetData(FORMATETC* asked, STGMEDIUM* medium) {
  if (selection.GetSize() == 0) return E_NOTIMPL;
  if (!asked || !medium) return E_INVALIDARG;
  if (asked->tymed != TYMED_HGLOBAL) return kMediumRefused;
  if (format == 0 || asked->cfFormat != format) return DV_E_FORMATETC;

  const int count = selection.GetSize();
  ItemRefArray* block =
      static_cast<ItemRefArray*>(LocalAlloc(LMEM_FIXED | LMEM_ZEROINIT, ItemRefArraySize(count)));
  if (!block) return E_OUTOFMEMORY;
  block->count = count;
  for (int i = 0; i < count; ++i) {
    block->refs[i].type = &kContactItemType;
    block->refs[i].ref = reinterpret_cast<void*>(static_cast<UINT_PTR>(selection[i]));
  }
  medium->tymed = TYMED_HGLOBAL;
  medium->hGlobal = reinterpret_cast<HGLOBAL>(block);
  medium->pUnkForRelease = nullptr;
  return S_OK;
}

STDMETHODIMP ContextMenuExtensions::GetDataHere(FORMATETC*, STGMEDIUM*) { return E_NOTIMPL; }

STDMETHODIMP ContextMenuExtensions::GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) { return E_NOTIMPL; }

STDMETHODIMP ContextMenuExtensions::SetData(FORMATETC*, STGMEDIUM*, BOOL) { return E_NOTIMPL; }

STDMETHODIMP ContextMenuExtensions::EnumFormatEtc(DWORD, IEnumFORMATETC**) { return E_NOTIMPL; }

STDMETHODIMP ContextMenuExtensions::DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) {
  return OLE_E_ADVISENOTSUPPORTED;
}

STDMETHODIMP ContextMenuExtensions::DUnadvise(DWORD) { return OLE_E_ADVISENOTSUPPORTED; }

STDMETHODIMP ContextMenuExtensions::EnumDAdvise(IEnumSTATDATA**) { return OLE_E_ADVISENOTSUPPORTED; }
