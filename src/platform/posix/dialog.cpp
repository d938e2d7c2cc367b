// No dialogs or boxes of the system here: the library's provider path is the only one.
#include "platform/dialog.h"

namespace plat {

intptr_t run_resource_dialog(HINSTANCE, const char *, HWND, DialogProc, intptr_t) { return -1; }
bool system_dialogs() { return false; }
bool post_dialog_command(HWND, int32_t) { return false; }

int dialog_item_text(HWND, int32_t, char *text, int size) {
    if (text && size > 0) text[0] = '\0';
    return 0;
}

bool set_dialog_item_text(HWND, int32_t, const char *) { return false; }
void limit_dialog_item_text(HWND, int32_t, int) {}
void dialog_focus_next(HWND) {}
void end_dialog(HWND, intptr_t) {}
void dialog_list_add(HWND, int32_t, const char *) {}
void dialog_list_select(HWND, int32_t, int) {}
int dialog_list_find(HWND, int32_t, const char *) { return -1; }
int dialog_list_selected(HWND, int32_t, char *text, int size) {
    return dialog_item_text(nullptr, 0, text, size);
}
bool dialog_checked(HWND, int32_t) { return false; }
void dialog_check(HWND, int32_t, bool) {}
int32_t message_box(HWND, const char *, const char *, uint32_t) { return -1; }

}  // namespace plat
