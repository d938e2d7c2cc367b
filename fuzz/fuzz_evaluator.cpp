// Arbitrary bytes as a formula text. Every koMultiline call must come back without reading past
// the terminator or writing past the buffer it was given (both allocated to the byte), and the
// answers must agree with each other: a line that exists can be copied, the sum holds no NaN.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "tarngdi32.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::unique_ptr<char[]> text(new char[size + 1]);
    std::memcpy(text.get(), data, size);
    text[size] = '\0';

    const double sum = koMultilineEval(text.get());
    if (std::isnan(sum)) std::abort();
    const int32_t errorLine = koMultilineGetErrorStat();
    const int32_t lines = koMultilineGetNumLines(text.get());
    if (errorLine < 0 || errorLine > lines) std::abort();
    if (std::strlen(koMultilineGetLastError()) >= 64) std::abort();

    for (int32_t line = -1; line <= lines && line < 4; ++line) {
        if (std::isnan(koMultilineEvalLine(text.get(), line))) std::abort();
        if (koMultilineGetErrorStat() != errorLine) std::abort();
        const bool exists = koMultilineGetLine(text.get(), line) != nullptr;
        if (exists != (line >= 0 && line < lines)) std::abort();
        for (int32_t room : {1, 7}) {
            for (BOOL terminate : {0, 1}) {
                std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(room)]);
                if (koMultilineCopyLine(text.get(), line, buffer.get(), room, terminate) != exists)
                    std::abort();
                if (exists && terminate &&
                    std::memchr(buffer.get(), '\0', static_cast<size_t>(room)) == nullptr)
                    std::abort();
            }
        }
    }
    return 0;
}
