#include "platform/profile.h"

#include <windows.h>

namespace plat {

int private_profile_string(const char *section, const char *key, const char *def, char *out,
                           int size, const char *file) {
    // The size goes to Windows unsigned; a negative one would let it write past the buffer.
    if (!out || size <= 0) return 0;
    if (!file) return int(GetProfileStringA(section, key, def, out, DWORD(size)));
    return int(GetPrivateProfileStringA(section, key, def, out, DWORD(size), file));
}

bool write_private_profile_string(const char *section, const char *key, const char *value,
                                  const char *file) {
    if (!file) return WriteProfileStringA(section, key, value) != FALSE;
    return WritePrivateProfileStringA(section, key, value, file) != FALSE;
}

int32_t private_profile_int(const char *section, const char *key, int32_t def, const char *file) {
    if (!file) return int32_t(GetProfileIntA(section, key, def));
    return int32_t(GetPrivateProfileIntA(section, key, def, file));
}

}  // namespace plat
