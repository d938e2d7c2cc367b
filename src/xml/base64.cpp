// Base64 over 16-bit text. The decoder is lenient: white space anywhere is skipped, padding ends
// only the group it stands in (concatenated texts decode as one run), and an unknown character
// counts as padding inside a group and as the end between groups.
#include "export.h"

namespace {

constexpr int32_t kPad = 64;
constexpr int32_t kOther = 65;

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";

bool is_digit(int32_t index) { return index < kPad; }

}  // namespace

TARN_API TARN_WCHAR TARN_CALL Base64Code_W(uint32_t index) {
    return index <= uint32_t(kPad) ? TARN_WCHAR(kAlphabet[index]) : TARN_WCHAR(0);
}

TARN_API int32_t TARN_CALL Base64Index_W(TARN_WCHAR c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    if (c == '=') return kPad;
    return kOther;
}

TARN_API int32_t TARN_CALL Base64IndexP_W(const TARN_WCHAR **cursor) {
    if (cursor == nullptr || *cursor == nullptr) return kOther;
    const TARN_WCHAR *at = *cursor;
    while (*at == '\r' || *at == '\n' || *at == '\t' || *at == ' ') ++at;
    if (*at == 0) {
        *cursor = at;
        return kOther;
    }
    *cursor = at + 1;
    return Base64Index_W(*at);
}

// A NULL text decodes as an empty one.
TARN_API int32_t TARN_CALL Base64ToBytes_W(const TARN_WCHAR *text, void *out, uint32_t outSize) {
    if (text == nullptr) return 0;
    auto *bytes = static_cast<unsigned char *>(out);
    const TARN_WCHAR *at = text;
    uint32_t count = 0;
    int32_t c0 = Base64IndexP_W(&at);
    if (!is_digit(c0)) return 0;
    for (;;) {
        const int32_t c1 = Base64IndexP_W(&at);
        if (!is_digit(c1)) return int32_t(count);
        const int32_t c2 = Base64IndexP_W(&at);
        const int32_t c3 = Base64IndexP_W(&at);
        const uint32_t n = !is_digit(c2) ? 1 : !is_digit(c3) ? 2 : 3;
        count += n;
        if (bytes != nullptr) {
            if (count > outSize) return -1;
            unsigned char *put = bytes + (count - n);
            put[0] = static_cast<unsigned char>(c0 << 2 | c1 >> 4);
            if (n > 1) put[1] = static_cast<unsigned char>(c1 << 4 | c2 >> 2);
            if (n > 2) put[2] = static_cast<unsigned char>(c2 << 6 | c3);
        }
        c0 = Base64IndexP_W(&at);
        if (!is_digit(c0)) return int32_t(count);
    }
}

TARN_API int32_t TARN_CALL BytesToBase64_W(const void *data, int32_t count, TARN_WCHAR *out,
                                           int32_t outSize) {
    if (count < 1 || data == nullptr) return 0;
    const auto *bytes = static_cast<const unsigned char *>(data);
    int32_t written = 0;
    for (int64_t i = 0; i < count; i += 3) {
        if (written > INT32_MAX - 4) return -1;
        written += 4;
        if (out == nullptr) continue;
        if (written > outSize) return -1;
        const bool has1 = i + 1 < count, has2 = i + 2 < count;
        const unsigned b0 = bytes[i], b1 = has1 ? bytes[i + 1] : 0u, b2 = has2 ? bytes[i + 2] : 0u;
        TARN_WCHAR *put = out + (written - 4);
        put[0] = TARN_WCHAR(kAlphabet[b0 >> 2]);
        put[1] = TARN_WCHAR(kAlphabet[(b0 & 3) << 4 | b1 >> 4]);
        put[2] = TARN_WCHAR(kAlphabet[has1 ? ((b1 & 15) << 2 | b2 >> 6) : kPad]);
        put[3] = TARN_WCHAR(kAlphabet[has2 ? (b2 & 63) : kPad]);
    }
    return written;
}
