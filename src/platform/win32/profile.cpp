#include "platform/profile.h"

#include <windows.h>

namespace plat {

int32_t winini_get_int(const char *section, const char *key, int32_t def) {
    return int32_t(GetProfileIntA(section, key, def));
}

int winini_get_string(const char *section, const char *key, const char *def, char *out, int size) {
    return int(GetProfileStringA(section, key, def, out, DWORD(size)));
}

bool winini_write_string(const char *section, const char *key, const char *value) {
    return WriteProfileStringA(section, key, value) != FALSE;
}

}  // namespace plat
