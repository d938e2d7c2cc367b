#include "platform/gdi.h"

#include <windows.h>

namespace plat {

COLORREF sys_color(int index) { return GetSysColor(index); }

HBRUSH create_solid_brush(COLORREF colour) { return CreateSolidBrush(colour); }

HPEN create_pen(PenStyle style, int width, COLORREF colour) {
    int s = PS_SOLID;
    switch (style) {
    case kPenDot: s = PS_DOT; break;
    case kPenDash: s = PS_DASH; break;
    case kPenDashDot: s = PS_DASHDOT; break;
    case kPenNull: s = PS_NULL; break;
    default: break;
    }
    return CreatePen(s, width, colour);
}

bool delete_object(HGDIOBJ object) { return object && DeleteObject(object); }

HBITMAP load_bitmap(HINSTANCE module, const char *name) {
    return static_cast<HBITMAP>(LoadImageA(module, name, IMAGE_BITMAP, 0, 0, LR_DEFAULTCOLOR));
}

HCURSOR load_cursor(HINSTANCE module, const char *name) { return LoadCursorA(module, name); }

HCURSOR load_wait_cursor() { return LoadCursorA(nullptr, MAKEINTRESOURCEA(32514)); }

}  // namespace plat
