// tarn eval: a formula text as the applications evaluate it, each result line with its value.
#include <cstdio>
#include <string>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

// The library's rule: "=" after the last ":", neither in a "remark" nor after a # comment.
bool is_result_line(const std::string &line) {
    bool result = false;
    for (size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '"') {
            const size_t close = line.find('"', i + 1);
            if (close == std::string::npos) break;
            i = close;
        } else if (c == '#') {
            break;
        } else if (c == '=' || c == ':') {
            result = c == '=';
        }
    }
    return result;
}

std::string amount(double v, int32_t decimals) {
    char text[64];
    XDoubleToString(text, v, 12, decimals);
    return text;
}

}  // namespace

int run_eval(const Args &args) {
    const Command &cmd = command("eval");
    if (args.size() > 1) return usage_error(cmd, "expects at most one FILE");
    std::string text;
    if (!read_input(args.empty() ? "-" : args[0], &text)) return kFailure;
    const char *all = text.c_str();  // the text ends at a zero byte, as for the applications

    const double total = koMultilineEval(all);
    const int32_t errorLine = koMultilineGetErrorStat();
    const std::string error = koMultilineGetLastError();
    const int32_t decimals = koMultilineEvalGetDec(all);

    const int32_t lines = koMultilineGetNumLines(all);
    for (int32_t n = 0; n < lines; ++n) {
        const char *start = koMultilineGetLine(all, n);
        const char *next = koMultilineGetLine(all, n + 1);
        std::string line = next ? std::string(start, next - 1) : std::string(start);
        if (!line.empty() && line.back() == '\n') line.pop_back();
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!is_result_line(line)) continue;
        // Lines are evaluated independently, so each is evaluated alone under the text's decimals.
        const std::string alone = (decimals == 2 ? "#2\n" : "") + line;
        const double value = koMultilineEvalLine(alone.c_str(), decimals == 2 ? 1 : 0);
        std::printf("%5d %s  %s\n", n + 1, amount(value, decimals).c_str(), line.c_str());
    }
    std::printf("total %s\n", amount(total, decimals).c_str());
    if (errorLine == 0) return kOk;
    std::printf("error in line %d: %s\n", errorLine, error.empty() ? "empty term" : error.c_str());
    return kFailure;
}

}  // namespace tarn_tool
