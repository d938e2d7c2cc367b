#include "profile_calls.h"

#include <windows.h>

int test_profile_get(const char *section, const char *key, const char *def, char *out, int size,
                     const char *file) {
    return int(GetPrivateProfileStringA(section, key, def, out, DWORD(size), file));
}

bool test_profile_write(const char *section, const char *key, const char *value, const char *file) {
    return WritePrivateProfileStringA(section, key, value, file) != FALSE;
}

int32_t test_profile_int(const char *section, const char *key, int32_t def, const char *file) {
    return int32_t(GetPrivateProfileIntA(section, key, def, file));
}
