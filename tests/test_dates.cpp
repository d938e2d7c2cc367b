// Day numbers, date numbers, week numbers and typed date input against the work date.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "harness.h"

namespace {

// Typed input is relative to the work date: 15.03.2024 here, put back afterwards.
struct TypedDates : testing::Test {
    void SetUp() override { saved_ = ld_Today(), ld_SetWorkDate(20240315); }
    void TearDown() override { ld_SetWorkDate(saved_); }
    int32_t saved_ = 0;
};

std::string typed(const char *input) {
    char out[16];
    std::memset(out, '#', sizeof out);
    koFormatDateString(out, input);
    EXPECT_EQ(out[11], '#') << "wrote past 11 bytes";
    return out;
}

}  // namespace

// Walks a plain calendar beside the count, and through the text up to 2100: only 1900 and 2100
// lack a 29 February, and 73050 belongs to no date. Typed dates are normalised against the work date.
TEST_F(TypedDates, DayNumbersFollowTheCalendarAndTypedDatesTheWorkDate) {
    const int lengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int d = 1, m = 1, y = 1900;
    char text[12];
    for (int32_t n = 1; n <= 99999; ++n) {
        if (n == 73050) continue;
        ASSERT_EQ(Tagzahl(d, m, y), n) << d << "." << m << "." << y;
        ASSERT_EQ(TagVonTagzahl(n) * 1000000 + MonatVonTagzahl(n) * 10000 + JahrVonTagzahl(n),
                  d * 1000000 + m * 10000 + y)
            << n;
        ASSERT_TRUE(y > 2100 || TagzahlFromString(TagzahlToString(text, n)) == n) << text;
        const bool leapDay = m == 2 && y % 4 == 0 && y != 1900 && y != 2100;
        if (++d > lengths[m - 1] + (leapDay ? 1 : 0)) d = 1, y += m / 12, m = m % 12 + 1;
    }
    struct Text {
        const char *text;
        int32_t n;
    };
    const Text texts[] = {
        {"00.01.2100", 73050}, {"13.10.2173", 99999}, {"00.00.0000", 0}, {"00.00.0000", 100000}, {"00.00.0000", -1},
    };
    const Text reads[] = {
        {"00.01.2100", 73051},
        {"01.01.2101", Tagzahl(1, 1, 2024)} /* the work year */,
        {"h", Tagzahl(15, 3, 2024)},
        {"", 0},
    };
    for (const auto &t : texts) EXPECT_STREQ(TagzahlToString(text, t.n), t.text) << t.n;
    for (const auto &r : reads) EXPECT_EQ(TagzahlFromString(r.text), r.n) << r.text;
    EXPECT_EQ(TagImJahr(73050), 0);
    const struct {
        const char *input, *output;
    } cases[] = {
        {"  H ", "15.03.2024"},       {"m", "16.03.2024"},
        {"g", "14.03.2024"},          {"-7", "08.03.2024"},
        {"+999999", "00.00.0000"},    {"", "00.00.0000"},
        {"5.0", "05.03.2024"},        {"1,2,2023", "01.02.2023"},
        {"1.1.79", "01.01.2079"},     {"1.1.80", "01.01.1980"},
        {"1.1.2101", "01.01.2024"},   {"31.2.2023", "03.03.2023"},
        {"13.13.2024", "13.12.2024"}, {"12/25", "01.12.2025"},
        {"3/", "01.03.2024"},         {"                 5.4", "05.03.2024"},  // only 18 characters are read
    };
    for (const auto &c : cases) EXPECT_EQ(typed(c.input), c.output) << '"' << c.input << '"';
    EXPECT_EQ(typed(nullptr), "00.00.0000");
    const int32_t today = ld_ResetWorkDate();  // "S" is the system's date, not the work date
    ld_SetWorkDate(20240315);
    char expected[12];
    EXPECT_EQ(typed("s"), ld_ToStringEx(expected, today));
}

// Day 0 is a Sunday; day and month overflow into the next; extremes neither overflow nor leave a
// valid table index. Days before the first Monday of a year starting Friday to Sunday are week 53,
// and late December is never week 1: both differ from ISO 8601 on purpose.
TEST(DayNumbers, WeekdaysWeeksRollOverAndExtremes) {
    EXPECT_STREQ(WochenTagStrVonTagzahl(0), "Sonntag");
    EXPECT_EQ(Tagzahl(0, 3, 2024), Tagzahl(29, 2, 2024));
    EXPECT_EQ(Tagzahl(1, 13, 2023), Tagzahl(1, 1, 2024));
    Tagzahl(INT32_MAX, INT32_MAX, INT32_MAX);
    Tagzahl(INT32_MIN, INT32_MIN, INT32_MIN);
    for (int32_t n : {INT32_MIN, -1, INT32_MAX}) {
        const int32_t weekday = WochenTagVonTagzahl(n), week = WocheVonTagzahl(n);
        EXPECT_TRUE(weekday >= 0 && weekday <= 6 && week >= 1 && week <= 53 && MonatVonTagzahl(n) <= 13 &&
                    std::abs(TagVonTagzahl(n)) < 367)
            << n;
    }
    const struct {
        int32_t d, m, y, week;
    } cases[] = {
        {1, 1, 2021, 53}, {4, 1, 2021, 1}, {31, 12, 2024, 53}, {30, 12, 2019, 53},
        {2, 1, 2022, 53}, {3, 1, 2022, 1}, {8, 1, 2024, 2},    {6, 1, 2025, 2},
    };
    for (const auto &c : cases) EXPECT_EQ(WocheVonTagzahl(Tagzahl(c.d, c.m, c.y)), c.week) << c.d << "." << c.m << c.y;
}

TEST(DateNumbers, FixedColumnTextIsRepairedAndWrittenInItsBuffer) {
    const auto s = ld_FromString, ex = ld_FromStringEx;
    const struct {
        decltype(&ld_FromString) fn;
        const char *text;
        int32_t date;
    } reads[] = {
        {s, "29.02.00", 20000228},
        {s, "01.01.69", 20690101},
        {s, "01.01.70", 19700101},
        {s, "00.13.99", 19991201},
        {s, "01.01.-3000", 0},
        {s, "01.01.000000000001999", 20190101},  // 19 characters are read
        {ex, "01.01.99", 0},
        {ex, "29.02.1900", 19000229},
        {ex, "15.03.12345", 123450315},
        {ld_FromOdbc, "2024-03-15 00:00:00", 20240315},
        {ld_FromOdbc, "2024", 20240000},
    };
    for (const auto &c : reads) EXPECT_EQ(c.fn(c.text), c.date) << c.text;
    const auto t = ld_ToString, tex = ld_ToStringEx, odbc = ld_ToOdbc;
    const struct {
        decltype(&ld_ToString) fn;
        int32_t date;
        const char *text;
    } writes[] = {
        {t, 20240315, "15.03.24"},
        {t, INT32_MAX, "47.36.48"},
        {tex, 100000000, "00.00.0000"},
        {odbc, INT32_MIN, "0000-00-00 00:00:00"},
        {odbc, 99991231, "9999-12-31 00:00:00"},
    };
    for (const auto &c : writes) {
        char out[32];
        std::memset(out, '#', sizeof out);
        EXPECT_STREQ(c.fn(out, c.date), c.text) << c.date;
        EXPECT_EQ(out[std::strlen(c.text) + 1], '#') << c.date;
    }
}

// Through the local calendar; the 32-bit step wraps beyond 24855 days. Days of 23 and 25 hours
// (31.3. and 27.10.2024 in Berlin) move no date, either way and across both changes at once.
TEST(DateNumbers, AddDaysThroughTheLocalCalendar) {
    struct Step {
        int32_t date, days, result;
    };
    const Step cases[] = {
        {20240301, -1, 20240229},    {20231231, 1, 20240101},      {20240231, 0, 20240302}, {0, 5, 0},
        {20500101, 24856, 19811215}, {20240315, -24856, 20920401},
    };
    const Step berlin[] = {
        {20240331, 1, 20240401},  {20240401, -1, 20240331},  {20241027, 1, 20241028},
        {20241028, -1, 20241027}, {20240301, 245, 20241101}, {20241101, -245, 20240301},
    };
    for (const auto &c : cases) EXPECT_EQ(ld_AddDays(c.date, c.days), c.result) << c.date;
    EXPECT_EQ(ld_FullTimeToDate(1710504000), 20240315);  // noon UTC: the same date in any zone
    EXPECT_EQ(ld_FullTimeToDate(INT64_MAX), 0);

    if (!test_env::set_time_zone("Europe/Berlin")) GTEST_SKIP() << "the tests cannot set the time zone here";
    // 23:30 UTC on 15.03.2024 is the 16th in Berlin, and still the 15th where the zone's data is missing.
    const bool haveZone = ld_FullTimeToDate(1710545400) == 20240316;
    if (haveZone)
        for (const auto &c : berlin) {
            EXPECT_EQ(ld_AddDays(c.date, c.days), c.result) << "Berlin " << c.date;
        }
    test_env::set_time_zone(nullptr);
    if (!haveZone) GTEST_SKIP() << "the zone data for Europe/Berlin is not installed";
}
