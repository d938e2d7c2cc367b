// Number text to numbers. Input comes in German notation ("1.234,56") or with a plain decimal
// point ("1234.56"), and must read the same whatever locale the application has set.
#include "export.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <system_error>

namespace {

// The C locale's white space, spelled out so the process locale cannot widen it.
bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// from_chars leaves the value alone on overflow and on underflow; tell them apart by the
// decimal exponent of the first significant digit of the number at `first`.
double out_of_range_value(const char *first, const char *last, bool negative) {
    bool significant = false, after_point = false;
    int64_t zeros_after_point = 0, integer_digits = 0;
    const char *p = first;
    for (; p < last && (is_digit(*p) || *p == '.'); ++p) {
        if (*p == '.') {
            after_point = true;
        } else if (!after_point) {
            if (significant || *p != '0') {
                significant = true;
                ++integer_digits;
            }
        } else if (!significant) {
            if (*p == '0') {
                ++zeros_after_point;
            } else {
                significant = true;
            }
        }
    }
    const int64_t lead = integer_digits > 0 ? integer_digits - 1 : -(zeros_after_point + 1);
    int64_t exponent = 0;
    if (p < last && (*p == 'e' || *p == 'E')) {
        ++p;
        bool exp_negative = false;
        if (p < last && (*p == '+' || *p == '-')) exp_negative = *p++ == '-';
        for (; p < last && is_digit(*p); ++p) {
            if (exponent < 1000000) exponent = exponent * 10 + (*p - '0');
        }
        if (exp_negative) exponent = -exponent;
    }
    const double magnitude = lead + exponent >= 0 ? HUGE_VAL : 0.0;
    return negative ? -magnitude : magnitude;
}

// The "%lf" rule of the C locale: white space, an optional sign, then a decimal number with an
// optional point and exponent; anything after it is ignored. Infinity, NaN and hexadecimal
// spellings read as 0 on every platform, as the Windows runtime's (msvcrt) %lf reads none of them.
double scan_double(const char *p, const char *end) {
    while (p < end && is_space(*p)) ++p;
    bool negative = false;
    if (p < end && (*p == '+' || *p == '-')) negative = *p++ == '-';
    if (p == end || !(is_digit(*p) || *p == '.')) return 0.0;

    double value = 0.0;
    const std::from_chars_result r = std::from_chars(p, end, value, std::chars_format::general);
    if (r.ec == std::errc::result_out_of_range) return out_of_range_value(p, end, negative);
    if (r.ec != std::errc()) return 0.0;
    return negative ? -value : value;
}

}  // namespace

TARN_API int32_t TARN_CALL StringToLong(const char *s) {
    if (s == nullptr) return 0;
    while (is_space(*s)) ++s;
    bool negative = false;
    if (*s == '+' || *s == '-') negative = *s++ == '-';
    // Overflow wraps modulo 2^32, as the 32-bit runtimes' atol did that stored values came from.
    uint32_t value = 0;
    for (; is_digit(*s); ++s) value = value * 10u + static_cast<uint32_t>(*s - '0');
    if (negative) value = 0u - value;
    return static_cast<int32_t>(value);
}

TARN_API double TARN_CALL StringToDouble(const char *s) {
    if (s == nullptr) return 0.0;
    char text[40];
    size_t n = 0;
    while (n < sizeof text - 1 && s[n] != '\0') {
        text[n] = s[n];
        ++n;
    }
    text[n] = '\0';

    // A comma anywhere makes the text German: dots group thousands and the comma is the point.
    if (std::strchr(text, ',') != nullptr) {
        size_t w = 0;
        for (size_t r = 0; r < n; ++r) {
            if (text[r] == ' ' || text[r] == '.') continue;
            text[w++] = text[r] == ',' ? '.' : text[r];
        }
        text[w] = '\0';
        n = w;
    }

    const char *p = text;
    while (*p == '0' || *p == ' ') ++p;
    if (*p == '\0') return 0.0;
    return scan_double(p, text + n);
}
