// The command words of print scripts and the kinds of page items they make.
#pragma once
#include <cstdint>
#include <string>

#include "tarngdi32.h"

namespace tarn::print {

enum class Command {
    Unknown,
    StartJob, Vars, InitPageSize, Font, NewFont, DeviceMap, Device, StartPage, DspBk, BkFile,
    XOffset, YOffset, NoSort, CalcBorder, LText, RText, CText, Bitmap, Bmp, Line, Rect, RgbFill,
    Gdi, EndPage, EndJob,
};

// Command words are upper case and compared exactly.
Command command_of(const std::string &word);
bool is_item(Command c);

// Page items in the order of their kind numbers (1 left text ... 9 drawing data).
enum ItemKind : int32_t {
    kLeftText = 1, kRightText, kCenteredText, kPicture, kBitmap, kRectangle, kLine, kFill,
    kDrawingData,
};
ItemKind item_kind(Command c);

// "GDI n" is followed by n bytes of drawing data, which readers step over; 0 for no number.
int64_t embedded_bytes(const std::string &args);

// The index's root before "STARTJOB" names it, and again once "JobName" is made from its name.
constexpr const char *kDefaultJobNode = "PrintJob";
// The role of pages before any "DEVICE", and of a "DEVICE" without a name.
constexpr const char *kStandardRole = "Standard";

}  // namespace tarn::print
