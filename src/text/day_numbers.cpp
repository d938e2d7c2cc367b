// Day numbers: a signed 32-bit count of days in which 1 is Monday, 1 January 1900. The count has
// no century rule except for 1900 and 2100, and keeps the hole at 73050 that this leaves before
// 1 January 2100. Stored day numbers were counted this way, so the arithmetic must not be
// "corrected".
#include "export.h"

#include <cstdint>
#include <cstdio>

namespace {

// Days before each month; the 13th entry is the year's length, so a day of year past December
// reads as a day of a 13th month instead of leaving the table.
constexpr int32_t kDaysBeforeCommon[13] = {0,   31,  59,  90,  120, 151, 181,
                                           212, 243, 273, 304, 334, 365};
constexpr int32_t kDaysBeforeLeap[13] = {0,   31,  60,  91,  121, 152, 182,
                                         213, 244, 274, 305, 335, 366};

constexpr const char *kWeekdayNames[7] = {
    "Montag", "Dienstag", "Mittwoch", "Donnerstag", "Freitag", "Samstag", "Sonntag",
};

// Years past the 32-bit count give day numbers modulo 2^32, as the 32-bit arithmetic always did.
int32_t wrap32(int64_t v) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
}

bool is_leap_year(int64_t year) { return year % 4 == 0 && year != 1900 && year != 2100; }

const int32_t *days_before(int64_t year) {
    return is_leap_year(year) ? kDaysBeforeLeap : kDaysBeforeCommon;
}

int64_t floor_div(int64_t a, int64_t b) {
    return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0);
}

// The count in 64 bits, so that no input of the 32-bit interface can overflow on the way.
int64_t day_number(int64_t day, int64_t month, int64_t year) {
    // A month outside 1..12 rolls into the neighbouring years, just as a day outside the month
    // rolls into the neighbouring months.
    const int64_t carry = floor_div(month - 1, 12);
    year += carry;
    month -= carry * 12;

    const int64_t y = year - 1900;
    const int64_t base = 365 * y + y / 4;  // truncating: the count's own rule before 1900 too
    if (is_leap_year(year)) return day + base - 1 + kDaysBeforeLeap[month - 1];
    return day + base + kDaysBeforeCommon[month - 1];
}

int64_t year_of(int32_t n) { return 1900 + (4 * static_cast<int64_t>(n)) / 1461; }

int64_t day_of_year(int32_t n) { return n - day_number(1, 1, year_of(n)) + 1; }

int32_t month_of(int32_t n) {
    const int64_t doy = day_of_year(n);
    const int32_t *table = days_before(year_of(n));
    for (int32_t m = 1; m <= 12; ++m) {
        if (doy <= table[m]) return m;
    }
    return 13;
}

// Weekday for every 32-bit value; a plain (n + 6) % 7 would go negative before 1900 and index
// in front of the name table.
int32_t weekday_of(int64_t n) {
    const int64_t w = (n + 6) % 7;
    return static_cast<int32_t>(w < 0 ? w + 7 : w);
}

}  // namespace

TARN_API int32_t TARN_CALL Tagzahl(int32_t day, int32_t month, int32_t year) {
    return wrap32(day_number(day, month, year));
}

TARN_API int32_t TARN_CALL JahrVonTagzahl(int32_t n) { return static_cast<int32_t>(year_of(n)); }

TARN_API int32_t TARN_CALL TagImJahr(int32_t n) { return static_cast<int32_t>(day_of_year(n)); }

TARN_API int32_t TARN_CALL MonatVonTagzahl(int32_t n) { return month_of(n); }

TARN_API int32_t TARN_CALL TagVonTagzahl(int32_t n) {
    return static_cast<int32_t>(day_of_year(n) - days_before(year_of(n))[month_of(n) - 1]);
}

TARN_API int32_t TARN_CALL WochenTagVonTagzahl(int32_t n) { return weekday_of(n); }

TARN_API const char *TARN_CALL WochenTagStrVonTagzahl(int32_t n) {
    return kWeekdayNames[weekday_of(n)];
}

// Week 1 holds 1 January when that is Monday to Thursday. Days before the first Monday of a year
// that starts Friday to Sunday are always week 53, and late December is never moved into the
// next year's week 1. The applications show weeks by this simplified rule, so it is kept.
TARN_API int32_t TARN_CALL WocheVonTagzahl(int32_t n) {
    const int64_t j = day_number(1, 1, year_of(n));
    const int64_t w = weekday_of(j);
    int64_t week;
    if (w == 0) {
        week = (n - j) / 7 + 1;
    } else {
        const int64_t first_monday = j + 7 - w;
        if (w < 4) {
            week = n < first_monday ? 1 : (n - first_monday) / 7 + 2;
        } else {
            week = n < first_monday ? 53 : (n - first_monday) / 7 + 1;
        }
    }
    // Before 1900 the count and the year disagree and the rule runs out of range; callers index
    // week tables with the result, so it is held to 1..53.
    if (week < 1) return 1;
    if (week > 53) return 53;
    return static_cast<int32_t>(week);
}

// Always exactly 10 characters: dst needs 11 bytes.
TARN_API char *TARN_CALL TagzahlToString(char *dst, int32_t n) {
    if (dst == nullptr) return dst;
    int32_t day = 0, month = 0, year = 0;
    if (n >= 1 && n <= 99999) {
        day = TagVonTagzahl(n);  // 0 for the hole 73050, which prints as "00.01.2100"
        month = month_of(n);
        year = JahrVonTagzahl(n);
    }
    std::snprintf(dst, 11, "%02d.%02d.%04d", static_cast<int>(day), static_cast<int>(month),
                  static_cast<int>(year));
    return dst;
}

TARN_API int32_t TARN_CALL TagzahlFromString(const char *s) {
    char text[16];
    koFormatDateString(text, s);
    const int32_t d = ld_FromStringEx(text);
    if (d < 19000101) return 0;
    return Tagzahl(ld_Day(d), ld_Mon(d), ld_Year(d));
}
