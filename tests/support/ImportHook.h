// Replaces a function that a module imports from a library, by rewriting the module's import address
// table, so that a test can count calls the product makes to the platform (a beep, a sound) without
// the product knowing.
#pragma once
#include <windows.h>

namespace importhook {

// Points every import of `function` from `library` (case-insensitive name, e.g. "user32.dll") in
// `module` at `replacement`. Returns the address it replaced, or null when the module doesn't import it.
void* Replace(HMODULE module, const char* library, const char* function, void* replacement);

}  // namespace importhook
