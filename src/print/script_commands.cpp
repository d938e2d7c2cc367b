#include "print/script_commands.h"

#include <cstdlib>
#include <cstring>

namespace tarn::print {

Command command_of(const std::string &word) {
    struct Word {
        const char *text;
        Command command;
    };
    static const Word kWords[] = {
        {"STARTJOB", Command::StartJob},   {"VARS", Command::Vars},
        {"INITPAGESIZE", Command::InitPageSize}, {"FONT", Command::Font},
        {"NEWFONT", Command::NewFont},     {"DEVICEMAP", Command::DeviceMap},
        {"DEVICE", Command::Device},       {"STARTPAGE", Command::StartPage},
        {"DSPBK", Command::DspBk},         {"BKFILE", Command::BkFile},
        {"XOFFSET", Command::XOffset},     {"YOFFSET", Command::YOffset},
        {"NOSORT", Command::NoSort},       {"CALCBORDER", Command::CalcBorder},
        {"LTEXT", Command::LText},         {"RTEXT", Command::RText},
        {"CTEXT", Command::CText},         {"BITMAP", Command::Bitmap},
        {"BMP", Command::Bmp},             {"LINE", Command::Line},
        {"RECT", Command::Rect},           {"RGBFILL", Command::RgbFill},
        {"GDI", Command::Gdi},             {"ENDPAGE", Command::EndPage},
        {"ENDJOB", Command::EndJob},
    };
    // Every line of a script passes here: the words are told apart by length and first letter
    // before any comparison of the whole word.
    if (word.empty()) return Command::Unknown;
    for (const Word &w : kWords)
        if (w.text[0] == word[0] && std::strlen(w.text) == word.size() && word == w.text)
            return w.command;
    return Command::Unknown;
}

ItemKind item_kind(Command c) {
    switch (c) {
    case Command::LText: return kLeftText;
    case Command::RText: return kRightText;
    case Command::CText: return kCenteredText;
    case Command::Bitmap: return kPicture;
    case Command::Bmp: return kBitmap;
    case Command::Rect: return kRectangle;
    case Command::Line: return kLine;
    case Command::RgbFill: return kFill;
    default: return kDrawingData;
    }
}

bool is_item(Command c) {
    return c == Command::LText || c == Command::RText || c == Command::CText ||
           c == Command::Bitmap || c == Command::Bmp || c == Command::Rect || c == Command::Line ||
           c == Command::RgbFill || c == Command::Gdi;
}

int64_t embedded_bytes(const std::string &args) {
    const long long n = std::strtoll(args.c_str(), nullptr, 10);
    return n > 0 ? int64_t(n) : 0;
}

}  // namespace tarn::print
