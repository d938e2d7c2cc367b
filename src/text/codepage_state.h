// The process's code-page settings: which pages serve as "ANSI" and "OEM", and whether the
// conversions go through them at all or through the built-in tables.
#pragma once
#include <cstdint>

namespace tarn {

struct CodePageState {
    uint32_t oemCodePage = 858;
    uint32_t ansiCodePage = 1252;
    bool fixedMode = true;        // built-in tables and byte widening instead of the code pages
    bool settingsPending = true;  // WIN.INI not read yet
};

// The settings, read from WIN.INI on first use and kept for the life of the process.
// Unguarded, like the rest of the process-wide text state: meant for the UI thread.
CodePageState &codepages();

}  // namespace tarn
