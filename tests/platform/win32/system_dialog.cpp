// Driving a dialog of the DLL's resources as a user would: from a second thread, with the
// messages its controls send when they are clicked.
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

}  // namespace test_env
