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

int window_text(HWND wnd, char *text, int size) { return GetWindowTextA(wnd, text, size); }

int window_class(HWND wnd, char *name, int size) { return GetClassNameA(wnd, name, size); }

uint32_t window_style(HWND wnd) { return uint32_t(GetWindowLongA(wnd, GWL_STYLE)); }

HWND window_child(HWND parent, int index) {
    HWND child = GetWindow(parent, GW_CHILD);
    for (int i = 0; child && i < index; ++i) child = GetWindow(child, GW_HWNDNEXT);
    return child;
}

int menu_item_count(HMENU menu) { return GetMenuItemCount(menu); }

int menu_item_text(HMENU menu, int position, char *text, int size) {
    return GetMenuStringA(menu, UINT(position), text, size, MF_BYPOSITION);
}

bool set_menu_item_text_at(HMENU menu, int position, const char *text) {
    MENUITEMINFOA info;
    ZeroMemory(&info, sizeof info);
    info.cbSize = sizeof info;
    info.fMask = MIIM_STRING;
    info.dwTypeData = const_cast<char *>(text);
    return SetMenuItemInfoA(menu, UINT(position), TRUE, &info) != FALSE;
}

HMENU sub_menu(HMENU menu, int position) { return GetSubMenu(menu, position); }

intptr_t call_class_proc(HWND wnd, uint32_t msg, uintptr_t wParam, intptr_t lParam) {
    const auto proc = reinterpret_cast<WNDPROC>(GetClassLongPtrA(wnd, GCLP_WNDPROC));
    return proc ? CallWindowProcA(proc, wnd, msg, wParam, lParam) : 0;
}

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
