// Whether the device is a phone: every decision on phone commands (the talk and End keys, SMS, dialling)
// rests on this one test.
#pragma once
#include <windows.h>

// True when the SMS engine "\windows\sms.dll" is there.
BOOL IsPhoneDevice();
