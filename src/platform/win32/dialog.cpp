#include "platform/dialog.h"

#include <windows.h>

namespace plat {

intptr_t run_resource_dialog(HINSTANCE module, const char *name, HWND parent, DialogProc proc,
                             intptr_t param) {
    return DialogBoxParamA(module, name, parent, reinterpret_cast<DLGPROC>(proc), param);
}

bool system_dialogs() { return true; }

bool post_dialog_command(HWND dialog, int32_t id) {
    return PostMessageA(dialog, WM_COMMAND, WPARAM(uint32_t(id) & 0xFFFF), 0) != FALSE;
}

int dialog_item_text(HWND dialog, int32_t id, char *text, int size) {
    return int(GetDlgItemTextA(dialog, id, text, size));
}

bool set_dialog_item_text(HWND dialog, int32_t id, const char *text) {
    return SetDlgItemTextA(dialog, id, text) != FALSE;
}

void limit_dialog_item_text(HWND dialog, int32_t id, int chars) {
    SendDlgItemMessageA(dialog, id, EM_LIMITTEXT, WPARAM(chars), 0);
}

void dialog_focus_next(HWND dialog) { SendMessageA(dialog, WM_NEXTDLGCTL, 0, FALSE); }

void end_dialog(HWND dialog, intptr_t result) { EndDialog(dialog, result); }

void dialog_list_add(HWND dialog, int32_t id, const char *text) {
    SendDlgItemMessageA(dialog, id, LB_ADDSTRING, 0, LPARAM(text));
}

void dialog_list_select(HWND dialog, int32_t id, int index) {
    SendDlgItemMessageA(dialog, id, LB_SETCURSEL, WPARAM(index), 0);
}

int dialog_list_find(HWND dialog, int32_t id, const char *text) {
    const LRESULT i = SendDlgItemMessageA(dialog, id, LB_FINDSTRINGEXACT, WPARAM(-1), LPARAM(text));
    return i == LB_ERR ? -1 : int(i);
}

int dialog_list_selected(HWND dialog, int32_t id, char *text, int size) {
    if (!text || size <= 0) return 0;
    text[0] = '\0';
    const LRESULT i = SendDlgItemMessageA(dialog, id, LB_GETCURSEL, 0, 0);
    if (i == LB_ERR) return 0;
    const LRESULT n = SendDlgItemMessageA(dialog, id, LB_GETTEXTLEN, WPARAM(i), 0);
    if (n == LB_ERR || n >= size) return 0;
    return int(SendDlgItemMessageA(dialog, id, LB_GETTEXT, WPARAM(i), LPARAM(text)));
}

bool dialog_checked(HWND dialog, int32_t id) {
    return IsDlgButtonChecked(dialog, id) == BST_CHECKED;
}

void dialog_check(HWND dialog, int32_t id, bool on) {
    CheckDlgButton(dialog, id, on ? BST_CHECKED : BST_UNCHECKED);
}

int32_t message_box(HWND parent, const char *text, const char *caption, uint32_t type) {
    return MessageBoxA(parent, text, caption, type);
}

}  // namespace plat
