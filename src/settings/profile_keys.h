// Registry keys of the profile forms.
#pragma once
#include <cstdint>
#include "tarn_types.h"

namespace tarn::settings {

HKEY profile_root(int32_t type);
// Opens .DEFAULT\PASKWERK\FILE\SECTION; for writing the missing keys are created.
bool open_profile_key(int32_t type, const char *file, const char *section, bool write, HKEY *key);
// Deletes .DEFAULT\PASKWERK\FILE (with \SECTION when given) and everything below it.
bool delete_profile_keys(int32_t type, const char *file, const char *section);

}  // namespace tarn::settings
