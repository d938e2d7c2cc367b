// Fixed-width text fields of the record files ("CharN"): n bytes without terminator, text
// left-aligned, numbers right-aligned, asterisks for a number that does not fit. A field of one
// byte holds a base-62 digit.
#include "export.h"
#include "lib/fatal.h"
#include "text/number_text.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

// Numeric fields are read through a work buffer of this size, terminator included.
constexpr int32_t kWorkSize = 30;

int32_t base62_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 36;
    return 0;
}

char base62_digit(int32_t v) {
    if (v < 0 || v > 61) return ' ';
    if (v < 10) return static_cast<char>('0' + v);
    if (v < 36) return static_cast<char>('A' + v - 10);
    return static_cast<char>('a' + v - 36);
}

void right_align(char *field, int32_t n, const char *text, size_t len) {
    const size_t width = static_cast<size_t>(n);
    if (len > width) {
        std::memset(field, '*', width);
        return;
    }
    std::memset(field, ' ', width - len);
    std::memcpy(field + (width - len), text, len);
}

// The field's text without its leading blanks, in `work`. A terminator inside the field ends
// the text early.
const char *field_text(char (&work)[kWorkSize], const char *field, int32_t n) {
    int32_t len = 0;
    if (field != nullptr) {
        while (len < n && field[len] != '\0') {
            work[len] = field[len];
            ++len;
        }
    }
    work[len] = '\0';
    const char *p = work;
    while (*p == ' ') ++p;
    return p;
}

void fill_from_string(char *field, const char *src, int32_t n, bool upper) {
    if (field == nullptr || n <= 0) return;
    std::memset(field, ' ', static_cast<size_t>(n));
    if (src == nullptr) return;
    for (int32_t i = 0; i < n && src[i] != '\0'; ++i) {
        field[i] =
            upper ? static_cast<char>(koUpperCaseOEM(static_cast<unsigned char>(src[i]))) : src[i];
    }
}

}  // namespace

TARN_API void TARN_CALL CharNFromString(const char *src, char *field, int32_t n) {
    fill_from_string(field, src, n, false);
}

TARN_API void TARN_CALL CharUFromString(const char *src, char *field, int32_t n) {
    fill_from_string(field, src, n, true);
}

TARN_API void TARN_CALL CharsFromString(char *field, const char *src, int32_t n) {
    fill_from_string(field, src, n, false);
}

TARN_API void TARN_CALL CharNToString(char *dst, const char *field, int32_t dstSize, int32_t n) {
    // Without room for a terminator nothing is written at all.
    if (dst == nullptr || dstSize <= 0) return;
    int32_t len = 0;
    if (field != nullptr) {
        const int32_t limit = n < dstSize - 1 ? n : dstSize - 1;
        while (len < limit && field[len] != '\0') {
            dst[len] = field[len];
            ++len;
        }
    }
    dst[len] = '\0';
}

TARN_API int32_t TARN_CALL CharNToLong(const char *field, int32_t n) {
    if (n == 1) return field != nullptr ? base62_value(field[0]) : 0;
    if (n >= kWorkSize) tarn::fatal("CharNToLong: a field of 30 or more characters");
    char work[kWorkSize];
    return StringToLong(field_text(work, field, n));
}

TARN_API char *TARN_CALL LongToCharN(char *field, int32_t n, int32_t v) {
    if (field == nullptr || n <= 0) return field;
    if (n == 1) {
        field[0] = base62_digit(v);
        return field;
    }
    char text[16];
    const std::to_chars_result r = std::to_chars(text, text + sizeof text, v);
    right_align(field, n, text, static_cast<size_t>(r.ptr - text));
    return field;
}

TARN_API double TARN_CALL CharNToDouble(const char *field, int32_t n, int32_t decimals) {
    if (n <= 8 && decimals == 0) return CharNToLong(field, n);
    if (n >= kWorkSize) tarn::fatal("CharNToDouble: a field of 30 or more characters");
    char work[kWorkSize];
    return StringToDouble(field_text(work, field, n));
}

TARN_API char *TARN_CALL DoubleToCharN(char *field, int32_t n, int32_t decimals, double v) {
    if (field == nullptr || n <= 0) return field;
    const double rounded = dRnd(v, decimals);
    if (n < 9 && decimals == 0) {
        // Beyond 32 bits is too long for any such field: asterisks, or a blank in one byte.
        const bool fits = rounded >= -2147483648.0 && rounded <= 2147483647.0;
        return LongToCharN(field, n, fits ? static_cast<int32_t>(rounded) : INT32_MAX);
    }
    if (!std::isfinite(rounded)) {
        std::memset(field, '*', static_cast<size_t>(n));
        return field;
    }
    char text[tarn::kFixedTextSize];
    right_align(field, n, text, tarn::fixed_text(text, rounded, decimals, '.'));
    return field;
}
