#include "lib/ui.h"

#include <cstring>
#include <mutex>

#include "export.h"
#include "platform/dialog.h"

namespace tarn::ui {
namespace {

struct ProviderState {
    std::mutex lock;
    bool installed = false;
    TarnUiProvider provider = {};
};

ProviderState &state() {
    static ProviderState *s = new ProviderState;  // outlives every static destructor
    return *s;
}

}  // namespace

const TarnUiProvider *provider() {
    ProviderState &s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return s.installed ? &s.provider : nullptr;
}

int32_t message_box(HWND parent, const char *text, const char *caption, uint32_t type,
                    int32_t unattended) {
    if (const TarnUiProvider *p = provider(); p && p->messageBox)
        return p->messageBox(p->context, text ? text : "", caption ? caption : "", type);
    const int32_t answer = plat::message_box(parent, text, caption, type);
    return answer < 0 ? unattended : answer;
}

void progress(const char *text, int32_t percent) {
    if (const TarnUiProvider *p = provider(); p && p->progress)
        p->progress(p->context, text ? text : "", percent);
}

bool dialogs_available() { return provider() != nullptr || plat::system_dialogs(); }

bool preview(const char *script, HWND parent) {
    const TarnUiProvider *p = provider();
    if (!p || !p->preview || !script) return false;
    p->preview(p->context, script, parent);
    return true;
}

}  // namespace tarn::ui

TARN_API void TARN_CALL tarnSetUiProvider(const TarnUiProvider *provider) {
    auto &s = tarn::ui::state();
    std::lock_guard<std::mutex> g(s.lock);
    s.installed = provider != nullptr;
    s.provider = TarnUiProvider{};
    if (!provider) return;
    // A provider built against an older, shorter structure leaves the newer members empty.
    const size_t n =
        provider->size < sizeof(TarnUiProvider) ? provider->size : sizeof(TarnUiProvider);
    std::memcpy(&s.provider, provider, n);
    s.provider.size = sizeof(TarnUiProvider);
}
