#include <windows.h>
#include <io.h>

#include <cstdio>

#include "../terminal.h"

namespace tarn_tool {

bool stderr_is_terminal() { return _isatty(_fileno(stderr)) != 0; }

HWND progress_window() {
    static HWND window = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                         GetModuleHandleA(nullptr), nullptr);
    return window;
}

}  // namespace tarn_tool
