#include <unistd.h>

#include "../terminal.h"

namespace tarn_tool {

bool stderr_is_terminal() { return isatty(STDERR_FILENO) != 0; }

HWND progress_window() {
    static char token;
    return reinterpret_cast<HWND>(&token);
}

}  // namespace tarn_tool
