// The formula evaluator's process-wide state: the error state of the last text evaluation and the
// mathematical error flag that the computing functions raise. Unguarded, like the rest of the
// process-wide state: evaluations run on the application's user-interface thread.
#pragma once
#include <cstdint>

namespace tarn::eval {

struct EvalState {
    int32_t errorLine = 0;    // first result line (from 1) that was empty or did not parse
    char errorText[64] = {};  // that line's error text; "" for an empty term
    bool mathError = false;   // raised while computing, cleared before each term
    char mathText[64] = {};   // what went wrong, kept from the first raise
};

EvalState &state();

// Raises the mathematical error flag; the first text of a computation is the one kept.
void raise_math_error(const char *text);

}  // namespace tarn::eval
