// Counters inside templates such as document numbers ("RE-2024-0815"), and the short base-40
// sort weight of codes.
#include "export.h"

#include "lib/fatal.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kMaxDigits = 20;

// Every digit of `s`, in order, as one number text. All digits belong to the one counter, so
// a template with more digits than a counter can hold is a broken contract, not bad input.
void collect_digits(const char *s, char (&digits)[kMaxDigits + 1], size_t &count) {
    count = 0;
    for (const char *p = s; *p != '\0'; ++p) {
        if (*p < '0' || *p > '9') continue;
        if (count == kMaxDigits) tarn::fatal("lAddStrWert/lGetStrWert: more than 20 digits");
        digits[count++] = *p;
    }
    digits[count] = '\0';
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The longest number text a 32-bit sum can have: "-2147483648".
constexpr size_t kMaxNumberText = 11;

// The result of lAddStrWert lives here until the next call, always at the same address. A
// counted template (at most 20 characters) gains at most 11 leading digits.
constexpr size_t kResultSize = kMaxDigits + kMaxNumberText + 1;
char g_counter_result[kResultSize];

}  // namespace

TARN_API char *TARN_CALL lAddStrWert(const char *s, int32_t add, int32_t maxLen) {
    if (s == nullptr) s = "";
    char *const result = g_counter_result;
    const size_t len = std::strlen(s);
    if (len > kMaxDigits) {
        // A template too long to count in comes back unchanged, cut to 31 characters.
        const size_t kept = len < kResultSize - 1 ? len : kResultSize - 1;
        std::memcpy(result, s, kept);
        result[kept] = '\0';
        return result;
    }

    char digits[kMaxDigits + 1];
    size_t digit_count = 0;
    collect_digits(s, digits, digit_count);

    // Wraps like the 32-bit long the stored counters were always computed in.
    const int32_t sum = static_cast<int32_t>(static_cast<uint32_t>(StringToLong(digits)) +
                                             static_cast<uint32_t>(add));
    char number[16];
    std::snprintf(number, sizeof number, "%ld", static_cast<long>(sum));
    const size_t number_len = std::strlen(number);
    int32_t extra = static_cast<int32_t>(number_len) - static_cast<int32_t>(digit_count);

    size_t out = 0;   // characters written to result
    size_t next = 0;  // next character of `number` to place
    if (extra > 0) {
        for (int32_t k = 0; k < extra; ++k) {
            // A new leading digit that would make the text longer than maxLen is dropped.
            if (static_cast<int64_t>(extra) - k + static_cast<int64_t>(len) <= maxLen) {
                result[out++] = number[k];
            }
        }
        next = static_cast<size_t>(extra);
    }
    for (const char *p = s; *p != '\0'; ++p) {
        if (!is_digit(*p)) {
            result[out++] = *p;
        } else if (extra < 0) {
            result[out++] = '0';
            ++extra;
        } else {
            result[out++] = next < number_len ? number[next++] : '0';
        }
    }
    result[out] = '\0';
    return result;
}

TARN_API int32_t TARN_CALL lGetStrWert(const char *s) {
    if (s == nullptr) return 0;
    char digits[kMaxDigits + 1];
    size_t digit_count = 0;
    collect_digits(s, digits, digit_count);
    return StringToLong(digits);
}

TARN_API uint32_t TARN_CALL lStrWeight(const char *s) {
    if (s == nullptr) s = "";
    uint32_t weight = 0;
    uint32_t previous = 0;  // an unvalued character in the first place adds 0
    for (int place = 0; place < 6; ++place) {
        weight *= 40;
        if (*s == '\0') continue;
        const char c = *s++;
        uint32_t value = previous;
        // Digits weigh 1 to 10 in the order of the keyboard row, "1" first and "0" last.
        if (c >= '1' && c <= '9') {
            value = static_cast<uint32_t>(c - '0');
        } else if (c == '0') {
            value = 10;
        } else if (c >= 'A' && c <= 'Z') {
            value = static_cast<uint32_t>(c - 'A') + 11;
        }
        // Lower case and punctuation repeat the previous character's value: stored weights
        // were computed that way, so the sort order depends on it.
        weight += value;
        previous = value;
    }
    return weight;
}
