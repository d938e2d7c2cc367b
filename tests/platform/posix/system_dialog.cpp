// Linux shows the library's dialogs only through a UI provider: there are no system dialogs,
// windows or menus.
#include "test_env.h"

namespace test_env {

bool drive_system_dialog(const char *, const std::function<void()> &,
                         const std::function<void(SystemDialog)> &) {
    return false;
}
std::vector<std::string> dialog_list(SystemDialog, int) { return {}; }
int dialog_list_selected(SystemDialog, int) { return -1; }
void dialog_list_choose(SystemDialog, int, int) {}
bool dialog_checked(SystemDialog, int) { return false; }
void dialog_press(SystemDialog, int) {}

void *create_window(const char *, const char *, uint32_t, void *) { return nullptr; }
std::string window_text(void *) { return std::string(); }
void destroy_window(void *) {}
void *create_menu() { return nullptr; }
void append_menu_item(void *, const char *, void *) {}
std::string menu_item_text(void *, int) { return std::string(); }
void destroy_menu(void *) {}

}  // namespace test_env
