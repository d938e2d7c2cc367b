// The process-wide state of the settings family.
#pragma once
#include <cstdint>
#include <string>

namespace tarn::settings {

struct SettingsState {
    int32_t profileType = -1;  // -1 until decided
};

SettingsState &state();

// The profile type, decided on first use (1 from Windows Vista on, else 0).
int32_t profile_type();
// Sets the type without the checks of koSetProfileType: start-up chooses it this way.
void set_profile_type(int32_t type);
// The type the system suggests.
int32_t default_profile_type();

bool is_registry_form(int32_t type);
// "\.DEFAULT\PASKWERK\FILE[\SECTION]" with cleaned, upper-cased names.
std::string profile_key_path(const char *file, const char *section);
// The INI file of FILE for an INI type; creates the folders on the way when `create` is set.
std::string profile_ini_path(int32_t type, const char *file, bool create);

}  // namespace tarn::settings
