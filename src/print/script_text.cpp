// Script lines as the file reader gives them, command words, and font specs.
#include <algorithm>
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

ScriptReader::ScriptReader(HANDLE file) : file_(file) {
    const int32_t at = X_Seek(file, 0, 1);
    base_ = at < 0 ? 0 : at;
    ended_ = at < 0;
}

// Appends the next block; false when the file has no more.
bool ScriptReader::fill() {
    if (ended_) return false;
    constexpr int32_t kBlock = 16384;  // a few pages of a typical script
    if (at_ > 0) {
        buffer_.erase(0, at_);
        base_ += int64_t(at_);
        at_ = 0;
    }
    const size_t had = buffer_.size();
    buffer_.resize(had + size_t(kBlock));
    const int32_t got = X_lRead(file_, &buffer_[had], kBlock);
    buffer_.resize(had + size_t(got > 0 ? got : 0));
    if (got <= 0) ended_ = true;
    return got > 0;
}

bool ScriptReader::next(std::string *line, int chars) {
    const size_t reach = size_t(chars > 0 ? chars : 1);
    size_t lf;
    for (;;) {
        lf = buffer_.find('\n', at_);
        if (lf != std::string::npos && lf - at_ < reach) break;  // the whole line is here
        if (buffer_.size() - at_ >= reach) {  // longer than the reader takes: cut it
            lf = std::string::npos;
            break;
        }
        if (!fill()) break;
    }
    if (at_ >= buffer_.size()) return false;
    const bool whole = lf != std::string::npos && lf - at_ < reach;
    const size_t take = whole ? lf - at_ : std::min(buffer_.size() - at_, reach);
    const char *text = buffer_.data() + at_;
    line->assign(text, size_t(std::find_if(text, text + take, [](char c) {
                                  return c == '\r' || c == '\0';
                              }) - text));
    at_ += whole ? take + 1 : take;
    return true;
}

void ScriptReader::skip(int64_t count) {
    while (count > 0) {
        const size_t here = std::min(size_t(count), buffer_.size() - at_);
        at_ += here;
        count -= int64_t(here);
        if (count > 0 && !fill()) return;
    }
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
