// Packed decimal fields of the older record files: n bytes hold 2n - 1 digits, one a nibble,
// high nibble first, and a sign nibble last (C positive, D negative, F unsigned). Dates are kept
// packed as DDMMYY or as the text "DD.MM.YYYY".
#include "export.h"
#include "text/number_text.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr unsigned kPositive = 0xC, kNegative = 0xD, kUnsigned = 0xF;
// The nibble an asterisk packs to: a number too long for the field is marked, never cut.
constexpr unsigned kOverflow = 0xA;

unsigned nibble_at(const unsigned char *field, int32_t i) {
    const unsigned byte = field[i / 2];
    return i % 2 == 0 ? byte >> 4 : byte & 0x0Fu;
}

void set_nibble(unsigned char *field, int32_t i, unsigned value) {
    unsigned char &byte = field[i / 2];
    byte = i % 2 == 0 ? static_cast<unsigned char>((byte & 0x0Fu) | (value << 4))
                      : static_cast<unsigned char>((byte & 0xF0u) | (value & 0x0Fu));
}

// Packs the decimal digits right-aligned in the 2n - 1 digit places with zeros in front, or
// the overflow nibble in every place when they do not fit, and the sign nibble last.
void pack(unsigned char *field, int32_t n, const char *digits, size_t len, unsigned sign) {
    const int32_t places = 2 * n - 1;
    const bool overflow = digits == nullptr || len > static_cast<size_t>(places);
    const int32_t lead = overflow ? places : places - static_cast<int32_t>(len);
    for (int32_t i = 0; i < places; ++i) {
        const unsigned d = overflow   ? kOverflow
                           : i < lead ? 0u
                                      : static_cast<unsigned>(digits[i - lead] - '0');
        set_nibble(field, i, d);
    }
    set_nibble(field, places, sign);
}

// A null field, or n outside 1 to INT32_MAX / 2 (where 2n - 1 would overflow), is not a field.
bool usable(const unsigned char *field, int32_t n) {
    return field != nullptr && n > 0 && n <= INT32_MAX / 2;
}

void write_two(char *out, int32_t v) {
    out[0] = static_cast<char>('0' + v / 10 % 10);
    out[1] = static_cast<char>('0' + v % 10);
}

}  // namespace

TARN_API int32_t TARN_CALL CobolXToLong(const unsigned char *field, int32_t n) {
    if (!usable(field, n)) return 0;
    // As reading the digits as text with StringToLong: a nibble above 9 ends the number, and
    // more than nine digits wrap at 32 bits.
    uint32_t value = 0;
    for (int32_t i = 0; i < 2 * n - 1; ++i) {
        const unsigned d = nibble_at(field, i);
        if (d > 9) break;
        value = value * 10u + d;
    }
    return static_cast<int32_t>(value);
}

TARN_API void TARN_CALL LongToCobolX(unsigned char *field, int32_t n, int32_t v) {
    if (!usable(field, n) || v < 0) return;
    char text[16];
    char *const end = text + sizeof text;
    char *p = end;
    uint32_t rest = static_cast<uint32_t>(v);
    do {
        *--p = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    pack(field, n, p, static_cast<size_t>(end - p), kUnsigned);
}

TARN_API double TARN_CALL CobolNToDouble(const unsigned char *field, int32_t n, int32_t decimals) {
    if (!usable(field, n)) return 0.0;
    // Amounts are read in full rather than through the 32-bit reader, so fields of ten and more
    // digits keep their value.
    double value = 0.0;
    for (int32_t i = 0; i < 2 * n - 1; ++i) {
        const unsigned d = nibble_at(field, i);
        if (d > 9) break;
        value = value * 10.0 + d;
    }
    if (decimals == 2) value /= 100.0;
    if (decimals == 3) value /= 1000.0;
    // Only C counts as positive: unsigned F fields read as negative amounts.
    if (nibble_at(field, 2 * n - 1) != kPositive) value = -value;
    return dRnd(value, decimals);
}

TARN_API void TARN_CALL DoubleToCobolN(unsigned char *field, int32_t n, int32_t decimals,
                                       double v) {
    if (!usable(field, n)) return;
    double scaled = v;
    if (decimals == 2) scaled *= 100.0;
    if (decimals == 3) scaled *= 1000.0;
    char text[32];
    const size_t len = tarn::amount_text(text, scaled, 18, 0, false);
    const char *digits = text;
    while (*digits == ' ') ++digits;
    if (*digits == '*') {
        // Beyond +-1e14 there is no rounded integer: the field is marked as overflowing.
        pack(field, n, nullptr, 0, scaled < 0 ? kNegative : kPositive);
        return;
    }
    // A value rounding to "-0" is the integer 0, which is not negative.
    bool negative = false;
    if (*digits == '-') {
        ++digits;
        negative = std::strspn(digits, "0") != std::strlen(digits);
    }
    pack(field, n, digits, len - static_cast<size_t>(digits - text),
         negative ? kNegative : kPositive);
}

TARN_API void TARN_CALL CobolDatumFromLong(unsigned char *field, int32_t yyyymmdd) {
    const int32_t year = yyyymmdd / 10000, month = yyyymmdd / 100 % 100, day = yyyymmdd % 100;
    LongToCobolX(field, 4, day * 10000 + month * 100 + year % 100);
}

TARN_API void TARN_CALL CobolDatumFromString(const char *ddmmyyyy, unsigned char *field) {
    char ddmmyy[7];
    size_t len = 0;
    if (ddmmyyyy != nullptr) {
        // A text shorter than "DD.MM.YYYY" ends the number where the text ends.
        static constexpr size_t kPlaces[] = {0, 1, 3, 4, 8, 9};
        size_t available = 0;
        while (available < 10 && ddmmyyyy[available] != '\0') ++available;
        for (size_t at : kPlaces) {
            if (at >= available) break;
            ddmmyy[len++] = ddmmyyyy[at];
        }
    }
    ddmmyy[len] = '\0';
    LongToCobolX(field, 4, StringToLong(ddmmyy));
}

TARN_API char *TARN_CALL CobolDatumToString(char *dst, const unsigned char *field) {
    if (dst == nullptr) return dst;
    const int32_t v = CobolXToLong(field, 4);
    if (v < 1) {
        std::memcpy(dst, "00.00.0000", 11);
        return dst;
    }
    // The first of the seven places should be 0; the day is taken from the two after it so the
    // text stays ten characters whatever the field holds.
    const int32_t day = v / 10000 % 100, month = v / 100 % 100, yy = v % 100;
    const int32_t year = yy >= 80 ? 1900 + yy : 2000 + yy;
    write_two(dst, day);
    dst[2] = '.';
    write_two(dst + 3, month);
    dst[5] = '.';
    write_two(dst + 6, year / 100);
    write_two(dst + 8, year % 100);
    dst[10] = '\0';
    return dst;
}

TARN_API int32_t TARN_CALL CobolDatumToLong(const unsigned char *field) {
    char text[11];
    CobolDatumToString(text, field);
    return ld_FromStringEx(text);
}

TARN_API void TARN_CALL StrDatumFromLong(char *field10, int32_t yyyymmdd) {
    if (field10 == nullptr) return;
    char text[64] = {};
    ld_ToStringEx(text, yyyymmdd);
    // A shorter text than "DD.MM.YYYY" is blank-padded, as text fields are.
    size_t len = std::strlen(text);
    if (len > 10) len = 10;
    std::memset(field10, ' ', 10);
    std::memcpy(field10, text, len);
}

TARN_API int32_t TARN_CALL StrDatumToLong(const char *field10) {
    char text[11];
    size_t len = 0;
    if (field10 != nullptr) {
        while (len < 10 && field10[len] != '\0') {
            text[len] = field10[len];
            ++len;
        }
    }
    text[len] = '\0';
    return ld_FromStringEx(text);
}
