// The library's screen zoom and the dialog base units that follow from it.
#include "export.h"
#include "lib/frame_state.h"
#include "platform/gdi.h"
#include "settings/settings_state.h"

namespace {

using tarn::settings::state;

void read_zoom() {
    auto &s = state();
    if (s.zoomRead) return;
    s.zoomRead = true;
    const int32_t setting = koGetPublicLong("TARNGDI", "Zoom", 0);
    switch (setting) {
        case 1: s.zoomFactor = 0.8; break;
        case 2: s.zoomFactor = 1.125; break;
        case 3: s.zoomFactor = 1.3125; break;
        default: s.zoomFactor = 1.0; break;
    }
    if (s.zoomFactor > 4.0) s.zoomFactor = 4.0;
    s.zoomEnabled = setting >= 1 && setting <= 3;
}

// The fonts are made again at the new size when they are next needed.
void discard_global_fonts() {
    auto &f = tarn::frame();
    for (int i = 0; i < tarn::kFontSlots; ++i) {
        if (f.fontOwned[i] && f.fonts[i]) plat::delete_object(f.fonts[i]);
        f.fonts[i] = nullptr;
        f.fontOwned[i] = false;
    }
}

}  // namespace

TARN_EXPORT double TARN_CALL koGetScreenZoom(void) {
    read_zoom();
    return state().zoomEnabled ? state().zoomFactor : 1.0;
}

TARN_EXPORT BOOL TARN_CALL koEnableScreenZoom(BOOL enable) {
    read_zoom();
    const BOOL previous = state().zoomEnabled ? 1 : 0;
    state().zoomEnabled = enable != 0;
    discard_global_fonts();
    return previous;
}

TARN_EXPORT DWORD TARN_CALL koGetDialogBaseUnits(void) {
    const double factor = koGetScreenZoom();
    if (!state().zoomEnabled) return 0x100008;
    const DWORD width = DWORD(factor * 8 + 0.4);
    const DWORD height = DWORD(factor * 16 + 0.4);
    return (height << 16) | (width & 0xFFFF);
}

TARN_EXPORT int32_t TARN_CALL koUnitCX(void) { return int32_t(koGetDialogBaseUnits() & 0xFFFF); }
TARN_EXPORT int32_t TARN_CALL koUnitCY(void) { return int32_t(koGetDialogBaseUnits() >> 16); }

TARN_EXPORT int32_t TARN_CALL koPixelFromUnitsCX(int32_t units) {
    return int32_t(int64_t(units) * koUnitCX() / 4);
}
TARN_EXPORT int32_t TARN_CALL koPixelFromUnitsCY(int32_t units) {
    return int32_t(int64_t(units) * koUnitCY() / 8);
}
TARN_EXPORT int32_t TARN_CALL koPixelToUnitsCX(int32_t pixels) {
    return int32_t((int64_t(pixels) * 4 + 1) / koUnitCX());
}
TARN_EXPORT int32_t TARN_CALL koPixelToUnitsCY(int32_t pixels) {
    return int32_t((int64_t(pixels) * 8 + 1) / koUnitCY());
}
