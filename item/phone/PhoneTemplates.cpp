#include "phone/PhoneTemplates.h"

PhoneTemplates::PhoneTemplates() : words() {}
PhoneTemplates::~PhoneTemplates() {}

BOOL PhoneTemplates::Load() { return TRUE; }
