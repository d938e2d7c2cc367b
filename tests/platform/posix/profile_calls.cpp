#include "profile_calls.h"

#include "platform/profile.h"

int test_profile_get(const char *section, const char *key, const char *def, char *out, int size,
                     const char *file) {
    return plat::private_profile_string(section, key, def, out, size, file);
}

bool test_profile_write(const char *section, const char *key, const char *value, const char *file) {
    return plat::write_private_profile_string(section, key, value, file);
}

int32_t test_profile_int(const char *section, const char *key, int32_t def, const char *file) {
    return plat::private_profile_int(section, key, def, file);
}
