// The verbs of the tool that show numbers as the item does and run its actions on the device.
#pragma once

// pimtool format NUMBER ...
int FormatVerb(int argc, wchar_t** argv);
// pimtool call ID | sms ID | mail ID | web ID
int ActionVerb(int argc, wchar_t** argv);
