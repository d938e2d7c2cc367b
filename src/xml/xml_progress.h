// Progress of the readers: shown in the status window set with koXML_SetStatusWindow, and passed
// to the application's UI provider, only while such a window is set.
#pragma once
#include <cstdint>

namespace tarn::xml {

// True while a status window is set: callers skip the work of reporting otherwise.
bool progress_wanted();

// "%d von %d [%5.1f %%]" to the window and the provider, then lets other applications run.
void report_progress(int64_t position, int64_t total);

}  // namespace tarn::xml
