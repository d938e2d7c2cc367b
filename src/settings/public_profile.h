// The library's own settings in section "TARNGDI" of the public profile "DEFAULT".
#pragma once
#include <cstdint>

namespace tarn {

int32_t public_profile_get_long(const char *section, const char *key, int32_t def);
bool public_profile_write_long(const char *section, const char *key, int32_t value);

}  // namespace tarn
