#include "platform/profile.h"

#include <cstring>

namespace plat {

// WIN.INI has no store on this system yet: reads give the default and writes keep nothing.
int32_t winini_get_int(const char *, const char *, int32_t def) { return def; }

int winini_get_string(const char *, const char *, const char *def, char *out, int size) {
    if (!out || size <= 0) return 0;
    const char *s = def ? def : "";
    int n = int(std::strlen(s));
    if (n > size - 1) n = size - 1;
    std::memcpy(out, s, size_t(n));
    out[n] = '\0';
    return n;
}

bool winini_write_string(const char *, const char *, const char *) { return false; }

}  // namespace plat
