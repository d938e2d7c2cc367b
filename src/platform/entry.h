// The loader's process attach and detach. The platform knows when they happen (the DLL entry on
// Windows, constructor and destructor elsewhere; start and exit of a program that holds the
// library's objects itself); the library says what they do by defining these two hooks.
#pragma once
#include "tarn_types.h"

namespace plat {

// Defined by the library: called once when the module holding it is loaded.
void on_process_attach(HINSTANCE self);
// Defined by the library: called once when that module is unloaded or the process ends.
void on_process_detach();

}  // namespace plat
