// Resource ids of the texts of the communication actions.
#pragma once

// The closing text of the tone dial countdown.
#define IDS_DIALING 41210
// The box shown when the browser can't be started.
#define IDS_NO_BROWSER 41212
