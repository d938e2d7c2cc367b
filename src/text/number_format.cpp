// Numbers to text in the applications' notation (decimal comma, right-aligned, asterisks for a
// field that is too narrow), half-away rounding and the commercial rounding of amounts.
#include "export.h"
#include "lib/fatal.h"
#include "platform/collate.h"
#include "text/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

namespace {

// Powers of ten up to 1e22 are exact doubles; a table keeps them exact whatever the runtime's
// pow() makes of them.
constexpr double kPowersOfTen[] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22,
};
constexpr int32_t kExactPowers = static_cast<int32_t>(sizeof kPowersOfTen / sizeof kPowersOfTen[0]);

double power_of_ten(int32_t d) {
    if (d >= 0 && d < kExactPowers) return kPowersOfTen[d];
    if (d < 0 && d > -kExactPowers) return 1.0 / kPowersOfTen[-d];
    return std::pow(10.0, d);
}

// Amounts beyond this are not shown, only marked.
constexpr double kLargestAmount = 1e14;

void fill_asterisks(char *dst, size_t n) {
    std::memset(dst, '*', n);
    dst[n] = '\0';
}

// The commercial rounding of RoundKfm and its three-place twin: look at the decimal after the
// kept ones in a text of one more place than asked, and if it is a 5, raise v by half a unit
// before the ordinary rounding. Reading the text rather than the binary value is what makes
// 1.005 (stored as 1.00499...) round up.
double commercial_round(double v, int32_t probeWidth, int32_t probeDecimals, size_t probeAt,
                        double half, int32_t decimals) {
    char text[32];
    const size_t len = tarn::amount_text(text, v, probeWidth, probeDecimals, false);
    // The raise does not look at the sign, so -1.005 goes to -1.00: kept, stored amounts
    // were rounded that way.
    if (len > probeAt && text[probeAt] == '5') v += half;
    tarn::amount_text(text, v, 18, decimals, false);
    return StringToDouble(text);
}

}  // namespace

namespace tarn {

size_t fixed_text(char *out, double v, int32_t decimals, char point) {
    const int precision = std::clamp<int32_t>(decimals, 0, kMaxDecimals);
    const std::to_chars_result r =
        std::to_chars(out, out + kFixedTextSize - 1, v, std::chars_format::fixed, precision);
    if (r.ec != std::errc()) {
        out[0] = '\0';
        return 0;
    }
    const size_t len = static_cast<size_t>(r.ptr - out);
    out[len] = '\0';
    if (point != '.') {
        if (char *dot = static_cast<char *>(std::memchr(out, '.', len))) *dot = point;
    }
    return len;
}

size_t amount_text(char *dst, double v, int32_t width, int32_t decimals, bool keep_whole) {
    // A negative width is taken as no width at all rather than as printf's left alignment.
    const size_t field = width > 0 ? static_cast<size_t>(width) : 0;
    // NaN gives the marker too, the library's choice: printf's NaN text differs by platform.
    const double rounded = dRnd(v, decimals);
    if (!(v <= kLargestAmount && v >= -kLargestAmount) || !std::isfinite(rounded)) {
        // The marker whatever the width: the caller's buffer must hold its four bytes.
        fill_asterisks(dst, 3);
        return 3;
    }
    char text[kFixedTextSize];
    const size_t len = fixed_text(text, rounded, decimals, ',');
    if (len > field) {
        if (!keep_whole) {
            fill_asterisks(dst, field);
            return field;
        }
        std::memcpy(dst, text, len + 1);
        return len;
    }
    const size_t pad = field - len;
    std::memset(dst, ' ', pad);
    std::memcpy(dst + pad, text, len + 1);
    return field;
}

}  // namespace tarn

TARN_API char *TARN_CALL LongToString(char *dst, int32_t v, int32_t width) {
    if (dst == nullptr) return dst;
    char text[16];
    const std::to_chars_result r = std::to_chars(text, text + sizeof text, v);
    const size_t len = static_cast<size_t>(r.ptr - text);
    const size_t field = width > 0 ? static_cast<size_t>(width) : 0;
    if (len > field) {
        fill_asterisks(dst, field);
        return dst;
    }
    std::memset(dst, ' ', field - len);
    std::memcpy(dst + (field - len), text, len);
    dst[field] = '\0';
    return dst;
}

TARN_API char *TARN_CALL DoubleToString(char *dst, double v, int32_t width, int32_t decimals) {
    if (width >= 30) tarn::fatal("DoubleToString: a width of 30 or more overruns its work buffer");
    if (dst == nullptr) return dst;
    tarn::amount_text(dst, v, width, decimals, false);
    return dst;
}

TARN_API char *TARN_CALL XDoubleToString(char *dst, double v, int32_t width, int32_t decimals) {
    if (dst == nullptr) return dst;
    tarn::amount_text(dst, v, width, decimals, true);
    return dst;
}

TARN_API double TARN_CALL dRnd(double v, int32_t decimals) {
    const double p = power_of_ten(decimals);
    const double x = v * p;
    // No guard: an x that overflows gives floor(inf) / p, an infinity.
    return x >= 0 ? std::floor(x + 0.5) / p : std::ceil(x - 0.5) / p;
}

TARN_API double TARN_CALL RoundKfm(double v) {
    // "%20.4f": the comma at 15, the third decimal at 18.
    return commercial_round(v, 20, 4, 18, 0.005, 2);
}

TARN_API double TARN_CALL RoundKfmEx(double v, int32_t decimals) {
    if (decimals == 2) return RoundKfm(v);
    // "%21.5f": the comma at 15, the fourth decimal at 19.
    if (decimals == 3) return commercial_round(v, 21, 5, 19, 0.0005, 3);
    return dRnd(v, decimals);
}

TARN_API int32_t TARN_CALL dblcmp(double a, double b, int32_t decimals) {
    char ta[32], tb[32];
    tarn::amount_text(ta, a, 15, decimals, false);
    tarn::amount_text(tb, b, 15, decimals, false);
    return plat::compare_text(ta, tb);
}
