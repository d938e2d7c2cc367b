#include "settings/public_profile.h"

namespace tarn {

// The profile store (registry or INI files chosen by the profile type) is not part of the
// library yet: reads give the caller's default and writes keep nothing.
int32_t public_profile_get_long(const char *, const char *, int32_t def) { return def; }

bool public_profile_write_long(const char *, const char *, int32_t) { return false; }

}  // namespace tarn
