// Where the profile of a FILE lives: the profile type, registry key paths and INI file paths.
#include "export.h"
#include "platform/files.h"
#include "platform/system.h"
#include "settings/settings_state.h"

namespace tarn::settings {

SettingsState &state() {
    static SettingsState s;
    return s;
}

int32_t default_profile_type() { return Is_Longhorn() ? 1 : 0; }

int32_t profile_type() {
    SettingsState &s = state();
    if (s.profileType < 0) s.profileType = default_profile_type();
    return s.profileType;
}

void set_profile_type(int32_t type) { state().profileType = type; }

bool is_registry_form(int32_t type) { return type == 0 || type == 1; }

namespace {

// One static buffer, as the names are used at once.
const char *clean_name(const char *name) {
    static char buffer[512];
    if (!name || !*name) name = "EMPTY";
    size_t n = 0;
    for (; *name && n < sizeof buffer - 1; ++name, ++n) {
        const char c = *name;
        const bool keep = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                          (c >= 'a' && c <= 'z') || c == '_' || c == '-';
        buffer[n] = keep ? c : '#';
    }
    buffer[n] = '\0';
    return buffer;
}

}  // namespace

std::string profile_key_path(const char *file, const char *section) {
    std::string path = ".DEFAULT\\PASKWERK\\";
    path += clean_name(file);
    if (section) {
        path += '\\';
        path += clean_name(section);
    }
    for (char &c : path)
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    return path;
}

std::string profile_ini_path(int32_t type, const char *file, bool create) {
    const char sep = plat::path_separator();
    std::string dir = plat::program_folder() + sep + ".." + sep + "USER";
    if (create) plat::create_directory(dir.c_str());
    if (type == 2) {
        dir += sep + plat::computer_name();
        if (create) plat::create_directory(dir.c_str());
        dir += sep + plat::user_name();
    } else {
        // Every INI type other than 2 keeps its files in the shared folder.
        dir += sep + std::string("ALL");
    }
    if (create) plat::create_directory(dir.c_str());
    return dir + sep + (file ? file : "") + ".INI";
}

}  // namespace tarn::settings

TARN_API int32_t TARN_CALL koSetProfileType(int32_t type) {
    using namespace tarn::settings;
    const int32_t previous = profile_type();
    if (type == -1) {
        set_profile_type(default_profile_type());
    } else {
        const int32_t lowest = Is_Longhorn() ? 1 : 0;
        if (type >= lowest && type <= 3) set_profile_type(type);
    }
    return previous;
}
