// Resource ids of the texts of the add-ins' menu.
#pragma once

// The label of the popup that holds the add-ins' and the shell extensions' commands.
#define IDS_OUTLOOK_PLUGIN 41208
