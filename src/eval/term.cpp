#include "eval/term.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "eval/eval_state.h"

namespace tarn::eval {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }
bool is_open(char c) { return c == '(' || c == '[' || c == '{'; }
bool is_close(char c) { return c == ')' || c == ']' || c == '}'; }
bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_mark(char c) { return c == ',' || c == '.'; }
bool is_word_char(char c) { return is_letter(c) || is_digit(c) || is_mark(c) || c == '_'; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Whole turns in gon; 2 pi as asin(1) * 4, which both platforms' libraries give exactly.
const double kTwoPi = std::asin(1.0) * 4;
const double kE = std::exp(1.0);
// Two decimals on purpose: the stored quantities were computed with it.
constexpr double kPi = 3.14;

enum Function {
    kSin,
    kCos,
    kTan,
    kAsin,
    kAcos,
    kAtan,
    kAbs,
    kSqrt,
    kSqr,
    kQdrt,
    kExp,
    kLog,
    kLog10,
    kOpt1
};

const struct {
    const char *name;
    Function function;
} kFunctions[] = {
    {"sin(", kSin},   {"cos(", kCos}, {"tan(", kTan},     {"asin(", kAsin}, {"acos(", kAcos},
    {"atan(", kAtan}, {"abs(", kAbs}, {"sqrt(", kSqrt},   {"sqr(", kSqr},   {"qdrt(", kQdrt},
    {"exp(", kExp},   {"log(", kLog}, {"log10(", kLog10}, {"opt1(", kOpt1},
};

// The runtime's mathematical error hook is replaced by the same checks on every platform, so a
// term fails alike under both libraries; the texts follow the hook's "name: TYPE error" form.
double checked_log(double x, double (*f)(double), const char *domain, const char *sing) {
    if (x < 0) raise_math_error(domain);
    else if (x == 0) raise_math_error(sing);
    return f(x);
}

double checked_exp(double x) {
    const double y = std::exp(x);
    if (std::isinf(y) && std::isfinite(x)) raise_math_error("exp: OVERFLOW error");
    return y;
}

double checked_arc(double x, double (*f)(double), const char *domain) {
    if (x < -1 || x > 1) raise_math_error(domain);
    return f(x);
}

double radians_of_gon(double x) { return x * (kTwoPi / 400); }

double gon_of_radians(double x) { return x * 400 / kTwoPi; }

double pot(double d, double exponent) {
    const double n = std::round(exponent);  // halves away from zero
    if (!(n >= -20 && n <= 20)) {
        raise_math_error("pot(d,n) exponent out of range");
        return 0;
    }
    double r = 1;
    if (n > 0) {
        for (int i = 0; i < static_cast<int>(n); ++i) r *= d;
    } else if (n < 0) {
        if (d == 0) {
            raise_math_error("pot(d,n) argument error");
            return 0;
        }
        for (int i = 0; i < static_cast<int>(-n); ++i) r /= d;
    }
    return r;
}

}  // namespace

TermResult TermEvaluator::evaluate(const char *term, size_t length) {
    term_.clear();
    for (size_t i = 0; i < length; ++i)
        if (!is_blank(term[i])) term_.push_back(term[i]);
    nodes_.clear();
    pos_ = 0;
    error_ = kTermOk;
    name_[0] = '\0';

    TermResult result{0, kTermOk};
    if (term_.empty()) {
        fail(kTermEmpty);
    } else {
        // A closing bracket at the top level ends the term as the end or "=" does.
        const int32_t first = parse_sequence(0);
        if (error_ == kTermOk && resolve_names()) {
            state().mathError = false;
            state().mathText[0] = '\0';
            // A computing error does not stop the computation: the failing operation gives 0,
            // or what the library function returned, and the term keeps what comes out.
            result.value = compute_sequence(first);
            if (state().mathError) fail(kMathError);
        }
    }
    result.error = error_;
    set_error_text(error_ == kMathError ? state().mathText : name_);
    return result;
}

int32_t TermEvaluator::new_node(Kind kind, bool negated, uint32_t name, uint32_t nameLen) {
    nodes_.push_back(Node{0, 0, -1, -1, name, nameLen, kind, negated});
    return static_cast<int32_t>(nodes_.size() - 1);
}

// Operands joined by operators, up to the end, "=" or a closing bracket (left for the caller).
int32_t TermEvaluator::parse_sequence(int depth) {
    const char *s = term_.c_str();
    int32_t first = -1, previous = -1;
    for (;;) {
        const int32_t node = parse_operand(depth);
        if (node < 0) return -1;
        if (previous >= 0) nodes_[previous].next = node;
        else first = node;
        previous = node;

        uint32_t op = 0;
        switch (s[pos_]) {
        case '\0':
        case '=':
        case ')':
        case ']':
        case '}': return first;
        case '+': op = kOpAdd; break;
        case '-': op = kOpSubtract; break;
        case '/': op = kOpDivide; break;
        case '^': op = kOpIntPower; break;
        case '*':
            if (s[pos_ + 1] == '*') {
                op = kOpPower;
                ++pos_;
            } else {
                op = kOpMultiply;
            }
            break;
        default: fail(kIllegalOpcode); return -1;
        }
        ++pos_;
        nodes_[node].op = op;
    }
}

int32_t TermEvaluator::parse_operand(int depth) {
    const char *s = term_.c_str();
    const bool negated = s[pos_] == '-';
    if (negated) ++pos_;

    if (is_open(s[pos_])) {
        if (depth >= kMaxNesting) {
            fail(kRightParenthesisExpected);
            return -1;
        }
        const int32_t node = new_node(Kind::Subterm, negated, static_cast<uint32_t>(pos_), 1);
        ++pos_;
        const int32_t sub = parse_sequence(depth + 1);
        if (sub < 0) return -1;
        if (!is_close(s[pos_])) {  // the kinds of bracket need not match
            fail(kRightParenthesisExpected);
            return -1;
        }
        ++pos_;
        nodes_[node].sub = sub;
        return node;
    }

    const size_t start = pos_;
    bool letters = false;
    int marks = 0;
    while (is_word_char(s[pos_])) {
        letters = letters || is_letter(s[pos_]);
        marks += is_mark(s[pos_]);
        ++pos_;
    }
    const auto name = static_cast<uint32_t>(start);
    const auto nameLen = static_cast<uint32_t>(pos_ - start);
    if (nameLen == 0 || (letters && marks > 0) || marks > 1) {
        fail(kValueExpected);
        return -1;
    }

    if (s[pos_] == '(') {
        if (depth >= kMaxNesting) {
            fail(kRightParenthesisExpected);
            return -1;
        }
        const int32_t node = new_node(Kind::Function, negated, name, nameLen + 1);
        ++pos_;
        const int32_t sub = parse_sequence(depth + 1);
        if (sub < 0) return -1;
        if (s[pos_] != ')') {
            fail(kRightParenthesisExpected);
            return -1;
        }
        ++pos_;
        nodes_[node].sub = sub;
        return node;
    }

    bool allLetters = true;
    for (size_t i = start; i < pos_; ++i) allLetters = allLetters && is_letter(s[i]);
    if (allLetters) return new_node(Kind::Variable, negated, name, nameLen);

    // All digits form one whole number, divided by 10 for each digit after the decimal mark;
    // letters and "_" in a number are passed over.
    double number = 0, divisor = 1;
    bool afterMark = false;
    for (size_t i = start; i < pos_; ++i) {
        if (is_digit(s[i])) {
            number = number * 10 + (s[i] - '0');
            if (afterMark) divisor *= 10;
        } else if (is_mark(s[i])) {
            afterMark = true;
        }
    }
    const int32_t node = new_node(Kind::Value, negated, name, nameLen);
    nodes_[node].value = number / divisor;
    return node;
}

// Variables and functions are looked up before anything is computed; an unknown one leaves the
// term at 0.
bool TermEvaluator::resolve_names() {
    for (auto &node : nodes_) {
        if (node.kind == Kind::Variable) {
            const char *name = term_.c_str() + node.name;
            if (node.nameLen == 2 && lower(name[0]) == 'p' && lower(name[1]) == 'i') {
                node.value = kPi;
            } else if (node.nameLen == 1 && lower(name[0]) == 'e') {
                node.value = kE;
            } else {
                const size_t n = node.nameLen < sizeof name_ - 1 ? node.nameLen : sizeof name_ - 1;
                for (size_t i = 0; i < n; ++i) name_[i] = lower(name[i]);
                name_[n] = '\0';
                fail(kUnknownVariable);
                return false;
            }
        } else if (node.kind == Kind::Function) {
            // Function names, "(" included, must match exactly: "SIN(" is no function.
            bool found = false;
            const char *name = term_.c_str() + node.name;
            for (const auto &f : kFunctions) {
                if (std::strlen(f.name) == node.nameLen &&
                    std::memcmp(f.name, name, node.nameLen) == 0) {
                    node.value = f.function;
                    found = true;
                    break;
                }
            }
            if (!found) {
                fail(kIllegalFunction);
                return false;
            }
        }
    }
    return true;
}

// Higher binding strength first, equal strength from left to right: a stack of pending operands
// whose strengths rise, so it never holds more than one per strength.
double TermEvaluator::compute_sequence(int32_t first) {
    double values[3];
    uint32_t ops[3];
    int pending = 0;
    for (int32_t i = first; i >= 0; i = nodes_[i].next) {
        const Node &node = nodes_[i];
        double v = compute_node(node);
        const uint32_t op = node.op;
        while (pending > 0 && (ops[pending - 1] & 0xF) >= (op & 0xF)) {
            --pending;
            v = apply(values[pending], ops[pending], v);
        }
        if (op == 0) return v;
        values[pending] = v;
        ops[pending] = op;
        ++pending;
    }
    return 0;
}

double TermEvaluator::compute_node(const Node &node) {
    double v = node.value;
    if (node.kind == Kind::Subterm || node.kind == Kind::Function) {
        if (node.sub < 0) {
            fail(kSubtermEmpty);
            v = 0;
        } else {
            const double inner = compute_sequence(node.sub);
            v = node.kind == Kind::Subterm ? inner
                                           : call_function(static_cast<int>(node.value), inner);
        }
    }
    return node.negated ? -v : v;
}

double TermEvaluator::apply(double a, uint32_t op, double b) {
    switch (op) {
    case kOpAdd: return a + b;
    case kOpSubtract: return a - b;
    case kOpMultiply: return a * b;
    case kOpDivide:
        if (b == 0) {
            fail(kZeroDivision);
            return 0;
        }
        return a / b;
    case kOpPower:
        return checked_exp(checked_log(a, std::log, "log: DOMAIN error", "log: SING error") * b);
    case kOpIntPower: return pot(a, b);
    default: return 0;
    }
}

double TermEvaluator::call_function(int function, double x) {
    switch (function) {
    case kSin: return std::sin(radians_of_gon(x));
    case kCos: return std::cos(radians_of_gon(x));
    case kTan: return std::tan(radians_of_gon(x));
    case kAsin: return gon_of_radians(checked_arc(x, std::asin, "asin: DOMAIN error"));
    case kAcos: return gon_of_radians(checked_arc(x, std::acos, "acos: DOMAIN error"));
    case kAtan: return gon_of_radians(std::atan(x));
    case kAbs: return std::fabs(x);
    case kSqrt:
    case kSqr:
        if (x < 0) raise_math_error("sqrt: DOMAIN error");
        return std::sqrt(x);
    case kQdrt: return x * x;
    case kExp: return checked_exp(x);
    case kLog: return checked_log(x, std::log, "log: DOMAIN error", "log: SING error");
    case kLog10: return checked_log(x, std::log10, "log10: DOMAIN error", "log10: SING error");
    case kOpt1: return x == 0 ? 1 : x;
    default: return 0;
    }
}

void TermEvaluator::set_error_text(const char *detail) {
    const char *fixed = nullptr;
    switch (error_) {
    case kTermOk: fixed = ""; break;
    case kTermEmpty: fixed = "E_TERM_EMPTY"; break;
    case kValueExpected: fixed = "E_TERM_VALUE_EXPECTED"; break;
    case kRightParenthesisExpected: fixed = "E_TERM_RIGHT_PARENTHESIS_EXPECTED"; break;
    case kIllegalOpcode: fixed = "E_TERM_ILLEGAL_OPCODE"; break;
    case kSubtermEmpty: fixed = "E_TERM_SUBTERM_EMPTY"; break;
    case kIllegalFunction: fixed = "E_TERM_ILLEGAL_FUNCTION"; break;
    case kZeroDivision: fixed = "E_TERM_ZERO_DIVISION"; break;
    case kMathError:
        std::snprintf(errorText_, sizeof errorText_, ";matherr: %s", detail ? detail : "");
        return;
    case kUnknownVariable:
        std::snprintf(errorText_, sizeof errorText_, "unbekannte Variable: %s",
                      detail ? detail : "");
        return;
    default:
        std::snprintf(errorText_, sizeof errorText_, "Error Code: %d", static_cast<int>(error_));
        return;
    }
    std::snprintf(errorText_, sizeof errorText_, "%s", fixed);
}

}  // namespace tarn::eval
