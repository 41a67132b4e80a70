// A contact of the device's "Contacts Database", as the object model hands it out by record id. The
// stand-in carries its record id; its properties are the item's to read straight from the database.
#include <new>

#include "PimItem.h"

namespace {

// Every property of a contact, with the type of its value, in the order of the interface.
#define CONTACT_PROPERTIES(X)        \
  X(DATE, Birthday)                  \
  X(DATE, Anniversary)               \
  X(BSTR, BusinessFaxNumber)         \
  X(BSTR, CompanyName)               \
  X(BSTR, Department)                \
  X(BSTR, Email1Address)             \
  X(BSTR, MobileTelephoneNumber)     \
  X(BSTR, OfficeLocation)            \
  X(BSTR, PagerNumber)               \
  X(BSTR, BusinessTelephoneNumber)   \
  X(BSTR, JobTitle)                  \
  X(BSTR, HomeTelephoneNumber)       \
  X(BSTR, Email2Address)             \
  X(BSTR, Spouse)                    \
  X(BSTR, Email3Address)             \
  X(BSTR, Home2TelephoneNumber)      \
  X(BSTR, HomeFaxNumber)             \
  X(BSTR, CarTelephoneNumber)        \
  X(BSTR, AssistantName)             \
  X(BSTR, AssistantTelephoneNumber)  \
  X(BSTR, Children)                  \
  X(BSTR, Categories)                \
  X(BSTR, WebPage)                   \
  X(BSTR, Business2TelephoneNumber)  \
  X(BSTR, Title)                     \
  X(BSTR, FirstName)                 \
  X(BSTR, MiddleName)                \
  X(BSTR, LastName)                  \
  X(BSTR, Suffix)                    \
  X(BSTR, HomeAddressStreet)         \
  X(BSTR, HomeAddressCity)           \
  X(BSTR, HomeAddressState)          \
  X(BSTR, HomeAddressPostalCode)     \
  X(BSTR, HomeAddressCountry)        \
  X(BSTR, OtherAddressStreet)        \
  X(BSTR, OtherAddressCity)          \
  X(BSTR, OtherAddressState)         \
  X(BSTR, OtherAddressPostalCode)    \
  X(BSTR, OtherAddressCountry)       \
  X(BSTR, BusinessAddressStreet)     \
  X(BSTR, BusinessAddressCity)       \
  X(BSTR, BusinessAddressState)      \
  X(BSTR, BusinessAddressPostalCode) \
  X(BSTR, BusinessAddressCountry)    \
  X(BSTR, RadioTelephoneNumber)      \
  X(BSTR, FileAs)                    \
  X(BSTR, Body)                      \
  X(BSTR, YomiCompanyName)           \
  X(BSTR, YomiFirstName)             \
  X(BSTR, YomiLastName)

#define NOT_OFFERED(type, name)                                              \
  HRESULT STDMETHODCALLTYPE get_##name(type*) override { return E_NOTIMPL; } \
  HRESULT STDMETHODCALLTYPE put_##name(type) override { return E_NOTIMPL; }

class ContactItem : public PimItem<IContact> {
 public:
  ContactItem(IPOutlookApp* app, CEOID oid) : PimItem<IContact>(IID_IContact, app), oid(oid) {}

  CONTACT_PROPERTIES(NOT_OFFERED)

  HRESULT STDMETHODCALLTYPE Save() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Copy(IContact**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Display() override {
    DeviceJournalWrite(PIM_JOURNAL, L"contact display %lu", static_cast<unsigned long>(oid));
    return S_OK;
  }

 protected:
  CEOID ItemOid() const override { return oid; }

 private:
  CEOID oid;
};

// True when the "Contacts Database" holds a record `oid`.
bool ContactExists(CEOID oid) {
  if (oid == 0) return false;
  CEOID database = 0;
  HANDLE handle = CeOpenDatabase(&database, const_cast<LPWSTR>(L"Contacts Database"), 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE || handle == nullptr) return false;
  DWORD index = 0;
  bool found = CeSeekDatabase(handle, CEDB_SEEK_CEOID, oid, &index) == oid;
  CloseHandle(handle);
  return found;
}

}  // namespace

IContact* OpenContact(IPOutlookApp* app, CEOID oid) {
  if (!ContactExists(oid)) return nullptr;
  return new (std::nothrow) ContactItem(app, oid);
}
