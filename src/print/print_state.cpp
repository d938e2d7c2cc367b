// The coordinate evaluator and the state it lives in.
#include "print/print_state.h"

#include <charconv>
#include <cmath>

#include "export.h"

namespace tarn::print {
namespace {

// A decimal number with "." or "," before the fraction (scripts written with German settings
// use the comma); blanks before it are ignored, anything behind the number too.
double TARN_CALL read_decimal(XML_Node *, const char *text) {
    return text ? decimal_value(text) : 0.0;
}

}  // namespace

double decimal_value(const std::string &text) {
    char number[64];
    size_t n = 0, i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    if (i < text.size() && text[i] == '+') ++i;
    for (; i < text.size() && n < sizeof number; ++i) number[n++] = text[i] == ',' ? '.' : text[i];
    double value = 0.0;
    std::from_chars(number, number + n, value, std::chars_format::fixed);
    return std::isfinite(value) ? value : 0.0;
}

PrintState &print_state() {
    static PrintState state;
    return state;
}

koPrtEvalProc current_eval() {
    const koPrtEvalProc proc = print_state().eval;
    return proc ? proc : read_decimal;
}

int32_t centimetres_to_dots(double centimetres, int dpi) {
    if (!std::isfinite(centimetres)) return 0;
    const double clamped = std::fmax(-1.0e6, std::fmin(1.0e6, centimetres));
    const long long points = std::llround(clamped / 2.54 * 72.0);
    const long long product = points * dpi;
    return int32_t(product / 72 + (product % 72 != 0 ? 1 : 0));
}

}  // namespace tarn::print

using namespace tarn::print;

TARN_API koPrtEvalProc TARN_CALL koSetPrtEvalProc(koPrtEvalProc proc) {
    print_state().eval = proc;
    return proc;
}

TARN_API koPrtEvalProc TARN_CALL koGetPrtEvalProc(void) { return current_eval(); }
