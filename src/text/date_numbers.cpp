// Date numbers: YYYYMMDD in a signed 32-bit integer, 0 for "no date". Text forms are the German
// DD.MM.YY / DD.MM.YYYY of the entry fields and the ODBC timestamp text of databases.
#include "export.h"

#include "platform/system.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

// A date number from its parts; anything outside the 32-bit range is no date.
int32_t compose(int64_t year, int64_t month, int64_t day) {
    const int64_t v = (year * 100 + month) * 100 + day;
    return v < INT32_MIN || v > INT32_MAX ? 0 : static_cast<int32_t>(v);
}

// The text is read in fixed columns; a column that starts past the end of the text reads as 0
// rather than whatever followed the text in memory.
int32_t column(const std::string &text, size_t from, size_t to) {
    if (from >= text.size()) return 0;
    return StringToLong(text.substr(from, to - from).c_str());
}

struct Columns {
    int32_t day, month, year;
};

// DD.MM.YY[YY] by position: any separator works, but the columns are fixed.
Columns read_columns(const char *s, size_t limit) {
    std::string text;
    if (s != nullptr) {
        size_t n = 0;
        while (n < limit && s[n] != '\0') ++n;
        text.assign(s, n);
    }
    return {column(text, 0, 2), column(text, 3, 5), column(text, 6, std::string::npos)};
}

int32_t clamp(int32_t v, int32_t lo, int32_t hi) { return v < lo ? lo : v > hi ? hi : v; }

// February and the 30-day months cut the day to the month's length; `leap` is the caller's own
// idea of a leap year.
int32_t fit_day(int32_t day, int32_t month, bool leap) {
    if (month == 2) return leap ? clamp(day, 1, 29) : clamp(day, 1, 28);
    if (month == 4 || month == 6 || month == 9 || month == 11) return clamp(day, 1, 30);
    return day;
}

// The four-digit-year forms must fit the caller's buffer for every date number: values that
// cannot be written that way (negative, or a year past 9999) are written as "no date".
bool printable(int32_t d) { return d >= 0 && d <= 99999999; }

}  // namespace

TARN_API int32_t TARN_CALL ld_Day(int32_t d) { return d % 100; }

TARN_API int32_t TARN_CALL ld_Mon(int32_t d) { return d % 10000 / 100; }

TARN_API int32_t TARN_CALL ld_Year(int32_t d) { return d / 10000; }

// "DD.MM.YY", dst needs 9 bytes.
TARN_API char *TARN_CALL ld_ToString(char *dst, int32_t d) {
    if (dst == nullptr) return dst;
    if (d < 0) d = 0;  // any non-negative value fits: the year is printed modulo 100
    const int parts[3] = {ld_Day(d), ld_Mon(d), ld_Year(d) % 100};
    for (int i = 0; i < 3; ++i) {  // each part is 0..99 here
        dst[i * 3] = char('0' + parts[i] / 10);
        dst[i * 3 + 1] = char('0' + parts[i] % 10);
        dst[i * 3 + 2] = i < 2 ? '.' : '\0';
    }
    return dst;
}

// "DD.MM.YYYY", dst needs 11 bytes.
TARN_API char *TARN_CALL ld_ToStringEx(char *dst, int32_t d) {
    if (dst == nullptr) return dst;
    if (!printable(d)) d = 0;
    std::snprintf(dst, 11, "%02d.%02d.%04d", static_cast<int>(ld_Day(d)),
                  static_cast<int>(ld_Mon(d)), static_cast<int>(ld_Year(d)));
    return dst;
}

// "YYYY-MM-DD 00:00:00", dst needs 20 bytes.
TARN_API char *TARN_CALL ld_ToOdbc(char *dst, int32_t d) {
    if (dst == nullptr) return dst;
    if (!printable(d)) d = 0;
    std::snprintf(dst, 20, "%04d-%02d-%02d 00:00:00", static_cast<int>(ld_Year(d)),
                  static_cast<int>(ld_Mon(d)), static_cast<int>(ld_Day(d)));
    return dst;
}

TARN_API int32_t TARN_CALL ld_FromOdbc(const char *s) {
    if (s == nullptr) return 0;
    const size_t length = std::strlen(s);
    // A short text must not be read past its end: a missing column reads as 0.
    auto at = [&](size_t offset) {
        return static_cast<uint32_t>(offset <= length ? StringToLong(s + offset) : 0);
    };
    // Unchecked on purpose; absurd years wrap modulo 2^32 like the numbers StringToLong reads.
    return static_cast<int32_t>(at(0) * 10000u + at(5) * 100u + at(8));
}

TARN_API int32_t TARN_CALL ld_FromString(const char *s) {
    Columns c = read_columns(s, 19);
    c.month = clamp(c.month, 1, 12);
    c.day = clamp(c.day, 1, 31);
    // The year as typed decides February, so "29.02.00" becomes the 28th; a known quirk, kept.
    c.day = fit_day(c.day, c.month, c.year % 4 == 0 && c.year != 0);
    int64_t year = c.year;
    if (year < 70) {
        year += 2000;
    } else if (year < 100) {
        year += 1900;
    }
    const int32_t d = compose(year, c.month, c.day);
    return d < 0 ? 0 : d;
}

TARN_API int32_t TARN_CALL ld_FromStringEx(const char *s) {
    Columns c = read_columns(s, SIZE_MAX);
    if (c.year < 1900) return 0;
    c.month = clamp(c.month, 1, 12);
    c.day = fit_day(clamp(c.day, 1, 31), c.month, c.year % 4 == 0);
    return compose(c.year, c.month, c.day);
}

// A time outside what the machine's local-time conversion covers gives no date.
TARN_API int32_t TARN_CALL ld_FullTimeToDate(int64_t t) {
    int year = 0, month = 0, day = 0;
    if (!plat::local_date_of(t, &year, &month, &day)) return 0;
    return compose(year, month, day);
}

// Through the local calendar at noon, so a daylight-saving change cannot move the date. A date
// the calendar cannot place, before or after the step, comes back unchanged.
TARN_API int32_t TARN_CALL ld_AddDays(int32_t d, int32_t days) {
    if (d <= 0) return d;  // no date, or no date number at all, stays as it is
    const int64_t noon = plat::local_time_to_instant(ld_Year(d), ld_Mon(d), ld_Day(d), 12, 0, 0);
    if (noon == -1) return d;
    // The step is counted in 32-bit seconds as it always was, so beyond 24855 days it wraps.
    const int32_t step = static_cast<int32_t>(static_cast<uint32_t>(days) * 86400u);
    int year = 0, month = 0, day = 0;
    if (!plat::local_date_of(noon + step, &year, &month, &day)) return d;
    const int32_t result = compose(year, month, day);
    return result == 0 ? d : result;
}
