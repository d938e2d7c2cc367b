// The library's progress reports as a bar on standard error, for the commands that read or
// print long documents.
#pragma once
#include <cstdio>
#include <string>

#include "tarngdi32.h"
#include "terminal.h"

namespace tarn_tool {

constexpr int kBarWidth = 40;

// Draws the library's progress reports as a bar on standard error while it is a terminal.
class ProgressBar {
public:
    ProgressBar() {
        if (!stderr_is_terminal()) return;
        TarnUiProvider provider = {};
        provider.size = sizeof provider;
        provider.context = this;
        provider.progress = &ProgressBar::report;
        tarnSetUiProvider(&provider);
        koXML_SetStatusWindow(progress_window());
        active_ = true;
    }
    ~ProgressBar() {
        if (!active_) return;
        koXML_SetStatusWindow(nullptr);
        tarnSetUiProvider(nullptr);
        if (shown_ >= 0) {
            draw(100);
            std::fputc('\n', stderr);
        }
    }
    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;

private:
    static void TARN_CALL report(void *context, const char *, int32_t percent) {
        auto *bar = static_cast<ProgressBar *>(context);
        if (percent < 0 || percent > 100) percent = 0;
        // Reports come every kilobyte; the terminal only hears of a new percentage.
        if (percent != bar->shown_) bar->draw(percent);
    }

    void draw(int percent) {
        shown_ = percent;
        const int filled = percent * kBarWidth / 100;
        std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(size_t(filled), '#').c_str(),
                     std::string(size_t(kBarWidth - filled), '.').c_str(), percent);
        std::fflush(stderr);
    }

    bool active_ = false;
    int shown_ = -1;
};

}  // namespace tarn_tool
