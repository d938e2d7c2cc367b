// Formula texts: lines of label, term, "=" and remarks whose result lines are evaluated, rounded
// commercially and summed; and the line helpers the applications use on the same texts.
#include "export.h"

#include <cstring>
#include <string>

#include "eval/eval_state.h"
#include "eval/term.h"

namespace {

using namespace tarn::eval;

const char *line_start(const char *text, int32_t line) {
    if (text == nullptr || line < 0 || *text == '\0') return nullptr;
    const char *p = text;
    for (int32_t i = 0; i < line; ++i) {
        p = std::strchr(p, '\n');
        // A final LF ends the last line; it does not open another.
        if (p == nullptr || p[1] == '\0') return nullptr;
        ++p;
    }
    return p;
}

int32_t decimals_of(const char *text) {
    return text != nullptr && text[0] == '#' && text[1] == '2' ? 2 : 3;
}

// Reads the line at p up to its LF or the text's end: whether it is a result line ("=" after
// the last ":"), and its term, which leaves out quoted remarks, comments, the label before a
// ":" and every "=". Returns where the line ends.
const char *scan_line(const char *p, std::string &term, bool &result) {
    term.clear();
    result = false;
    for (; *p != '\0' && *p != '\n'; ++p) {
        switch (*p) {
        case '"':
            ++p;
            while (*p != '\0' && *p != '\n' && *p != '"') ++p;
            if (*p != '"') return p;
            break;
        case '#':
            while (*p != '\0' && *p != '\n') ++p;
            return p;
        case '=': result = true; break;
        case ':':
            result = false;
            term.clear();
            break;
        default: term.push_back(*p);
        }
    }
    return p;
}

void record_error(int32_t line, const char *text) {
    EvalState &s = state();
    if (s.errorLine != 0) return;
    s.errorLine = line;
    std::strncpy(s.errorText, text, sizeof s.errorText - 1);
    s.errorText[sizeof s.errorText - 1] = '\0';
}

// Evaluates every result line in order and returns the sum of their rounded values; the
// rounded value of line `wanted` goes to *wantedValue.
double evaluate_text(const char *text, int32_t wanted, double *wantedValue) {
    EvalState &s = state();
    s.errorLine = 0;
    s.errorText[0] = '\0';
    if (text == nullptr) return 0;
    const int32_t decimals = decimals_of(text);

    TermEvaluator evaluator;
    std::string term;
    double sum = 0;
    int32_t line = 0;
    for (const char *p = text; *p != '\0'; ++line) {
        bool result;
        p = scan_line(p, term, result);
        if (*p == '\n') ++p;
        if (!result) continue;
        double value = 0;
        if (term.empty()) {
            // Nothing at all between label and "=" is reported; a blank term fails in the
            // evaluator as E_TERM_EMPTY, which is not.
            record_error(line + 1, "");
        } else {
            const TermResult r = evaluator.evaluate(term.data(), term.size());
            value = RoundKfmEx(r.value, decimals);
            // Only syntax is reported per line; what fails while computing counts as its value.
            if (r.error >= kValueExpected && r.error <= kIllegalOpcode)
                record_error(line + 1, evaluator.error_text());
        }
        sum += value;
        if (line == wanted) *wantedValue = value;
    }
    return sum;
}

}  // namespace

TARN_API double TARN_CALL koMultilineEval(const char *text) {
    const double sum = evaluate_text(text, -1, nullptr);
    return RoundKfmEx(sum, decimals_of(text));
}

TARN_API double TARN_CALL koMultilineEvalLine(const char *text, int32_t line) {
    double value = 0;
    evaluate_text(text, line, &value);
    return RoundKfmEx(value, decimals_of(text));
}

TARN_API int32_t TARN_CALL koMultilineEvalGetDec(const char *text) { return decimals_of(text); }

TARN_API int32_t TARN_CALL koMultilineGetErrorStat(void) { return state().errorLine; }

TARN_API const char *TARN_CALL koMultilineGetLastError(void) { return state().errorText; }

TARN_API const char *TARN_CALL koMultilineGetLine(const char *text, int32_t line) {
    return line_start(text, line);
}

TARN_API int32_t TARN_CALL koMultilineGetNumLines(const char *text) {
    if (text == nullptr || *text == '\0') return 0;
    int32_t lines = 1;
    for (const char *p = std::strchr(text, '\n'); p != nullptr && p[1] != '\0';
         p = std::strchr(p + 1, '\n'))
        ++lines;
    return lines;
}

TARN_API int32_t TARN_CALL koMultilineCopyLine(const char *text, int32_t line, char *buffer,
                                               int32_t size, BOOL terminate) {
    const char *p = line_start(text, line);
    if (p == nullptr) return 0;
    if (buffer == nullptr || size <= 0) return 1;
    const int32_t room = terminate ? size - 1 : size;
    if (!terminate) std::memset(buffer, ' ', static_cast<size_t>(size));
    // One count of copied characters: a backspace takes back the last one copied, characters
    // beyond the room are neither copied nor counted.
    int32_t copied = 0;
    for (; *p != '\0' && *p != '\n' && *p != '\r'; ++p) {
        if (*p == '\b') {
            if (copied > 0) {
                --copied;
                if (!terminate) buffer[copied] = ' ';  // the field shows a blank where it was
            }
        } else if (copied < room) {
            buffer[copied++] = *p;
        }
    }
    if (terminate) buffer[copied] = '\0';
    return 1;
}
