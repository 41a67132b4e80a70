#include "phone/PhoneDevice.h"

BOOL IsPhoneDevice() { return GetFileAttributesW(L"\\windows\\sms.dll") != INVALID_FILE_ATTRIBUTES; }
