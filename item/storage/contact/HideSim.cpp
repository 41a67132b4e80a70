#include "storage/contact/HideSim.h"

int g_hideSim = 0;
