#include "storage/HideSim.h"

int g_hideSim = 0;
