// Drawing objects and resources of the library frame: system colours, brushes, pens,
// bitmaps and cursors from the library's own module.
#pragma once
#include <cstdint>
#include "tarn_types.h"

namespace plat {

enum SysColorIndex {  // the system colour numbers the colour table uses
    kColorScrollbar = 0,
    kColorWindow = 5,
    kColorWindowText = 8,
    kColorHighlightText = 14,
    kColor3DFace = 15,
    kColorGrayText = 17,
    kColorBtnText = 18,
    kColorInfoText = 23,
    kColorInfoBk = 24,
};
enum PenStyle { kPenSolid = 0, kPenDot = 1, kPenDash = 2, kPenDashDot = 3, kPenNull = 5 };

COLORREF sys_color(int index);
HBRUSH create_solid_brush(COLORREF colour);
HPEN create_pen(PenStyle style, int width, COLORREF colour);
bool delete_object(HGDIOBJ object);  // false for null or an object not made here
HBITMAP load_bitmap(HINSTANCE module, const char *name);
HCURSOR load_cursor(HINSTANCE module, const char *name);
HCURSOR load_wait_cursor();

}  // namespace plat
