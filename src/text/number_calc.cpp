// The little calculator behind amount fields: "12,50*3", "(1,5+2)/4", "a>=b". It reads
// strictly left to right, as a desk calculator does, so "2+3*4" is 20.
#include "export.h"

#include <cstring>

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_allowed(char c) { return is_digit(c) || (c != '\0' && std::strchr(",()+-=*/.<>&|", c)); }

enum class Op {
    None,
    Add,
    Sub,
    Mul,
    Div,
    EqualCents,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    And,
    Or
};

Op read_operator(const char *&p, const char *end) {
    if (p == end) return Op::None;
    const char next = p + 1 < end ? p[1] : '\0';
    Op op = Op::None;
    int length = 1;
    switch (*p) {
    case '+': op = Op::Add; break;
    case '-': op = Op::Sub; break;
    case '*': op = Op::Mul; break;
    case '/': op = Op::Div; break;
    case '&': op = Op::And; break;
    case '|': op = Op::Or; break;
    case '=':
        op = next == '=' ? Op::Equal : Op::EqualCents;
        length = next == '=' ? 2 : 1;
        break;
    case '<':
        op = next == '>' ? Op::NotEqual : next == '=' ? Op::LessEqual : Op::Less;
        length = next == '>' || next == '=' ? 2 : 1;
        break;
    case '>':
        op = next == '=' ? Op::GreaterEqual : Op::Greater;
        length = next == '=' ? 2 : 1;
        break;
    default: return Op::None;
    }
    p += length;
    return op;
}

double truth(bool b) { return b ? 1.0 : 0.0; }

// "Non-zero" for & and | means non-zero as shown to one decimal.
bool shows_non_zero(double v) { return dRnd(v, 1) != 0.0; }

double apply(Op op, double a, double b) {
    switch (op) {
    case Op::Add: return a + b;
    case Op::Sub: return a - b;
    case Op::Mul: return a * b;
    case Op::Div: return b == 0.0 ? 0.0 : a / b;
    case Op::EqualCents: return truth(dblcmp(a, b, 2) == 0);
    case Op::Equal: return truth(a == b);
    case Op::NotEqual: return truth(a != b);
    case Op::Less: return truth(a < b);
    case Op::LessEqual: return truth(a <= b);
    case Op::Greater: return truth(a > b);
    case Op::GreaterEqual: return truth(a >= b);
    case Op::And: return truth(shows_non_zero(a) && shows_non_zero(b));
    case Op::Or: return truth(shows_non_zero(a) || shows_non_zero(b));
    case Op::None: break;
    }
    return a;
}

double evaluate(const char *p, const char *end);

// A number or a bracketed part. Fails without moving p when there is neither.
bool read_operand(const char *&p, const char *end, double &value) {
    if (p == end) return false;
    if (is_digit(*p) || *p == ',' || *p == '.' || *p == '-') {
        const char *q = p + 1;
        while (q < end && (is_digit(*q) || *q == ',' || *q == '.')) ++q;
        char number[256];
        const size_t len = static_cast<size_t>(q - p);
        std::memcpy(number, p, len);
        number[len] = '\0';
        value = StringToDouble(number);
        p = q;
        return true;
    }
    if (*p == '(') {
        int depth = 0;
        const char *q = p;
        for (; q < end; ++q) {
            if (*q == '(') {
                ++depth;
            } else if (*q == ')' && --depth == 0) {
                break;
            }
        }
        if (q == end) return false;
        value = evaluate(p + 1, q);
        p = q + 1;
        return true;
    }
    return false;
}

double evaluate(const char *p, const char *end) {
    double value = 0.0;
    if (!read_operand(p, end, value)) return 0.0;
    for (;;) {
        const Op op = read_operator(p, end);
        if (op == Op::None) break;
        double operand = 0.0;
        // A character that is no operand is skipped with the operator before it, and the next
        // operator is looked for after it: "2+*+3" is 5, "2+*3" and "2+(3" stop at 2.
        if (!read_operand(p, end, operand)) {
            if (p < end) ++p;
            continue;
        }
        value = apply(op, value, operand);
    }
    return value;
}

}  // namespace

TARN_API double TARN_CALL koParseDouble(const char *expr) {
    if (expr == nullptr) return 0.0;
    char text[256];
    size_t len = 0;
    for (size_t r = 0; r < sizeof text - 1 && expr[r] != '\0'; ++r) {
        if (expr[r] != ' ' && expr[r] != '\t') text[len++] = expr[r];
    }
    text[len] = '\0';
    for (size_t i = 0; i < len; ++i) {
        if (!is_allowed(text[i])) return 0.0;
    }
    return evaluate(text, text + len);
}
