// An appointment of the object model: subject, notes, start and duration kept on the object, written to
// the device's "Appointments Database" by Save and shown by the device's calendar program on Display.
#include <new>
#include <string>

#include "AppointmentRecord.h"
#include "PimItem.h"

namespace {

HRESULT CopyOut(const std::wstring& text, BSTR* value) {
  if (!value) return E_POINTER;
  *value = SysAllocString(text.c_str());
  return *value ? S_OK : E_OUTOFMEMORY;
}

class AppointmentItem : public PimItem<IAppointment> {
 public:
  explicit AppointmentItem(IPOutlookApp* app) : PimItem<IAppointment>(IID_IAppointment, app) {
    GetLocalTime(&record.start);
    record.durationMinutes = 60;
  }

  HRESULT STDMETHODCALLTYPE ClearRecurrencePattern() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetRecurrencePattern(IRecurrencePattern**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_IsRecurring(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Subject(BSTR* value) override { return CopyOut(record.subject, value); }
  HRESULT STDMETHODCALLTYPE get_Location(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Categories(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Start(DATE* value) override {
    if (!value) return E_POINTER;
    SYSTEMTIME start = record.start;
    return SystemTimeToVariantTime(&start, value) ? S_OK : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE get_Duration(long* minutes) override {
    if (!minutes) return E_POINTER;
    *minutes = record.durationMinutes;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_End(DATE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_AllDayEvent(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_BusyStatus(long*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Sensitivity(long*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Body(BSTR* value) override { return CopyOut(record.body, value); }
  HRESULT STDMETHODCALLTYPE get_Recipients(IRecipients**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MeetingStatus(long*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ReminderSet(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ReminderSoundFile(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ReminderMinutesBeforeStart(long*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ReminderOptions(long*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Subject(BSTR value) override {
    record.subject = value ? value : L"";
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_Location(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Categories(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Start(DATE value) override {
    SYSTEMTIME start;
    if (!VariantTimeToSystemTime(value, &start)) return E_INVALIDARG;
    record.start = start;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_Duration(long minutes) override {
    if (minutes < 0) return E_INVALIDARG;
    record.durationMinutes = minutes;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_End(DATE) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_AllDayEvent(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_BusyStatus(long) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Sensitivity(long) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Body(BSTR value) override {
    record.body = value ? value : L"";
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_ReminderSet(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_ReminderSoundFile(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_ReminderMinutesBeforeStart(long) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_ReminderOptions(long) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Save() override {
    if (!SaveAppointmentRecord(record)) return HRESULT_FROM_WIN32(GetLastError());
    DeviceJournalWrite(PIM_JOURNAL, L"appointment save %lu %ls", static_cast<unsigned long>(record.oid),
                       DescribeAppointment(record).c_str());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Send() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Delete() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Cancel() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Copy(IAppointment**) override { return E_NOTIMPL; }
  // Starts the device's calendar on this appointment and returns; the calendar comes to the front.
  HRESULT STDMETHODCALLTYPE Display() override {
    DeviceJournalWrite(PIM_JOURNAL, L"appointment display %lu", static_cast<unsigned long>(record.oid));
    std::wstring line = L"\"\\windows\\calendar.exe\" -appointment " + std::to_wstring(record.oid);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(L"\\windows\\calendar.exe", &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
      return HRESULT_FROM_WIN32(GetLastError());
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return S_OK;
  }

 protected:
  CEOID ItemOid() const override { return record.oid; }

 private:
  AppointmentRecord record;
};

}  // namespace

IAppointment* NewAppointment(IPOutlookApp* app) { return new (std::nothrow) AppointmentItem(app); }
