// Profile values by file, section and key, in the registry or in INI files.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <vector>

#include "export.h"
#include "platform/files.h"
#include "platform/profile.h"
#include "platform/registry.h"
#include "settings/profile_keys.h"
#include "settings/settings_state.h"

namespace tarn::settings {

HKEY profile_root(int32_t type) { return type == 0 ? HKEY_USERS : HKEY_CURRENT_USER; }

bool open_profile_key(int32_t type, const char *file, const char *section, bool write, HKEY *key) {
    const std::string path = profile_key_path(file, section);
    const HKEY root = profile_root(type);
    if (!write) return plat::reg_open(root, path.c_str(), false, false, key) == plat::kErrorSuccess;
    if (plat::reg_open(root, path.c_str(), true, false, key) == plat::kErrorSuccess) return true;
    // Create the chain step by step, retrying the open after each step.
    const std::string steps[4] = {".DEFAULT", ".DEFAULT\\PASKWERK", profile_key_path(file, nullptr),
                                  path};
    for (const std::string &step : steps) {
        HKEY created = nullptr;
        if (plat::reg_create(root, step.c_str(), &created) == plat::kErrorSuccess)
            plat::reg_close(created);
        if (plat::reg_open(root, path.c_str(), true, false, key) == plat::kErrorSuccess)
            return true;
    }
    return false;
}

namespace {

void copy_default(char *buffer, int32_t size, const char *def) {
    if (!buffer || size <= 0) return;
    const char *d = def ? def : "";
    const size_t n = std::min(std::strlen(d), size_t(size - 1));
    std::memcpy(buffer, d, n);
    buffer[n] = '\0';
}

// Value names, each with its NUL, and an empty name at the end, as far as the buffer holds.
void list_value_names(HKEY key, char *buffer, int32_t size) {
    if (!buffer || size <= 0) return;
    int32_t used = 0;
    char name[16384];
    for (uint32_t i = 0;; ++i) {
        uint32_t n = sizeof name;
        if (plat::reg_enum_value(key, i, name, &n) != plat::kErrorSuccess) break;
        if (used + int32_t(n) + 2 > size) break;
        std::memcpy(buffer + used, name, n);
        used += int32_t(n);
        buffer[used++] = '\0';
    }
    buffer[used] = '\0';
    if (used + 1 < size) buffer[used + 1] = '\0';
}

// Deletes `path` below `root` with all its subkeys, deepest first.
void delete_tree(HKEY root, const std::string &path) {
    HKEY key = nullptr;
    if (plat::reg_open(root, path.c_str(), true, false, &key) != plat::kErrorSuccess) return;
    std::vector<std::string> children;
    char name[512];
    for (uint32_t i = 0;; ++i) {
        uint32_t n = sizeof name;
        if (plat::reg_enum_key(key, i, name, &n) != plat::kErrorSuccess) break;
        children.emplace_back(name, n);
    }
    plat::reg_close(key);
    for (const auto &c : children) delete_tree(root, path + "\\" + c);
    plat::reg_delete_key(root, path.c_str());
}

}  // namespace

bool delete_profile_keys(int32_t type, const char *file, const char *section) {
    const HKEY root = profile_root(type);
    const std::string path = profile_key_path(file, section);
    delete_tree(root, path);
    HKEY probe = nullptr;
    if (plat::reg_open(root, path.c_str(), false, false, &probe) == plat::kErrorSuccess) {
        plat::reg_close(probe);
        return false;
    }
    return true;
}

}  // namespace tarn::settings

using namespace tarn::settings;

TARN_API char *TARN_CALL koGetPrivateString(const char *section, const char *key, const char *def,
                                            char *buffer, int32_t size, const char *file) {
    const int32_t type = profile_type();
    if (size == 0) size = 30;
    if (!buffer || size < 0) return nullptr;
    if (!def) def = "";
    if (!is_registry_form(type)) {
        const std::string path = profile_ini_path(type, file, false);
        plat::private_profile_string(section, key, def, buffer, size, path.c_str());
        // The system's call does not tell a stored value from the default.
        return buffer;
    }
    HKEY hkey = nullptr;
    if (!open_profile_key(type, file, section, false, &hkey)) {
        copy_default(buffer, size, def);
        return nullptr;
    }
    char *result = buffer;
    if (!key) {
        list_value_names(hkey, buffer, size);
    } else {
        uint32_t valueType = 0, bytes = 0;
        std::vector<char> data;
        long rc = plat::reg_query(hkey, key, &valueType, nullptr, &bytes);
        if (rc == plat::kErrorSuccess && valueType == plat::kRegSz) {
            data.resize(size_t(bytes) + 1);
            rc = plat::reg_query(hkey, key, &valueType, data.data(), &bytes);
        }
        if (rc != plat::kErrorSuccess || valueType != plat::kRegSz) {
            copy_default(buffer, size, def);
            result = nullptr;
        } else {
            // A stored text longer than the buffer is cut, like a profile read.
            data[bytes] = '\0';
            copy_default(buffer, size, data.data());
        }
    }
    plat::reg_close(hkey);
    return result;
}

TARN_API int32_t TARN_CALL koWritePrivateString(const char *section, const char *key,
                                                const char *value, const char *file) {
    const int32_t type = profile_type();
    if (!is_registry_form(type)) {
        const std::string path = profile_ini_path(type, file, section != nullptr);
        if (!section) return plat::delete_file(path.c_str()) ? 1 : 0;
        return plat::write_private_profile_string(section, key, value, path.c_str()) ? 1 : 0;
    }
    if (!section || !key) return delete_profile_keys(type, file, section) ? 1 : 0;
    HKEY hkey = nullptr;
    if (!open_profile_key(type, file, section, true, &hkey)) return 0;
    long rc;
    if (!value) rc = plat::reg_delete_value(hkey, key);
    else rc = plat::reg_set(hkey, key, plat::kRegSz, value, uint32_t(std::strlen(value) + 1));
    plat::reg_close(hkey);
    return rc == plat::kErrorSuccess ? 1 : 0;
}

TARN_API int32_t TARN_CALL koGetPrivateLong(const char *section, const char *key, int32_t def,
                                            const char *file) {
    char text[32], deftext[32];
    LongToString(deftext, def, 10);
    koGetPrivateString(section, key, deftext, text, 30, file);
    return StringToLong(text);
}

TARN_API int32_t TARN_CALL koWritePrivateLong(const char *section, const char *key, int32_t value,
                                              const char *file) {
    char text[16];
    const auto r = std::to_chars(text, text + sizeof text - 1, value);
    *r.ptr = '\0';
    return koWritePrivateString(section, key, text, file);
}

TARN_API double TARN_CALL koGetPrivateDouble(const char *section, const char *key, double def,
                                             const char *file) {
    char text[32], deftext[32];
    DoubleToString(deftext, def, 20, 5);
    koGetPrivateString(section, key, deftext, text, 30, file);
    return StringToDouble(text);
}

TARN_API int32_t TARN_CALL koWritePrivateDouble(const char *section, const char *key, double value,
                                                const char *file) {
    // The shortest text that reads back to the same value, with the decimal comma.
    char text[40];
    const auto r = std::to_chars(text, text + sizeof text - 1, value);
    *r.ptr = '\0';
    for (char *p = text; *p; ++p)
        if (*p == '.') *p = ',';
    return koWritePrivateString(section, key, text, file);
}

TARN_API char *TARN_CALL koGetPublicString(const char *section, const char *key, const char *def,
                                           char *buffer, int32_t size) {
    return koGetPrivateString(section, key, def, buffer, size, "DEFAULT");
}

TARN_API int32_t TARN_CALL koGetPublicLong(const char *section, const char *key, int32_t def) {
    return koGetPrivateLong(section, key, def, "DEFAULT");
}

TARN_API double TARN_CALL koGetPublicDouble(const char *section, const char *key, double def) {
    return koGetPrivateDouble(section, key, def, "DEFAULT");
}

TARN_API int32_t TARN_CALL koWritePublicString(const char *section, const char *key,
                                               const char *value) {
    return koWritePrivateString(section, key, value, "DEFAULT");
}

TARN_API int32_t TARN_CALL koWritePublicLong(const char *section, const char *key, int32_t value) {
    return koWritePrivateLong(section, key, value, "DEFAULT");
}

TARN_API int32_t TARN_CALL koWritePublicDouble(const char *section, const char *key, double value) {
    return koWritePrivateDouble(section, key, value, "DEFAULT");
}
