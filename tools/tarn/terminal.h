// What the progress bars of tarn need from the system.
#pragma once
#include "tarngdi32.h"

namespace tarn_tool {

// True when standard error goes to a terminal.
bool stderr_is_terminal();

// A window for the library's status texts: a hidden one on Windows; elsewhere, where there are
// no windows, a handle the library only passes on to the progress callback.
HWND progress_window();

}  // namespace tarn_tool
