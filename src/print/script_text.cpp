// Script lines as the file reader gives them, command words, and font specs.
#include <cctype>
#include <cstdlib>
#include <vector>

#include "export.h"
#include "print/print_state.h"

namespace tarn::print {
namespace {

std::string trimmed(const std::string &text) {
    size_t from = 0, to = text.size();
    while (from < to && (text[from] == ' ' || text[from] == '\t')) ++from;
    while (to > from && (text[to - 1] == ' ' || text[to - 1] == '\t')) --to;
    return text.substr(from, to - from);
}

std::vector<std::string> fields(const std::string &text) {
    std::vector<std::string> out;
    size_t from = 0;
    for (;;) {
        const size_t comma = text.find(',', from);
        out.push_back(text.substr(from, comma - from));
        if (comma == std::string::npos) return out;
        from = comma + 1;
    }
}

}  // namespace

bool read_script_line(HANDLE file, std::string *line, int chars) {
    std::vector<char> buffer(size_t(chars) + 1, '\0');
    if (X_Readln(file, buffer.data(), chars + 1) == 0) return false;
    line->assign(buffer.data());  // a CR in the line ended it, as it does for every reader
    return true;
}

void split_command(const std::string &line, std::string *word, std::string *args) {
    const size_t blank = line.find(' ');
    *word = line.substr(0, blank);
    *args = blank == std::string::npos ? std::string() : line.substr(blank + 1);
}

plat::FontSpec parse_font_spec(const std::string &spec) {
    plat::FontSpec font;
    const bool withPitch = !spec.empty() && spec[0] == '!';
    const std::vector<std::string> parts = fields(withPitch ? spec.substr(1) : spec);
    font.name = trimmed(parts[0]);
    const std::string size = parts.size() > 1 ? trimmed(parts[1]) : "";
    const double points = size.empty() ? 10.0 : decimal_value(size);
    font.points = points > 0 && points < 1000 ? points : 10.0;
    size_t flagsAt = 2;
    if (withPitch) {
        const double pitch = parts.size() > 2 ? decimal_value(trimmed(parts[2])) / 100.0 : 0;
        if (pitch > 2.0) font.charWidthPoints = 72.0 / pitch;
        flagsAt = 3;
    }
    if (parts.size() > flagsAt)
        for (const char c : parts[flagsAt]) switch (std::toupper(static_cast<unsigned char>(c))) {
            case 'N': font.weight = 400; break;
            case 'B':
            case 'F': font.weight = 700; break;
            case 'D':
            case 'S':
                font.strikeOut = true;
                font.weight = 700;
                break;
            case 'I':
            case 'K': font.italic = true; break;
            case 'U': font.underline = true; break;
            default: break;
            }
    return font;
}

}  // namespace tarn::print
