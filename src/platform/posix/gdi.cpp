// Drawing objects as plain records: colour and style are all the frame needs of them here;
// the drawing surfaces that paint with them keep their own device state.
#include "platform/gdi.h"

#include <mutex>
#include <set>

namespace plat {
namespace {

enum Kind { kBrush = 1, kPen = 2 };

struct GdiObject {
    Kind kind;
    COLORREF colour;
    int style;
    int width;
};

struct GdiRegistry {
    std::mutex lock;
    std::set<GdiObject *> live;
};

// Never destroyed: the library's destructor may run after the process's static objects are gone.
GdiRegistry &registry() {
    static GdiRegistry *r = new GdiRegistry;
    return *r;
}

HGDIOBJ make(Kind kind, COLORREF colour, int style, int width) {
    auto *o = new GdiObject{kind, colour, style, width};
    std::lock_guard<std::mutex> g(registry().lock);
    registry().live.insert(o);
    return reinterpret_cast<HGDIOBJ>(o);
}

// The classic Windows scheme, by system colour number.
const COLORREF kClassicColors[31] = {
    0xC0C0C0, 0x808000, 0x800000, 0x808080, 0xC0C0C0, 0xFFFFFF, 0x000000, 0x000000,
    0x000000, 0xFFFFFF, 0xC0C0C0, 0xC0C0C0, 0x808080, 0x800000, 0xFFFFFF, 0xC0C0C0,
    0x808080, 0x808080, 0x000000, 0xC0C0C0, 0xFFFFFF, 0x000000, 0xDFDFDF, 0x000000,
    0xE1FFFF, 0xB5B5B5, 0x800000, 0xF0CAA6, 0xC0C0C0, 0x800000, 0xC0C0C0,
};

}  // namespace

COLORREF sys_color(int index) { return index >= 0 && index < 31 ? kClassicColors[index] : 0; }

HBRUSH create_solid_brush(COLORREF colour) { return make(kBrush, colour, 0, 0); }

HPEN create_pen(PenStyle style, int width, COLORREF colour) {
    return make(kPen, colour, int(style), width);
}

bool delete_object(HGDIOBJ object) {
    auto *o = reinterpret_cast<GdiObject *>(object);
    {
        std::lock_guard<std::mutex> g(registry().lock);
        if (!o || !registry().live.erase(o)) return false;
    }
    delete o;
    return true;
}

// Shared libraries here carry no resource section: the frame's bitmaps and cursors are absent,
// which the frame treats as a resource that did not load.
HBITMAP load_bitmap(HINSTANCE, const char *) { return nullptr; }
HCURSOR load_cursor(HINSTANCE, const char *) { return nullptr; }
HCURSOR load_wait_cursor() { return nullptr; }

}  // namespace plat
