#include "xml/xml_progress.h"

#include <cstdio>

#include "export.h"
#include "lib/ui.h"
#include "platform/window.h"

namespace {

// Process-wide like the rest of the family's state; set by the application's UI thread.
struct ProgressState {
    HWND window = nullptr;
};

ProgressState gProgress;

}  // namespace

namespace tarn::xml {

bool progress_wanted() { return gProgress.window != nullptr; }

void report_progress(int64_t position, int64_t total) {
    if (!gProgress.window) return;
    // An empty input has nothing left to do: shown as done rather than as a division by zero.
    const double percent = total > 0 ? double(position) * 100.0 / double(total) : 100.0;
    char text[96];
    std::snprintf(text, sizeof text, "%d von %d [%5.1f %%]", int(position), int(total), percent);
    plat::set_window_text(gProgress.window, text);
    tarn::ui::progress(text, int32_t(percent));
    plat::yield_to_others();
}

}  // namespace tarn::xml

TARN_API HWND TARN_CALL koXML_SetStatusWindow(HWND window) {
    gProgress.window = window;
    return window;
}
