// The shell's context menu extensions for contacts. Other programs register extensions with the shell
// for the context "Contacts" and the class "Main_ContextMenu"; the shell's library loads them into a
// popup menu and runs the command the user picks. This object is also the data object through which
// the extensions read the selected contacts, in the clipboard format "ItemRefArray".
#pragma once
#include <windows.h>
#include <objidl.h>
#include <windbase.h>

#include "foundation/Array.h"

// One item of the block that the data object hands out: the kind of item and the item's record id,
// carried in a pointer-sized slot.
struct ItemRef {
  const GUID* type;
  void* ref;
};

// The block: the number of items, then the items.
struct ItemRefArray {
  int count;
  ItemRef refs[1];
};

// The kind of item that stands for a contact, {18103FDF-CAEC-42EB-90E7-1C76D6E60D24}.
extern const GUID kContactItemType;

// The name of the clipboard format of the block.
extern const wchar_t kItemRefArrayFormat[];

// The size of a block of `count` items.
inline SIZE_T ItemRefArraySize(int count) {
  return static_cast<SIZE_T>(offsetof(ItemRefArray, refs)) + static_cast<SIZE_T>(count) * sizeof(ItemRef);
}

class ContextMenuExtensions : public IDataObject {
 public:
  // How far the shell's library was reached.
  enum State { NotTried = 0, Failed = -1, Ready = 1 };

  typedef BOOL (*LoadProc)(IUnknown* owner, LPCWSTR context, LPCWSTR menuClass, HMENU menu, UINT first,
                           UINT last, HANDLE* extensions);
  typedef BOOL (*FreeProc)(HANDLE extensions);
  typedef BOOL (*InvokeProc)(HWND owner, UINT command, HANDLE extensions);

  ContextMenuExtensions();
  virtual ~ContextMenuExtensions();

  // Lets the extensions add their commands for the contacts `ids` to `popup`, numbered from `first`
  // to `last`; extensions loaded before are freed first. True when the shell gave a handle and the
  // popup gained items.
  virtual BOOL Load(HMENU popup, UINT first, UINT last, const Array<CEOID>& ids);
  // Runs command `command` of the last Load for the contacts `ids`; false without loaded extensions
  // or when the shell refused.
  virtual BOOL Invoke(UINT command, const Array<CEOID>& ids);
  // Lets go of the loaded extensions.
  virtual void Free();

  State GetState() const { return state; }
  HANDLE GetHandle() const { return handle; }
  // The clipboard format of "ItemRefArray", registered at the first use; 0 before.
  UINT GetFormat() const { return format; }
  // Takes the selection that GetData hands out.
  void SetSelection(const Array<CEOID>& ids) { selection = ids; }

  // IUnknown. The object lives as long as its owner: the count is kept, but nothing is deleted.
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;

  // IDataObject.
  STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHODIMP GetDataHere(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHODIMP QueryGetData(FORMATETC* format) override;
  STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* in, FORMATETC* out) override;
  STDMETHODIMP SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release) override;
  STDMETHODIMP EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override;
  STDMETHODIMP DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* connection) override;
  STDMETHODIMP DUnadvise(DWORD connection) override;
  STDMETHODIMP EnumDAdvise(IEnumSTATDATA** advises) override;

 protected:
  // Finds the shell's three calls, once; true when all are there.
  virtual BOOL Bind();

 private:
  ContextMenuExtensions(const ContextMenuExtensions&) = delete;
  ContextMenuExtensions& operator=(const ContextMenuExtensions&) = delete;

  HANDLE handle;
  LoadProc loadExtensions;
  FreeProc freeExtensions;
  InvokeProc invokeCommand;
  State state;
  LONG references;
  UINT format;
  Array<CEOID> selection;
  // Whether Load initialised COM on this thread, which Free undoes.
  BOOL comStarted;
};
