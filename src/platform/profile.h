// The system's WIN.INI profile calls (GetProfileIntA & co.).
#pragma once
#include <cstdint>

namespace plat {

int32_t winini_get_int(const char *section, const char *key, int32_t def);
// Copies the value (or `def`) into `out`; returns its length.
int winini_get_string(const char *section, const char *key, const char *def, char *out, int size);
bool winini_write_string(const char *section, const char *key, const char *value);

}  // namespace plat
