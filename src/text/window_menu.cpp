#include "export.h"
#include "platform/system.h"
#include "platform/window.h"

TARN_API HWND TARN_CALL koGetRootHwnd(HWND wnd) {
    // GetParent also yields the owner of a pop-up, so owned dialogs lead to their main window.
    while (HWND parent = plat::get_parent(wnd)) wnd = parent;
    return wnd;
}

TARN_API HMENU TARN_CALL koGetRootMenu(HWND wnd) { return plat::get_menu(koGetRootHwnd(wnd)); }

TARN_API int32_t TARN_CALL koGetWinType(void) {
    uint32_t version = plat::os_version_word();
    uint32_t major = version & 0xFF;
    uint32_t minor = (version >> 8) & 0xFF;
    if (version & 0x80000000u) {  // Windows 3.1 with Win32s, 95, 98, Me
        if (major < 4) return 311;
        return minor != 0 ? 498 : 495;
    }
    if (major > 4) return 500;
    return major == 4 ? 400 : 351;
}

TARN_API BOOL TARN_CALL koSetMenuItemText(HMENU menu, uint32_t commandId, const char *text) {
    return plat::set_menu_item_text(menu, commandId, text);
}
