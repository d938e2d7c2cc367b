// Number and date text as users type it: the readers take any text, and what they read is
// written back into fields of the width asked for, never wider.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tarngdi32.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);  // cut at a NUL below
    const char *s = text.c_str();
    const double v = StringToDouble(s);
    char field[64];
    for (int32_t width : {5, 15, 25}) {
        std::memset(field, 'x', sizeof field);
        DoubleToString(field, v, width, 2);
        const size_t n = std::strlen(field);
        check(n < sizeof field);
        check(n == size_t(width) || std::strcmp(field, "***") == 0);
    }
    const int32_t days[] = {ld_FromString(s), ld_FromStringEx(s), ld_FromOdbc(s)};
    for (const int32_t day : days) {
        char back[64];
        std::memset(back, 'x', sizeof back);
        ld_ToStringEx(back, day);
        check(std::strlen(back) < sizeof back);
    }
    return 0;
}
