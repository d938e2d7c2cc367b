// Linux shows the library's dialogs only through a UI provider: there is no system dialog.
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

}  // namespace test_env
