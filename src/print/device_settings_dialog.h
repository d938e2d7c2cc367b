// Editing the device settings stored for a role.
#pragma once
#include <string>

#include "tarngdi32.h"

namespace tarn::print {

// Lets the user edit the settings of `role` on its printer and stores them; true when stored,
// false when cancelled, not shown or not written.
bool edit_role_settings(HWND parent, const std::string &role);

}  // namespace tarn::print
