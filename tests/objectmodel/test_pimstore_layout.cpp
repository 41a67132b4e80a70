// The object model's interfaces lay out as the platform's: each operation the item or the device calls
// sits in the slot of the platform's table of operations (counted from 0, the three of IUnknown and the
// four of IDispatch first), so that a table built elsewhere from the platform's definitions would match.
#include <doctest/doctest.h>
#include <pimstore.h>
#include <stdint.h>
#include <string.h>

namespace {

// The slot of a virtual operation, read from its member pointer: this compiler stores one more than
// the operation's byte offset in the table.
template <class Interface, class Method>
int SlotOf(Method Interface::*method) {
  struct Raw {
    intptr_t pointer;
    intptr_t adjustment;
  } raw;
  static_assert(sizeof(method) == sizeof(raw), "member pointer layout");
  memcpy(&raw, &method, sizeof raw);
  if ((raw.pointer & 1) == 0) return -1;
  return static_cast<int>((raw.pointer - 1) / static_cast<intptr_t>(sizeof(void*)));
}

}  // namespace

TEST_CASE("the application object's operations stand in the platform's slots") {
  CHECK(SlotOf(&IPOutlookApp::Logon) == 7);
  CHECK(SlotOf(&IPOutlookApp::Logoff) == 8);
  CHECK(SlotOf(&IPOutlookApp::GetDefaultFolder) == 10);
  CHECK(SlotOf(&IPOutlookApp::CreateItem) == 11);
  CHECK(SlotOf(&IPOutlookApp::GetItemFromOid) == 12);
  CHECK(SlotOf(&IPOutlookApp::ReceiveFromInfrared) == 19);
  CHECK(SlotOf(&IPOutlookApp::get_Application) == 23);
  CHECK(SlotOf(&IPOutlookApp::SystemTimeToVariantTime) == 26);
}

TEST_CASE("the folder's, the item collection's and the contact's operations stand in the platform's slots") {
  CHECK(SlotOf(&IFolder::get_Items) == 7);
  CHECK(SlotOf(&IFolder::AddItemToInfraredFolder) == 10);
  CHECK(SlotOf(&IFolder::SendToInfrared) == 11);
  CHECK(SlotOf(&IFolder::ReceiveFromInfrared) == 12);
  CHECK(SlotOf(&IPOutlookItemCollection::Item) == 11);
  CHECK(SlotOf(&IPOutlookItemCollection::get_Application) == 18);
  // Fifty properties read, then the same fifty written, then the operations.
  CHECK(SlotOf(&IContact::get_Birthday) == 7);
  CHECK(SlotOf(&IContact::get_YomiLastName) == 56);
  CHECK(SlotOf(&IContact::put_Birthday) == 57);
  CHECK(SlotOf(&IContact::put_YomiLastName) == 106);
  CHECK(SlotOf(&IContact::Save) == 107);
  CHECK(SlotOf(&IContact::Display) == 110);
  CHECK(SlotOf(&IContact::get_Oid) == 111);
  CHECK(SlotOf(&IContact::get_Application) == 114);
}

TEST_CASE("the appointment's operations stand in the platform's slots") {
  CHECK(SlotOf(&IAppointment::ClearRecurrencePattern) == 7);
  CHECK(SlotOf(&IAppointment::get_Subject) == 10);
  CHECK(SlotOf(&IAppointment::get_ReminderOptions) == 25);
  CHECK(SlotOf(&IAppointment::put_Subject) == 26);
  CHECK(SlotOf(&IAppointment::put_Start) == 29);
  CHECK(SlotOf(&IAppointment::put_Duration) == 30);
  CHECK(SlotOf(&IAppointment::put_Body) == 35);
  CHECK(SlotOf(&IAppointment::Save) == 40);
  CHECK(SlotOf(&IAppointment::Display) == 45);
  CHECK(SlotOf(&IAppointment::get_Application) == 49);
}

TEST_CASE("the identifiers are the platform's") {
  CHECK(CLSID_Application.Data1 == 0x05058F23);
  CHECK(IID_IPOutlookApp.Data1 == 0x05058F22);
  CHECK(IID_IFolder.Data1 == 0x05058F20);
  CHECK(IID_IAppointment.Data1 == 0x5B43F691);
  CHECK(IID_IContact.Data1 == 0x7F804E40);
  CHECK(olFolderInfrared == 102);
  CHECK(olAppointmentItem == 1);
  CHECK(olContactItem == 2);
}
