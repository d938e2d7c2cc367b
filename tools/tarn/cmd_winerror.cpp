// tarn winerror: the symbolic name of a Windows error code.
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {

int run_winerror(const Args &args) {
    const Command &cmd = command("winerror");
    if (args.size() != 1) return usage_error(cmd, "expects one CODE");
    const char *text = args[0].c_str();
    char *end = nullptr;
    const long long code = std::strtoll(text, &end, 0);
    if (!*text || *end || code < INT32_MIN || code > UINT32_MAX)
        return usage_error(cmd, "CODE must be a number");
    std::printf("%s\n", koGetWinErrorText(int32_t(code)));
    return kOk;
}

}  // namespace tarn_tool
