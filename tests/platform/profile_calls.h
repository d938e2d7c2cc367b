// The system's profile calls on a full INI path, for tests: on Windows the real
// GetPrivateProfileStringA & co., elsewhere the library's own INI engine.
#pragma once
#include <cstdint>

int test_profile_get(const char *section, const char *key, const char *def, char *out, int size,
                     const char *file);
bool test_profile_write(const char *section, const char *key, const char *value, const char *file);
int32_t test_profile_int(const char *section, const char *key, int32_t def, const char *file);
