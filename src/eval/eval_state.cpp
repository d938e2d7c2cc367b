#include "eval/eval_state.h"

#include <cstring>

namespace tarn::eval {

namespace {
EvalState g_state;
}

EvalState &state() { return g_state; }

void raise_math_error(const char *text) {
    if (g_state.mathError) return;
    g_state.mathError = true;
    std::strncpy(g_state.mathText, text, sizeof g_state.mathText - 1);
    g_state.mathText[sizeof g_state.mathText - 1] = '\0';
}

}  // namespace tarn::eval
