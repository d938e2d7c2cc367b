#include "lib/fatal.h"

#include <cstdio>
#include <cstdlib>

namespace tarn {

void fatal(const char *what) {
    std::fprintf(stderr, "tarngdi32: fatal error: %s\n", what);
    std::fflush(stderr);
    std::abort();
}

}  // namespace tarn
