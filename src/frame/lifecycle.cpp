// Process attach and detach: the start-up and clean-up of the library frame, in their order.
#include "export.h"
#include "frame/frame_state.h"
#include "lib/base_state.h"
#include "text/work_date.h"
#include "platform/entry.h"
#include "platform/gdi.h"
#include "platform/profile.h"
#include "platform/system.h"
#include "platform/window.h"
#include "settings/settings_state.h"

#include <cstdio>

namespace tarn {
namespace {

constexpr const char *kSection = "TARNGDI";

plat::PenStyle dot_pen_style(int32_t setting) {
    switch (setting) {
    case 1: return plat::kPenDot;
    case 2: return plat::kPenDash;
    case 3: return plat::kPenDashDot;
    case 4: return plat::kPenNull;
    default: return plat::kPenSolid;
    }
}

void load_bitmaps(FrameState &f) {
    for (int i = 0; i < kBitmapCount; ++i) {
        char name[8];
        std::snprintf(name, sizeof name, "BM%03d", i);
        f.bitmaps[i] = plat::load_bitmap(module_instance(), name);
    }
}

void read_profile_type() {
    const int32_t provisional = settings::default_profile_type();
    settings::set_profile_type(provisional);
    const int32_t value = koGetPublicLong(kSection, "RegProfileType", provisional);
    settings::set_profile_type(value & 0xFF);
    // Written back at once, so the setting always exists for the administrator to edit.
    koWritePublicLong(kSection, "RegProfileType", value & 0xFF);
}

// Classes registered before and after the rich-edit library is loaded.
void register_early_classes(HINSTANCE inst) {
    using namespace plat;
    const uint32_t redraw = kClassHRedraw | kClassVRedraw;
    register_window_class(inst, {"ko:GroupWnd", kClassGlobal | redraw, 0, nullptr, kNoBrush});
    register_window_class(inst, {"ko::GroupWnd", kClassGlobal | redraw, 0, nullptr, kNoBrush});
    register_window_class(inst, {"ko::DefWindow", kClassGlobal | redraw, 8, nullptr, kNoBrush});
}

void register_late_classes(FrameState &f) {
    using namespace plat;
    const HINSTANCE inst = module_instance();
    const uint32_t redraw = kClassHRedraw | kClassVRedraw;
    register_window_class(inst, {"ko:DibControl", kClassGlobal | kClassDblClks | redraw, 8, nullptr,
                                 kWhiteBrush});
    register_window_class(inst, {"ko::PreView2001", kClassGlobal | redraw, 4, nullptr, kNoBrush});
    register_window_class(inst, {"ko::Timer", kClassGlobal, 12, nullptr, kNoBrush});
    char dir[300] = "";
    tarnGetModulePath(reinterpret_cast<HMODULE>(inst), dir, sizeof dir);
    f.richEdit = load_richedit(dir);
    register_window_class(inst, {"ko:WsEdit:32", kClassGlobal | kClassDblClks | redraw, 4,
                                 koGetSysBrush(1), kNoBrush});
    register_window_class(inst, {"ko::RichVal32", kClassGlobal | kClassDblClks | redraw, 24,
                                 nullptr, kLightGrayBrush});
    f.richValueBosket = plat::winini_get_int("ZentColor", "Bosket", 1);
}

}  // namespace
}  // namespace tarn

int32_t tarn::discard_fonts() {
    FrameState &f = frame();
    int32_t result = 0;
    for (int i = 0; i < kFontSlots; ++i) {
        if (f.fontOwned[i] && f.fonts[i]) result = plat::delete_object(f.fonts[i]);
        f.fonts[i] = nullptr;
        f.fontOwned[i] = false;
    }
    return result;
}

void plat::on_process_attach(HINSTANCE instance) {
    using namespace tarn;
    FrameState &f = frame();
    if (++f.attachCount != 1) return;
    InitGdiLib(instance);
    setup_colors(true);
    koEventLogAppName(nullptr);
    register_early_classes(module_instance());
    plat::init_common_controls();
    reset_work_date();
    f.dropCursor = plat::load_cursor(module_instance(), "cDrop");
    f.noDropCursor = plat::load_cursor(module_instance(), "cNoDrop");
    f.waitCursor = plat::load_wait_cursor();
    register_late_classes(f);
    f.autoYield = 1;
}

void plat::on_process_detach() {
    using namespace tarn;
    FrameState &f = frame();
    if (f.attachCount == 0 || --f.attachCount != 0) return;
    // The application's translator is let go while its code is still loaded.
    koSetLanguageLayer(nullptr);
    f.autoYield = 0;
    plat::sleep_ms(4);
    const HINSTANCE inst = module_instance();
    plat::unregister_window_class(inst, "ko::RichVal32");
    if (f.richEdit) plat::free_library(f.richEdit);
    f.richEdit = nullptr;
    plat::unregister_window_class(inst, "ko:WsEdit:32");
    plat::unregister_window_class(inst, "ko::Timer");
    plat::unregister_window_class(inst, "ko::PreView2001");
    plat::unregister_window_class(inst, "ko:DibControl");
    plat::unregister_window_class(inst, "ko::GroupWnd");
    // "ko:GroupWnd" and "ko::DefWindow" stay registered until the process ends, on purpose.
    DeInitGdiLib();
    setup_colors(false);
}

TARN_API int32_t TARN_CALL InitGdiLib(HINSTANCE instance) {
    using namespace tarn;
    FrameState &f = frame();
    set_module_instance(instance);
    load_bitmaps(f);
    const COLORREF colour = COLORREF(koGetPrivateLong(kSection, "DP_COLOR", 0xADBFBF, "DEFAULT"));
    const int32_t style = koGetPrivateLong(kSection, "DP_STYLE", 0, "DEFAULT");
    f.dotPen = plat::create_pen(dot_pen_style(style), 1, colour);
    for (int i = 0; i < kFontSlots; ++i) {
        f.fonts[i] = nullptr;
        f.fontOwned[i] = false;
    }
    f.music = koGetPrivateLong(kSection, "Music", 0, "DEFAULT");
    read_profile_type();
    return 1;
}

TARN_API int32_t TARN_CALL DeInitGdiLib(void) {
    using namespace tarn;
    FrameState &f = frame();
    int32_t result = discard_fonts();
    if (f.dotPen) result = plat::delete_object(f.dotPen);
    f.dotPen = nullptr;
    for (int i = 0; i < kBitmapCount; ++i) {
        if (f.bitmaps[i]) result = plat::delete_object(f.bitmaps[i]);
        f.bitmaps[i] = nullptr;
    }
    return result;
}

TARN_API HINSTANCE TARN_CALL GetGdiLibInstance(void) { return tarn::module_instance(); }

TARN_API int32_t TARN_CALL AutoYieldStart(void) {
    int32_t &n = tarn::frame().autoYield;
    if (n >= 1) ++n;
    return n;
}

TARN_API int32_t TARN_CALL AutoYieldStop(void) {
    int32_t &n = tarn::frame().autoYield;
    if (n >= 2) --n;
    return n;
}
