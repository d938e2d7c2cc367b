// One arithmetic term of a formula line: parsed into a tree of nodes, its names resolved, then
// computed. The nodes live in an array the evaluator keeps from term to term, so a text of many
// lines allocates only while its longest term grows the array.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarn::eval {

enum TermError : int32_t {
    kTermOk = 0,
    kTermEmpty = 1,
    kValueExpected = 2,
    kRightParenthesisExpected = 3,
    kIllegalOpcode = 4,
    kSubtermEmpty = 5,
    kIllegalFunction = 6,
    kMathError = 7,
    kZeroDivision = 8,
    kUnknownVariable = 9,
};

// The library's guard against stack exhaustion: deeper nesting fails with kRightParenthesisExpected.
constexpr int kMaxNesting = 200;

// Operator codes: the high 16 bits number the operator, the low 4 its binding strength.
constexpr uint32_t kOpAdd = 0x10001;
constexpr uint32_t kOpSubtract = 0x20001;
constexpr uint32_t kOpMultiply = 0x30002;
constexpr uint32_t kOpDivide = 0x40002;
constexpr uint32_t kOpPower = 0x50003;     // "**": exp(log(a) * b)
constexpr uint32_t kOpIntPower = 0x60003;  // "^": pot(a, b rounded)

struct TermResult {
    double value;   // on failure, what was computed (0 unless computing had begun)
    int32_t error;  // a TermError
};

class TermEvaluator {
public:
    // Evaluates `length` bytes of term text; blanks, tabs, CR, LF and form feeds are ignored.
    TermResult evaluate(const char *term, size_t length);
    // The text of the last evaluation's error, "" when it succeeded.
    const char *error_text() const { return errorText_; }

private:
    enum class Kind : uint8_t { Value, Variable, Function, Subterm };
    struct Node {
        double value;      // number, resolved variable, or the function's number once resolved
        uint32_t op;       // joins the node to its right neighbour, 0 for none
        int32_t next;      // right neighbour, -1 for none
        int32_t sub;       // subterm (a function's argument), -1 for none
        uint32_t name;     // offset of the name in term_
        uint32_t nameLen;  // a function's name includes its "("
        Kind kind;
        bool negated;
    };

    int32_t parse_sequence(int depth);
    int32_t parse_operand(int depth);
    int32_t new_node(Kind kind, bool negated, uint32_t name, uint32_t nameLen);
    bool resolve_names();
    double compute_sequence(int32_t first);
    double compute_node(const Node &node);
    double apply(double a, uint32_t op, double b);
    double call_function(int function, double x);
    void fail(int32_t code) {
        if (error_ == kTermOk) error_ = code;
    }
    void set_error_text(const char *detail);

    std::string term_;  // the term without blanks, zero-terminated
    std::vector<Node> nodes_;
    size_t pos_ = 0;
    int32_t error_ = kTermOk;
    char name_[48] = {};  // the unknown variable, lower-cased
    char errorText_[96] = {};
};

}  // namespace tarn::eval
