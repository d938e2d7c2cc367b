// The print-script family's process-wide state, and what its files share: reading script lines,
// font specs and coordinates.
#pragma once
#include <cstdint>
#include <string>

#include "platform/draw.h"
#include "tarngdi32.h"

namespace tarn::print {

struct PrintState {
    koPrtEvalProc eval = nullptr;  // the application's coordinate evaluator; null: the default
};
PrintState &print_state();

// The evaluator in force: the application's, else the default.
koPrtEvalProc current_eval();

// The decimal number at the start of text, "." or "," before its fraction, whatever the
// process's locale; 0 when there is none.
double decimal_value(const std::string &text);

// The job's name: the index's "JobName", made from the root's name the first time it is asked
// for (the root is then called "PrintJob").
std::string job_name(XML_Node *index);

// Whole points of `centimetres`, then points * dpi / 72 rounded up: the device units the
// printers and the script painter agree on.
int32_t centimetres_to_dots(double centimetres, int dpi);

// Script lines from an open file, read in large blocks. A line is cut as the file layer's line
// reader cuts it: at most `chars` characters, the rest read as a line of its own, a CR or NUL
// ending the text while the line is consumed up to its LF.
class ScriptReader {
public:
    // Reads from the file's current position.
    explicit ScriptReader(HANDLE file);
    // The next line; false at the end of the file.
    bool next(std::string *line, int chars);
    // Steps over `count` bytes (the data behind "GDI").
    void skip(int64_t count);
    // The file position of the next line.
    int64_t position() const { return base_ + int64_t(at_); }

private:
    bool fill();
    HANDLE file_;
    std::string buffer_;
    size_t at_ = 0;
    int64_t base_ = 0;  // the file position of buffer_[0]
    bool ended_ = false;
};
// A command line's word and its arguments (what follows the one blank behind the word).
void split_command(const std::string &line, std::string *word, std::string *args);

// "Name,Size,Flags" or "!Name,Size,Pitch,Flags" (pitch in hundredths of characters per inch).
plat::FontSpec parse_font_spec(const std::string &spec);
// The font a page starts with, and the one a font number without a definition selects.
constexpr const char *kDefaultFontSpec = "Courier,10,N";
// Font specs are kept with at most this many characters.
constexpr size_t kFontSpecChars = 40;

}  // namespace tarn::print
