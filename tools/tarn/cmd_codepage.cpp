// tarn ansi2oem / oem2ansi: whole files through the library's code-page conversion.
#include <string>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

int convert(const char *name, const Args &args, int32_t(TARN_CALL *fn)(const char *, char *)) {
    if (args.size() != 2) return usage_error(command(name), "expects IN and OUT");
    std::string data;
    if (!read_input(args[0], &data)) return kFailure;
    // The conversion works on NUL-terminated text: each run between NUL bytes goes on its own.
    std::string text = data + '\0';
    size_t start = 0;
    while (start < data.size()) {
        fn(&text[start], &text[start]);
        start += std::char_traits<char>::length(&text[start]) + 1;
    }
    text.pop_back();
    return write_output(args[1], text) ? kOk : kFailure;
}

}  // namespace

int run_ansi2oem(const Args &args) { return convert("ansi2oem", args, koAnsi2Oem); }
int run_oem2ansi(const Args &args) { return convert("oem2ansi", args, koOem2Ansi); }

}  // namespace tarn_tool
