// The library's palette: 20 named colours with a solid brush each.
#include "export.h"
#include "frame/frame_state.h"
#include "platform/gdi.h"
#include "platform/profile.h"
#include "settings/profile_colors.h"

#include <cstdio>

namespace tarn {
namespace {

constexpr COLORREF kHighlight = 0xC48955;  // fixed, not a system colour
constexpr int kFixed = -1;

struct ColorDefault {
    const char *key;
    int sysIndex;
};

const ColorDefault kDefaults[kColorCount] = {
    {"TARNGDI_COLOR_WINDOW", plat::kColorWindow},
    {"TARNGDI_COLOR_3DFACE", plat::kColor3DFace},
    {"TARNGDI_COLOR_STATICTEXT", plat::kColorWindowText},
    {"TARNGDI_COLOR_WINDOWTEXT", plat::kColorWindowText},
    {"TARNGDI_COLOR_GRAYTEXT", plat::kColorGrayText},
    {"TARNGDI_COLOR_EDIT", plat::kColorWindow},
    {"TARNGDI_COLOR_EDITTEXT", plat::kColorWindowText},
    {"TARNGDI_COLOR_LISTBOX", plat::kColorWindow},
    {"TARNGDI_COLOR_LISTBOXTEXT", plat::kColorWindowText},
    {"TARNGDI_COLOR_HIGHLIGHT", kFixed},
    {"TARNGDI_COLOR_HIGHLIGHTTEXT", plat::kColorHighlightText},
    {"TARNGDI_COLOR_SCROLLBAR", plat::kColorScrollbar},
    {"TARNGDI_COLOR_BTNFACE", plat::kColor3DFace},
    {"TARNGDI_COLOR_BTNTEXT", plat::kColorBtnText},
    {"TARNGDI_COLOR_GRID_3DFACE", plat::kColor3DFace},
    {"TARNGDI_COLOR_GRID_HEADTEXT", plat::kColorWindowText},
    {"TARNGDI_COLOR_GRID_GRAYTEXT", plat::kColorGrayText},
    {"TARNGDI_COLOR_GRID_HEAD", plat::kColor3DFace},
    {"TARNGDI_COLOR_INFOBK", plat::kColorInfoBk},
    {"TARNGDI_COLOR_INFOTEXT", plat::kColorInfoText},
};

constexpr COLORREF rgb(uint32_t r, uint32_t g, uint32_t b) {
    return (r & 0xFF) | ((g & 0xFF) << 8) | ((b & 0xFF) << 16);
}

void apply_light_scheme(ColorEntry *t) {
    t[0].colour = t[5].colour = t[7].colour = 0xE8FBFF;
    t[2].colour = 0x404040;
    t[16].colour = 0x5C5C5C;
}

void read_profile_colors(ColorEntry *t) {
    for (int i = 0; i < kColorCount; ++i) {
        char def[48], text[128];
        tarn::settings::color_text(t[i].colour, def, sizeof def);
        plat::winini_get_string("tarnGDI", t[i].key, def, text, sizeof text);
        // Only the low byte of each component counts: R=300 is 44.
        t[i].colour =
            rgb(uint32_t(koParamTokenGetLong(text, "R")), uint32_t(koParamTokenGetLong(text, "G")),
                uint32_t(koParamTokenGetLong(text, "B")));
    }
}

}  // namespace

void setup_colors(bool useProfile) {
    ColorEntry *t = frame().colors;
    for (int i = 0; i < kColorCount; ++i) {
        if (t[i].brush) plat::delete_object(t[i].brush);
        t[i].brush = nullptr;
        t[i].key = kDefaults[i].key;
        t[i].colour =
            kDefaults[i].sysIndex == kFixed ? kHighlight : plat::sys_color(kDefaults[i].sysIndex);
    }
    if (!useProfile) return;
    switch (plat::winini_get_int("tarnGDI", "Colors", 0)) {
    case 1: apply_light_scheme(t); break;
    case 2: read_profile_colors(t); break;
    default: break;
    }
    for (int i = 0; i < kColorCount; ++i) {
        char text[48];
        tarn::settings::color_text(t[i].colour, text, sizeof text);
        plat::winini_write_string("tarnGDI", t[i].key, text);
    }
    for (int i = 0; i < kColorCount; ++i) t[i].brush = plat::create_solid_brush(t[i].colour);
}

}  // namespace tarn

namespace {
int color_index(int32_t index) { return index < 0 || index >= tarn::kColorCount ? 0 : index; }
}  // namespace

TARN_API COLORREF TARN_CALL koGetSysColor(int32_t index) {
    return tarn::frame().colors[color_index(index)].colour;
}

TARN_API HBRUSH TARN_CALL koGetSysBrush(int32_t index) {
    return tarn::frame().colors[color_index(index)].brush;
}
