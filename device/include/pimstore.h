// pimstore.h: the platform's contacts object model, the COM server in pimstore.dll that the device's
// contacts, calendar and tasks programs are built on. The identifiers, the enumeration values and the
// order of every interface's methods are the platform's, so that a table of virtual operations here lays
// out as the platform's does. Interfaces that only appear as argument types are declared, not defined.
#pragma once
#ifndef PAGEMARK_PIMSTORE_H
#define PAGEMARK_PIMSTORE_H

#include <windows.h>
#include <oaidl.h>
#include <objbase.h>

#include "windbase.h"

// ---- Class and interface identifiers -------------------------------------------------------------------

inline const CLSID CLSID_Application = {
    0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_IPOutlookApp = {
    0x05058F22, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_IFolder = {0x05058F20, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_IPOutlookItemCollection = {
    0xF06748C0, 0x21A5, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_IContact = {
    0x7F804E40, 0x2010, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_IAppointment = {
    0x5B43F691, 0x202C, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_ITask = {0x37C78CE0, 0x202C, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_ICity = {0xC83C5E90, 0x3D1B, 0x11D2, {0x8F, 0x1B, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_IRecipients = {
    0x76065AE0, 0x2347, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_IRecurrencePattern = {
    0x38F47300, 0x270F, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline const IID IID_ITimeZone = {
    0x78B27290, 0x5256, 0x11D2, {0x8F, 0x1B, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

// The item type that a shell extension's data object names for each contact it carries.
inline const GUID ITI_ContactItemRef = {
    0x18103FDF, 0xCAEC, 0x42EB, {0x90, 0xE7, 0x1C, 0x76, 0xD6, 0xE6, 0x0D, 0x24}};

// ---- Enumerations --------------------------------------------------------------------------------------

enum OlDefaultFolders {
  olFolderCalendar = 9,
  olFolderContacts = 10,
  olFolderTasks = 13,
  olFolderCities = 101,
  olFolderInfrared = 102,
};

enum OlItemType {
  olAppointmentItem = 1,
  olContactItem = 2,
  olTaskItem = 3,
  olCityItem = 102,
};

enum OlBusyStatus { olFree = 0, olTentative = 1, olBusy = 2, olOutOfOffice = 3 };

enum OlSensitivity { olNormal = 0, olPersonal = 1, olPrivate = 2, olConfidential = 3 };

// ---- Interfaces ----------------------------------------------------------------------------------------

struct IPOutlookApp;
struct ICity;
struct ITask;
struct ITimeZone;
struct IRecipients;
struct IRecurrencePattern;

struct IPOutlookItemCollection : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE Add(IDispatch** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Count(int* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE Find(BSTR restriction, IDispatch** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE FindNext(IDispatch** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE Item(int index, IDispatch** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE Remove(int index) = 0;
  virtual HRESULT STDMETHODCALLTYPE Restrict(BSTR restriction, IPOutlookItemCollection** items) = 0;
  virtual HRESULT STDMETHODCALLTYPE Sort(BSTR property, VARIANT_BOOL descending) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IncludeRecurrences(VARIANT_BOOL* include) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_IncludeRecurrences(VARIANT_BOOL include) = 0;
  virtual HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** app) = 0;
};

struct IContact : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_Birthday(DATE* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Anniversary(DATE* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusinessFaxNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CompanyName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Department(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Email1Address(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_MobileTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OfficeLocation(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_PagerNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusinessTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_JobTitle(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Email2Address(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Spouse(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Email3Address(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Home2TelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeFaxNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CarTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_AssistantName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_AssistantTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Children(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Categories(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_WebPage(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Business2TelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Title(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_FirstName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_MiddleName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_LastName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Suffix(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeAddressStreet(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeAddressCity(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeAddressState(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeAddressPostalCode(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeAddressCountry(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OtherAddressStreet(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OtherAddressCity(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OtherAddressState(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OtherAddressPostalCode(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OtherAddressCountry(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusinessAddressStreet(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusinessAddressCity(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusinessAddressState(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusinessAddressPostalCode(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusinessAddressCountry(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_RadioTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_FileAs(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Body(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_YomiCompanyName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_YomiFirstName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_YomiLastName(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Birthday(DATE value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Anniversary(DATE value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusinessFaxNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CompanyName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Department(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Email1Address(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_MobileTelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_OfficeLocation(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_PagerNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusinessTelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_JobTitle(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeTelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Email2Address(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Spouse(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Email3Address(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Home2TelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeFaxNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CarTelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_AssistantName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_AssistantTelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Children(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Categories(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_WebPage(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Business2TelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Title(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_FirstName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_MiddleName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_LastName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Suffix(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeAddressStreet(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeAddressCity(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeAddressState(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeAddressPostalCode(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeAddressCountry(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_OtherAddressStreet(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_OtherAddressCity(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_OtherAddressState(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_OtherAddressPostalCode(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_OtherAddressCountry(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusinessAddressStreet(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusinessAddressCity(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusinessAddressState(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusinessAddressPostalCode(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusinessAddressCountry(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_RadioTelephoneNumber(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_FileAs(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Body(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_YomiCompanyName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_YomiFirstName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_YomiLastName(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE Save() = 0;
  virtual HRESULT STDMETHODCALLTYPE Delete() = 0;
  virtual HRESULT STDMETHODCALLTYPE Copy(IContact** copy) = 0;
  virtual HRESULT STDMETHODCALLTYPE Display() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Oid(long* oid) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** app) = 0;
};

struct IAppointment : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE ClearRecurrencePattern() = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRecurrencePattern(IRecurrencePattern** pattern) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsRecurring(VARIANT_BOOL* recurring) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Subject(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Location(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Categories(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Start(DATE* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Duration(long* minutes) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_End(DATE* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_AllDayEvent(VARIANT_BOOL* allDay) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BusyStatus(long* status) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Sensitivity(long* sensitivity) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Body(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Recipients(IRecipients** recipients) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_MeetingStatus(long* status) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ReminderSet(VARIANT_BOOL* set) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ReminderSoundFile(BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ReminderMinutesBeforeStart(long* minutes) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ReminderOptions(long* options) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Subject(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Location(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Categories(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Start(DATE value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Duration(long minutes) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_End(DATE value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_AllDayEvent(VARIANT_BOOL allDay) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BusyStatus(long status) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Sensitivity(long sensitivity) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Body(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ReminderSet(VARIANT_BOOL set) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ReminderSoundFile(BSTR value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ReminderMinutesBeforeStart(long minutes) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ReminderOptions(long options) = 0;
  virtual HRESULT STDMETHODCALLTYPE Save() = 0;
  virtual HRESULT STDMETHODCALLTYPE Send() = 0;
  virtual HRESULT STDMETHODCALLTYPE Delete() = 0;
  virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
  virtual HRESULT STDMETHODCALLTYPE Copy(IAppointment** copy) = 0;
  virtual HRESULT STDMETHODCALLTYPE Display() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Oid(long* oid) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** app) = 0;
};

struct IFolder : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE get_Items(IPOutlookItemCollection** items) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DefaultItemType(int* itemType) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** app) = 0;
  virtual HRESULT STDMETHODCALLTYPE AddItemToInfraredFolder(int itemType, IDispatch* item) = 0;
  virtual HRESULT STDMETHODCALLTYPE SendToInfrared() = 0;
  virtual HRESULT STDMETHODCALLTYPE ReceiveFromInfrared(IPOutlookItemCollection** items) = 0;
};

struct IPOutlookApp : public IDispatch {
  // The window handle travels as a 32-bit number, as the platform declares it.
  virtual HRESULT STDMETHODCALLTYPE Logon(long window) = 0;
  virtual HRESULT STDMETHODCALLTYPE Logoff() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Version(BSTR* version) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDefaultFolder(int folder, IFolder** result) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateItem(int itemType, IDispatch** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetItemFromOid(long oid, IDispatch** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_HomeCity(ICity** city) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_HomeCity(ICity* city) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_VisitingCity(ICity** city) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_VisitingCity(ICity* city) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CurrentCityIndex(long* city) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CurrentCityIndex(long city) = 0;
  virtual HRESULT STDMETHODCALLTYPE ReceiveFromInfrared() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_OutlookCompatible(VARIANT_BOOL* compatible) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTimeZoneFromIndex(int index, ITimeZone** zone) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTimeZoneInformationFromIndex(int index,
                                                                    TIME_ZONE_INFORMATION* info) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Application(IPOutlookApp** app) = 0;
  virtual HRESULT STDMETHODCALLTYPE SysFreeString(BSTR text) = 0;
  virtual HRESULT STDMETHODCALLTYPE VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) = 0;
  virtual HRESULT STDMETHODCALLTYPE SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) = 0;
};

#endif  // PAGEMARK_PIMSTORE_H
