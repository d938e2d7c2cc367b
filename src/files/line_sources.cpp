#include "files/line_sources.h"

#include <cstring>

namespace tarn {

int32_t wmfXFILE_phy::read_line(char *buffer, int32_t size) {
    if (!buffer || size < 1) return 0;
    // X_Readln leaves a last line without LF unterminated; a cleared buffer terminates it.
    std::memset(buffer, 0, size_t(size));
    return X_Readln(file_, buffer, size);
}

int32_t wmfXFILE_mem::read_line(char *buffer, int32_t size) {
    // No text reads like an empty one.
    if (!cursor_ || *cursor_ == 0) return 0;
    // Nothing is consumed here, so a caller that keeps asking with no room gets empty lines. The
    // empty text is stored whatever the size says: a size of 0 with a real buffer still gets it.
    if (size < 2) {
        if (buffer) buffer[0] = 0;
        return 1;
    }
    if (!buffer) return 0;
    char *out = buffer;
    while (size > 1) {
        const char c = *cursor_;
        if (c == 0) break;
        if (c == '\r' || c == '\n') {
            while (*cursor_ == '\r' || *cursor_ == '\n') ++cursor_;
            break;
        }
        *out++ = c;
        ++cursor_;
        --size;
    }
    *out = 0;
    return 1;
}

}  // namespace tarn
