// The library's screen zoom and the dialog base units that follow from it.
#include "export.h"
#include "frame/frame_state.h"

namespace {

using tarn::frame;

void read_zoom() {
    auto &s = frame();
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

}  // namespace

TARN_API double TARN_CALL koGetScreenZoom(void) {
    read_zoom();
    return frame().zoomEnabled ? frame().zoomFactor : 1.0;
}

TARN_API BOOL TARN_CALL koEnableScreenZoom(BOOL enable) {
    read_zoom();
    const BOOL previous = frame().zoomEnabled ? 1 : 0;
    frame().zoomEnabled = enable != 0;
    tarn::discard_fonts();  // made again at the new size when next needed
    return previous;
}

TARN_API DWORD TARN_CALL koGetDialogBaseUnits(void) {
    const double factor = koGetScreenZoom();
    if (!frame().zoomEnabled) return 0x100008;
    const DWORD width = DWORD(factor * 8 + 0.4);
    const DWORD height = DWORD(factor * 16 + 0.4);
    return (height << 16) | (width & 0xFFFF);
}

TARN_API int32_t TARN_CALL koUnitCX(void) { return int32_t(koGetDialogBaseUnits() & 0xFFFF); }
TARN_API int32_t TARN_CALL koUnitCY(void) { return int32_t(koGetDialogBaseUnits() >> 16); }

TARN_API int32_t TARN_CALL koPixelFromUnitsCX(int32_t units) {
    return int32_t(int64_t(units) * koUnitCX() / 4);
}
TARN_API int32_t TARN_CALL koPixelFromUnitsCY(int32_t units) {
    return int32_t(int64_t(units) * koUnitCY() / 8);
}
TARN_API int32_t TARN_CALL koPixelToUnitsCX(int32_t pixels) {
    return int32_t((int64_t(pixels) * 4 + 1) / koUnitCX());
}
TARN_API int32_t TARN_CALL koPixelToUnitsCY(int32_t pixels) {
    return int32_t((int64_t(pixels) * 8 + 1) / koUnitCY());
}
