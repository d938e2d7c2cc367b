// What users type into date fields, normalised to DD.MM.YYYY relative to the work date:
// "H" (heute), "M" (morgen), "G" (gestern), "S" (the system date), "+14", "3.5", "12/24", ...
#include "export.h"

#include "platform/system.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr char kNoDate[] = "00.00.0000";

struct Field {
    bool set = false;
    int32_t value = 0;
};

// A field without any text stays unset, so "5.4." still takes the work date's year.
Field read_field(const std::string &text) {
    Field f;
    if (!text.empty()) {
        f.set = true;
        f.value = StringToLong(text.c_str());
    }
    return f;
}

// A day number that leaves the displayable range prints as no date, so dst never needs more
// than 11 bytes.
char *write_day_number(char *dst, int64_t n) {
    return TagzahlToString(dst, n >= 1 && n <= 99999 ? static_cast<int32_t>(n) : 0);
}

// Day, month and year in that order, separated by "." or ","; a "/" makes the number before it
// the month and the rest the year.
void read_fields(const std::string &text, Field fields[3]) {
    size_t pos = 0;
    for (int index = 0; index < 3; ++index) {
        const size_t end = text.find_first_of(".,/", pos);
        const std::string piece = text.substr(pos, end == std::string::npos ? end : end - pos);
        if (end != std::string::npos && text[end] == '/') {
            fields[1] = read_field(piece);
            fields[2] = read_field(text.substr(end + 1));
            return;
        }
        fields[index] = read_field(piece);
        if (end == std::string::npos) return;
        pos = end + 1;
    }
}

}  // namespace

// dst needs 11 bytes: the result is always DD.MM.YYYY.
TARN_API char *TARN_CALL koFormatDateString(char *dst, const char *input) {
    if (dst == nullptr) return dst;

    const int32_t work = ld_Today();
    const int64_t base = Tagzahl(ld_Day(work), ld_Mon(work), ld_Year(work));

    std::string text;
    for (size_t i = 0; input != nullptr && i < 18 && input[i] != '\0'; ++i) text += input[i];
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        text.clear();
    } else {
        text = text.substr(first, text.find_last_not_of(' ') - first + 1);
    }
    for (char &c : text) c = static_cast<char>(koUpperCase(static_cast<unsigned char>(c)));

    if (text.empty() || text == kNoDate || text == "0") {
        std::memcpy(dst, kNoDate, sizeof kNoDate);
        return dst;
    }
    if (text == "H") return write_day_number(dst, base);
    if (text == "M") return write_day_number(dst, base + 1);
    if (text == "G") return write_day_number(dst, base - 1);
    if (text == "S") {
        int year = 0, month = 0, day = 0;
        plat::local_date(&year, &month, &day);
        return write_day_number(dst, Tagzahl(day, month, year));
    }
    if (text[0] == '+' || text[0] == '-') {
        return write_day_number(dst, base + StringToLong(text.c_str()));
    }

    Field fields[3];
    read_fields(text, fields);

    // Typed two-digit years switch centuries at 80, unlike ld_FromString's 70; both are kept.
    int64_t year = fields[2].set ? fields[2].value : ld_Year(work);
    if (fields[2].set) {
        if (year < 80) {
            year += 2000;
        } else if (year < 100) {
            year += 1900;
        }
    }
    if (year < 1900 || year > 2100) year = ld_Year(work);

    int32_t month = fields[1].set && fields[1].value >= 1 ? fields[1].value : ld_Mon(work);
    if (month > 12) month = 12;

    // Counting on from the 1st lets a day past the month's end roll over: "31.2" is in March.
    int64_t n = Tagzahl(1, month, static_cast<int32_t>(year));
    if (fields[0].set && fields[0].value > 1) n += fields[0].value - 1;
    return write_day_number(dst, n);
}
