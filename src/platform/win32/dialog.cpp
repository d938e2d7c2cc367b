#include "platform/dialog.h"

#include <windows.h>

namespace plat {

intptr_t run_resource_dialog(HINSTANCE module, const char *name, HWND parent, DialogProc proc,
                             intptr_t param) {
    return DialogBoxParamA(module, name, parent, reinterpret_cast<DLGPROC>(proc), param);
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

int32_t message_box(HWND parent, const char *text, const char *caption, uint32_t type) {
    return MessageBoxA(parent, text, caption, type);
}

}  // namespace plat
