// Approximates the word sort of lstrcmpA for code page 1252 text, enough for number texts and
// plain words; the system's full sorting tables are not reproduced.
#include "platform/collate.h"

#include <cstring>
#include <initializer_list>

namespace plat {
namespace {

// Punctuation and symbols in the order of the system's default table; all other bytes that
// are neither digits nor letters follow them in byte order.
constexpr char kSymbolOrder[] = "\t\n\v\f\r !\"#$%&()*,./:;?@[\\]^_`{|}~+<=>";

// Base letters of 0xC0..0xFF, upper case then lower case; '*' marks the multiplication and
// division signs there.
constexpr char kLatinBase[] = "AAAAAAACEEEEIIIIDNOOOOO*OUUUUYTs"
                              "aaaaaaaceeeeiiiidnooooo*ouuuuyty";

enum : int { kSymbols = 0, kOtherSymbols = 100, kDigits = 400, kLetters = 500 };

// The levels compared in turn: base character, accent, then case with lower case first.
struct Weight {
    int primary = 0;
    int accent = 0;
    int upper = 0;
};

Weight letter(char base, int accent, bool upper) {
    const char lower = base >= 'A' && base <= 'Z' ? static_cast<char>(base - 'A' + 'a') : base;
    return {kLetters + (lower - 'a'), accent, upper ? 1 : 0};
}

Weight weigh(unsigned char c) {
    if (c >= '0' && c <= '9') return {kDigits + (c - '0'), 0, 0};
    if (c >= 'a' && c <= 'z') return letter(static_cast<char>(c), 0, false);
    if (c >= 'A' && c <= 'Z') return letter(static_cast<char>(c), 0, true);
    if (c >= 0xC0 && kLatinBase[c - 0xC0] != '*') {
        // Upper and lower case of one accented letter share the accent weight.
        return letter(kLatinBase[c - 0xC0], (c & 0x1F) + 1, c < 0xDF);
    }
    switch (c) {
    case 0x8A: return letter('s', 40, true);  // S caron
    case 0x9A: return letter('s', 40, false);
    case 0x8C: return letter('o', 41, true);  // OE
    case 0x9C: return letter('o', 41, false);
    case 0x8E: return letter('z', 42, true);  // Z caron
    case 0x9E: return letter('z', 42, false);
    case 0x9F: return letter('y', 32, true);  // Y diaeresis, the upper case of 0xFF
    default: break;
    }
    if (c != 0) {
        if (const char *at = std::strchr(kSymbolOrder, static_cast<char>(c))) {
            return {kSymbols + static_cast<int>(at - kSymbolOrder), 0, 0};
        }
    }
    return {kOtherSymbols + c, 0, 0};
}

// Hyphens and apostrophes keep "co-op" next to "coop": they only count when all else is equal.
bool is_ignored(unsigned char c) { return c == '-' || c == '\''; }

int compare_level(const unsigned char *a, const unsigned char *b, int Weight::*level) {
    for (;;) {
        while (*a != 0 && is_ignored(*a)) ++a;
        while (*b != 0 && is_ignored(*b)) ++b;
        if (*a == 0 || *b == 0) return (*a != 0) - (*b != 0);
        const int wa = weigh(*a).*level, wb = weigh(*b).*level;
        if (wa != wb) return wa < wb ? -1 : 1;
        ++a;
        ++b;
    }
}

int count_ignored(const unsigned char *s) {
    int n = 0;
    for (; *s != 0; ++s) n += is_ignored(*s) ? 1 : 0;
    return n;
}

}  // namespace

int compare_text(const char *a, const char *b) {
    const auto *ua = reinterpret_cast<const unsigned char *>(a != nullptr ? a : "");
    const auto *ub = reinterpret_cast<const unsigned char *>(b != nullptr ? b : "");
    for (int Weight::*level : {&Weight::primary, &Weight::accent, &Weight::upper}) {
        if (const int r = compare_level(ua, ub, level)) return r;
    }
    const int ia = count_ignored(ua), ib = count_ignored(ub);
    if (ia != ib) return ia < ib ? -1 : 1;
    const int r = std::strcmp(a != nullptr ? a : "", b != nullptr ? b : "");
    return (r > 0) - (r < 0);
}

}  // namespace plat
