// The RTF reader behind koRtf2Ansi.
#pragma once
#include <cstdint>

namespace tarn::rtf {

enum ReaderError : int32_t {
    kOk = 0,
    kStackUnderflow = 1,
    kNoMemory = 2,
    kUnmatchedBrace = 3,
    kBadHexDigit = 4,
    kBadTable = 5,
    kBadInputState = 6,
    kEndInKeyword = 7,
    kNoReaderState = -1,  // nothing was read or written
};

// Reads the NUL-terminated RTF text `input` and writes its plain text from `out` on, with
// "RTF-Error(n): " and a piece of the remaining input behind it on an error. Nothing is written
// past `outEnd`, where the NUL may go at the latest. Returns the error number or kOk.
int32_t convert(const char *input, char *out, char *outEnd);

}  // namespace tarn::rtf
