#include "export.h"
#include "platform/codepage.h"
#include "text/codepage_state.h"

namespace {

bool is_char_value(int32_t c) { return c >= -128 && c <= 255; }

// Callers pass characters both as unsigned bytes and as sign-extended chars; the result comes
// back in the form the character came in, so `(char)result` and `result == c` both work.
int32_t in_form_of(int32_t c, unsigned char byte) {
    return c < 0 && byte >= 0x80 ? static_cast<int32_t>(byte) - 256 : byte;
}

}  // namespace

TARN_API int32_t TARN_CALL koUpperCase(int32_t c) {
    if (!is_char_value(c)) return c;
    int up = plat::char_upper(c & 0xFF);
    return in_form_of(c, static_cast<unsigned char>(up));
}

// The umlaut folding deliberately matches OEM codes only as unsigned numbers and ANSI codes
// only sign-extended: comparisons that pass unsigned bytes fold OEM umlauts and keep ANSI
// umlauts apart, and existing sort orders depend on exactly that.
TARN_API int32_t TARN_CALL koUpperCaseEx(int32_t c) {
    if (!tarn::codepages().fixedMode) return koUpperCase(c);
    if (c >= 'a' && c <= 'z') return c - 'a' + 'A';
    switch (c) {
    case 0x84:
    case 0x8E:  // OEM ä Ä
    case -28:
    case -60:  // ANSI ä Ä
        return 'A';
    case 0x94:
    case 0x99:  // OEM ö Ö
    case -10:
    case -42:  // ANSI ö Ö
        return 'O';
    case 0x81:
    case 0x9A:  // OEM ü Ü
    case -4:
    case -36:  // ANSI ü Ü
        return 'U';
    case 0xE1:  // OEM ß, also an unsigned ANSI á
    case -33:   // ANSI ß
        return 'S';
    default: return c;
    }
}

TARN_API int32_t TARN_CALL koUpperCaseOEM(int32_t c) {
    uint32_t oem = tarn::codepages().oemCodePage;
    if (oem != 858 && oem != 850) {
        // Unknown OEM layout: borrow the system's upper case through the ANSI page.
        if (!is_char_value(c)) return c;
        char ansi = koCHARfromUNC(koUNCfromCHAR(static_cast<char>(c), oem), 0);
        int32_t up = koUpperCase(static_cast<unsigned char>(ansi));
        char back = koCHARfromUNC(koUNCfromCHAR(static_cast<char>(up), 0), oem);
        return in_form_of(c, static_cast<unsigned char>(back));
    }
    if (c >= 'a' && c <= 'z') return c - 'a' + 'A';
    switch (c) {
    case 0x81: return 0x9A;  // OEM ü -> Ü
    case 0x84: return 0x8E;  // OEM ä -> Ä
    case 0x94: return 0x99;  // OEM ö -> Ö
    case -28: return -60;    // ANSI ä -> Ä, sign-extended
    case -10: return -42;    // ANSI ö -> Ö
    case -4: return -36;     // ANSI ü -> Ü
    default: return c;       // ß has no capital here
    }
}
