// Driving a dialog of the DLL's resources as a user would: from a second thread, with the
// messages its controls send when they are clicked; real windows and menus to translate.
#include "test_env.h"

#include <windows.h>

#include <atomic>
#include <thread>

namespace test_env {
namespace {

struct Search {
    const char *caption;
    HWND found;
};

BOOL CALLBACK match_window(HWND w, LPARAM param) {
    auto *s = reinterpret_cast<Search *>(param);
    DWORD pid = 0;
    GetWindowThreadProcessId(w, &pid);
    char title[256] = "";
    GetWindowTextA(w, title, sizeof title);
    if (pid == GetCurrentProcessId() && lstrcmpA(title, s->caption) == 0 && IsWindowVisible(w)) {
        s->found = w;
        return FALSE;
    }
    return TRUE;
}

HWND wait_for(const char *caption, int limitMs) {
    for (int waited = 0; waited < limitMs; waited += 20) {
        Search s{caption, nullptr};
        EnumWindows(match_window, reinterpret_cast<LPARAM>(&s));
        if (s.found) return s.found;
        Sleep(20);
    }
    return nullptr;
}

HWND window(SystemDialog d) { return static_cast<HWND>(d.window); }

void notify(SystemDialog d, int id, WORD code) {
    SendMessageA(window(d), WM_COMMAND, MAKEWPARAM(id, code),
                 reinterpret_cast<LPARAM>(GetDlgItem(window(d), id)));
}

}  // namespace

bool drive_system_dialog(const char *caption, const std::function<void()> &show,
                         const std::function<void(SystemDialog)> &drive) {
    std::atomic<bool> appeared{false};
    std::thread user([&] {
        HWND w = wait_for(caption, 10000);
        if (!w) return;
        appeared = true;
        drive(SystemDialog{w});
        for (int waited = 0; IsWindow(w) && waited < 5000; waited += 20) Sleep(20);
        if (IsWindow(w)) PostMessageA(w, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
    });
    show();
    user.join();
    return appeared;
}

std::vector<std::string> dialog_list(SystemDialog d, int id) {
    std::vector<std::string> items;
    const LRESULT n = SendDlgItemMessageA(window(d), id, LB_GETCOUNT, 0, 0);
    for (LRESULT i = 0; i < n; ++i) {
        char text[512] = "";
        if (SendDlgItemMessageA(window(d), id, LB_GETTEXTLEN, WPARAM(i), 0) < LRESULT(sizeof text))
            SendDlgItemMessageA(window(d), id, LB_GETTEXT, WPARAM(i), reinterpret_cast<LPARAM>(text));
        items.emplace_back(text);
    }
    return items;
}

int dialog_list_selected(SystemDialog d, int id) {
    return int(SendDlgItemMessageA(window(d), id, LB_GETCURSEL, 0, 0));
}

void dialog_list_choose(SystemDialog d, int id, int index) {
    SendDlgItemMessageA(window(d), id, LB_SETCURSEL, WPARAM(index), 0);
    notify(d, id, LBN_SELCHANGE);
}

bool dialog_checked(SystemDialog d, int id) {
    return IsDlgButtonChecked(window(d), id) == BST_CHECKED;
}

// A click: a check box turns over first, as the system does before it tells the dialog.
void dialog_press(SystemDialog d, int id) {
    HWND control = GetDlgItem(window(d), id);
    const LONG style = control ? GetWindowLongA(control, GWL_STYLE) & 0x0F : 0;
    if (style == BS_AUTOCHECKBOX)
        CheckDlgButton(window(d), id, dialog_checked(d, id) ? BST_UNCHECKED : BST_CHECKED);
    notify(d, id, BN_CLICKED);
}

void *create_window(const char *cls, const char *text, uint32_t style, void *parent) {
    const DWORD kind = parent ? WS_CHILD | WS_VISIBLE : WS_OVERLAPPEDWINDOW;
    return CreateWindowExA(0, cls, text, kind | style, 0, 0, 200, 40, static_cast<HWND>(parent),
                           nullptr, GetModuleHandleA(nullptr), nullptr);
}

std::string window_text(void *window) {
    char text[256] = "";
    GetWindowTextA(static_cast<HWND>(window), text, sizeof text);
    return text;
}

void destroy_window(void *window) { DestroyWindow(static_cast<HWND>(window)); }

void *create_menu() { return CreateMenu(); }

void append_menu_item(void *menu, const char *text, void *submenu) {
    if (submenu)
        AppendMenuA(static_cast<HMENU>(menu), MF_POPUP, reinterpret_cast<UINT_PTR>(submenu), text);
    else
        AppendMenuA(static_cast<HMENU>(menu), MF_STRING, 100 + GetMenuItemCount(static_cast<HMENU>(menu)), text);
}

std::string menu_item_text(void *menu, int position) {
    char text[256] = "";
    GetMenuStringA(static_cast<HMENU>(menu), UINT(position), text, sizeof text, MF_BYPOSITION);
    return text;
}

void destroy_menu(void *menu) { DestroyMenu(static_cast<HMENU>(menu)); }

}  // namespace test_env
