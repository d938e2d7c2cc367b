#include "platform/window.h"

#include <windows.h>
#include <commctrl.h>

#include <string>

namespace plat {
namespace {

// The frame's classes belong to control families of their own; until a window of one of them
// is created by such a family, the system's default handling is what they do.
LRESULT CALLBACK frame_window_proc(HWND wnd, UINT msg, WPARAM wp, LPARAM lp) {
    return DefWindowProcA(wnd, msg, wp, lp);
}

}  // namespace

bool register_window_class(HINSTANCE module, const WindowClass &cls) {
    WNDCLASSA wc;
    ZeroMemory(&wc, sizeof wc);
    wc.style = cls.style;
    wc.lpfnWndProc = frame_window_proc;
    wc.cbWndExtra = cls.windowExtra;
    wc.hInstance = module;
    wc.hCursor = LoadCursorA(nullptr, MAKEINTRESOURCEA(32512));
    if (cls.stock == kWhiteBrush)
        wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    else if (cls.stock == kLightGrayBrush)
        wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(LTGRAY_BRUSH));
    else wc.hbrBackground = cls.brush;
    wc.lpszClassName = cls.name;
    return RegisterClassA(&wc) != 0;
}

bool unregister_window_class(HINSTANCE module, const char *name) {
    return UnregisterClassA(name, module) != FALSE;
}

void init_common_controls() { InitCommonControls(); }

HMODULE load_richedit(const char *directory) {
    HMODULE h = nullptr;
    if (directory && *directory) {
        std::string path = std::string(directory) + "\\riched32.dll";
        h = LoadLibraryA(path.c_str());
    }
    if (!h) h = LoadLibraryA("riched32.dll");
    return h;
}

void free_library(HMODULE module) {
    if (module) FreeLibrary(module);
}

HWND get_parent(HWND wnd) { return GetParent(wnd); }

HMENU get_menu(HWND wnd) { return GetMenu(wnd); }

BOOL set_menu_item_text(HMENU menu, uint32_t commandId, const char *text) {
    MENUITEMINFOA info;
    ZeroMemory(&info, sizeof info);
    info.cbSize = sizeof info;
    info.fMask = MIIM_TYPE;
    info.fType = MFT_STRING;
    info.dwTypeData = const_cast<char *>(text);
    info.cch = text ? UINT(lstrlenA(text)) : 0;
    return SetMenuItemInfoA(menu, commandId, FALSE, &info);
}

void set_window_text(HWND wnd, const char *text) { SetWindowTextA(wnd, text ? text : ""); }

void yield_to_others() {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        // The quit request belongs to the application's own loop: hand it back.
        if (msg.message == WM_QUIT) {
            PostQuitMessage(int(msg.wParam));
            return;
        }
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

}  // namespace plat
