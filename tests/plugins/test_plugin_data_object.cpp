// The data object through which the shell's extensions read the selected contacts: its interfaces, its
// one format, the block of item references GetData hands out, and the answers to all else.
#include <doctest/doctest.h>
#include <windows.h>
#include <objidl.h>

#include <string>
#include <vector>

#include "ArrayVectors.h"
#include "plugins/ContextMenuExtensions.h"

namespace {

FORMATETC Format(UINT format, DWORD aspect = DVASPECT_CONTENT, DWORD tymed = TYMED_HGLOBAL) {
  FORMATETC asked = {static_cast<CLIPFORMAT>(format), nullptr, aspect, -1, tymed};
  return asked;
}

UINT Ours() { return RegisterClipboardFormatW(L"ItemRefArray"); }

}  // namespace

TEST_CASE("the data object answers IUnknown and IDataObject and nothing else") {
  ContextMenuExtensions object;
  void* answer = nullptr;
  CHECK(object.QueryInterface(IID_IUnknown, &answer) == S_OK);
  CHECK(answer == static_cast<IDataObject*>(&object));
  answer = nullptr;
  CHECK(object.QueryInterface(IID_IDataObject, &answer) == S_OK);
  CHECK(answer == static_cast<IDataObject*>(&object));
  answer = &object;
  CHECK(object.QueryInterface(IID_IEnumFORMATETC, &answer) == static_cast<HRESULT>(0x80004002));
  CHECK(answer == nullptr);
  CHECK(object.QueryInterface(IID_IClassFactory, &answer) == static_cast<HRESULT>(0x80004002));
  CHECK(object.QueryInterface(IID_IDataObject, nullptr) == static_cast<HRESULT>(0x80004002));
}

TEST_CASE("the reference count starts at 1 and follows AddRef and Release") {
  ContextMenuExtensions object;
  CHECK(object.AddRef() == 2);
  void* answer = nullptr;
  object.QueryInterface(IID_IDataObject, &answer);
  CHECK(object.Release() == 2);
  CHECK(object.Release() == 1);
}

TEST_CASE("its format is the registered \"ItemRefArray\"") {
  ContextMenuExtensions object;
  CHECK(object.GetFormat() == Ours());
  CHECK(object.GetFormat() != 0);
}

TEST_CASE("QueryGetData gives 0 only for the format with content aspect and global memory") {
  ContextMenuExtensions object;
  FORMATETC asked = Format(Ours());
  CHECK(object.QueryGetData(&asked) == S_OK);
  asked = Format(Ours(), DVASPECT_THUMBNAIL);
  CHECK(object.QueryGetData(&asked) == static_cast<HRESULT>(0x80040064));
  asked = Format(Ours(), DVASPECT_CONTENT, TYMED_ISTREAM);
  CHECK(object.QueryGetData(&asked) == static_cast<HRESULT>(0x80040064));
  asked = Format(CF_UNICODETEXT);
  CHECK(object.QueryGetData(&asked) == static_cast<HRESULT>(0x80040064));
  CHECK(object.QueryGetData(nullptr) == static_cast<HRESULT>(0x80040064));
}

TEST_CASE("GetData's refusals come in their order") {
  ContextMenuExtensions object;
  FORMATETC asked = Format(Ours());
  STGMEDIUM medium = {};
  // No selection comes first of all.
  CHECK(object.GetData(&asked, &medium) == static_cast<HRESULT>(0x80004001));
  CHECK(object.GetData(nullptr, nullptr) == static_cast<HRESULT>(0x80004001));
  object.SetSelection(ArrayOf(std::vector<CEOID>{5}));
  CHECK(object.GetData(nullptr, &medium) == static_cast<HRESULT>(0x80070057));
  CHECK(object.GetData(&asked, nullptr) == static_cast<HRESULT>(0x80070057));
  // A medium other than global memory, before the format is looked at.
  FORMATETC stream = Format(CF_UNICODETEXT, DVASPECT_CONTENT, TYMED_ISTREAM);
  CHECK(object.GetData(&stream, &medium) == static_cast<HRESULT>(0x8004006B));
  FORMATETC text = Format(CF_UNICODETEXT);
  CHECK(object.GetData(&text, &medium) == static_cast<HRESULT>(0x80040064));
  CHECK(medium.hGlobal == nullptr);
}

TEST_CASE("GetData hands out a LocalAlloc block: the count, then a contact reference for each id") {
  ContextMenuExtensions object;
  object.SetSelection(ArrayOf(std::vector<CEOID>{12, 34, 0x7FFF0001}));
  FORMATETC asked = Format(Ours());
  STGMEDIUM medium = {};
  REQUIRE(object.GetData(&asked, &medium) == S_OK);
  CHECK(medium.tymed == TYMED_HGLOBAL);
  CHECK(medium.pUnkForRelease == nullptr);
  REQUIRE(medium.hGlobal != nullptr);
  const ItemRefArray* block = reinterpret_cast<const ItemRefArray*>(medium.hGlobal);
  // One count word and one pair of pointer-sized words per contact (4 + 8n bytes on a 32-bit device).
  CHECK(LocalSize(medium.hGlobal) == offsetof(ItemRefArray, refs) + 3 * 2 * sizeof(void*));
  CHECK(ItemRefArraySize(3) == offsetof(ItemRefArray, refs) + 3 * 2 * sizeof(void*));
  REQUIRE(block->count == 3);
  const GUID contact = {0x18103FDF, 0xCAEC, 0x42EB, {0x90, 0xE7, 0x1C, 0x76, 0xD6, 0xE6, 0x0D, 0x24}};
  std::vector<CEOID> ids;
  for (int i = 0; i < 3; ++i) {
    REQUIRE(block->refs[i].type != nullptr);
    CHECK(IsEqualGUID(*block->refs[i].type, contact));
    // The same constant for every item.
    CHECK(block->refs[i].type == &kContactItemType);
    ids.push_back(static_cast<CEOID>(reinterpret_cast<UINT_PTR>(block->refs[i].ref)));
  }
  CHECK(ids == std::vector<CEOID>{12, 34, 0x7FFF0001});
  CHECK(LocalFree(medium.hGlobal) == nullptr);
}

TEST_CASE("the other operations are not implemented, and advising isn't supported") {
  ContextMenuExtensions object;
  object.SetSelection(ArrayOf(std::vector<CEOID>{5}));
  FORMATETC asked = Format(Ours());
  FORMATETC out = {};
  STGMEDIUM medium = {};
  IEnumFORMATETC* formats = nullptr;
  IEnumSTATDATA* advises = nullptr;
  DWORD connection = 0;
  CHECK(object.GetDataHere(&asked, &medium) == static_cast<HRESULT>(0x80004001));
  CHECK(object.GetCanonicalFormatEtc(&asked, &out) == static_cast<HRESULT>(0x80004001));
  CHECK(object.SetData(&asked, &medium, FALSE) == static_cast<HRESULT>(0x80004001));
  CHECK(object.EnumFormatEtc(DATADIR_GET, &formats) == static_cast<HRESULT>(0x80004001));
  CHECK(object.DAdvise(&asked, 0, nullptr, &connection) == static_cast<HRESULT>(0x80040003));
  CHECK(object.DUnadvise(1) == static_cast<HRESULT>(0x80040003));
  CHECK(object.EnumDAdvise(&advises) == static_cast<HRESULT>(0x80040003));
}

TEST_CASE("without extensions loaded, Invoke refuses and Free does nothing") {
  ContextMenuExtensions object;
  CHECK(object.GetState() == ContextMenuExtensions::NotTried);
  CHECK_FALSE(object.Invoke(41222, ArrayOf(std::vector<CEOID>{5})));
  object.Free();
  CHECK(object.GetHandle() == nullptr);
}
