// The system's profile (INI file) calls: GetPrivateProfileStringA & co. A null file means WIN.INI.
// Windows answers them itself; elsewhere the library's own INI files give the same answers.
#pragma once
#include <cstdint>

namespace plat {

// GetPrivateProfileStringA: a null section lists the sections, a null key the keys of a section.
// Returns the number of characters copied, without the terminator.
int private_profile_string(const char *section, const char *key, const char *def, char *out,
                           int size, const char *file);
// WritePrivateProfileStringA: a null value deletes the key, a null key the section.
bool write_private_profile_string(const char *section, const char *key, const char *value,
                                  const char *file);
// GetPrivateProfileIntA.
int32_t private_profile_int(const char *section, const char *key, int32_t def, const char *file);

inline int32_t winini_get_int(const char *section, const char *key, int32_t def) {
    return private_profile_int(section, key, def, nullptr);
}
inline int winini_get_string(const char *section, const char *key, const char *def, char *out,
                             int size) {
    return private_profile_string(section, key, def, out, size, nullptr);
}
inline bool winini_write_string(const char *section, const char *key, const char *value) {
    return write_private_profile_string(section, key, value, nullptr);
}

}  // namespace plat
