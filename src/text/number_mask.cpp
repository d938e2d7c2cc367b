// Amounts through a picture mask such as "#.###.###,##": digit places, a decimal comma,
// thousands points that vanish in front of short numbers, an optional sign place.
#include "export.h"
#include "text/number_text.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

TARN_API char *TARN_CALL koDoubleFormat(char *dst, const char *mask, double v) {
    if (dst == nullptr) return dst;
    if (mask == nullptr) {
        *dst = '\0';
        return dst;
    }

    int32_t before = 0, after = 0;
    bool comma = false, signPlace = false;
    for (const char *m = mask; *m != '\0'; ++m) {
        if (*m == '#' || is_digit(*m)) {
            ++(comma ? after : before);
        } else if (*m == ',') {
            comma = true;
        } else if (*m == '+' || *m == '-') {
            signPlace = true;
        }
    }

    // The sign is that of v itself, so -0.001 shows as "-0,00" under a sign place.
    const bool negative = v < 0;
    const int32_t width = before + after + (comma ? 1 : 0);
    // Built like DoubleToString's text, but a long mask is not held to its 30-byte limit; room
    // for the "***" marker even where the mask has fewer places.
    std::string digits(static_cast<size_t>(std::max<int32_t>(width, 3)) + 1, '\0');
    const size_t len =
        tarn::amount_text(&digits[0], signPlace && negative ? -v : v, width, after, false);
    digits.resize(len);
    if (comma) {
        const size_t at = digits.find(',');
        if (at != std::string::npos) digits.erase(at, 1);
    }

    // Every mask character gives at most one character, so dst needs the mask's length.
    size_t next = 0;
    char *out = dst;
    for (const char *m = mask; *m != '\0'; ++m) {
        const char c = *m;
        if (c == '#') {
            if (next < digits.size()) *out++ = digits[next++];
        } else if (is_digit(c)) {
            *out++ = c;
            if (next < digits.size()) ++next;
        } else if (c == '+') {
            *out++ = negative ? '-' : '+';
        } else if (c == '-') {
            *out++ = negative ? '-' : ' ';
        } else {
            *out++ = c;
        }
    }
    *out = '\0';

    for (char *p = dst; *p != '\0'; ++p) {
        if (*p == '.' && !(p > dst && is_digit(p[-1]) && is_digit(p[1]))) *p = ' ';
    }

    if (mask[0] == '<') {
        char *w = dst;
        for (const char *r = dst; *r != '\0'; ++r) {
            if (*r != ' ' && *r != '<') *w++ = *r;
        }
        *w = '\0';
    }
    return dst;
}
