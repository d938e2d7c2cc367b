// tarn rtf2txt: an RTF memo as plain text, through koRtf2Ansi.
#include <cstdio>
#include <string>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {

int run_rtf2txt(const Args &args) {
    if (args.size() > 2) return usage_error(command("rtf2txt"), "expects at most IN and OUT");
    const std::string in = args.size() > 0 ? args[0] : "-";
    const std::string out = args.size() > 1 ? args[1] : "-";
    std::string text;
    if (!read_input(in, &text)) return kFailure;
    // A memo is a NUL-terminated text: whatever follows a NUL byte is not part of it.
    text.resize(std::char_traits<char>::length(text.c_str()));
    if (text.compare(0, 5, "{\\rtf") != 0)
        std::fprintf(stderr, "tarn rtf2txt: %s does not begin with \"{\\rtf\"; copied unchanged\n",
                     in == "-" ? "standard input" : in.c_str());
    koRtf2Ansi(&text[0]);
    text.resize(std::char_traits<char>::length(text.c_str()));
    return write_output(out, text) ? kOk : kFailure;
}

}  // namespace tarn_tool
