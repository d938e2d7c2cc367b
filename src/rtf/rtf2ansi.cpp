// koRtf2Ansi: an RTF memo becomes its plain text in the caller's buffer.
#include "export.h"

#include <cstring>

#include "rtf/rtf_reader.h"

namespace {
// Room behind the work copy's NUL.
constexpr uint32_t kCopySlack = 100;
}  // namespace

TARN_API int32_t TARN_CALL koRtf2Ansi(char *text) {
    if (text == nullptr || std::strncmp(text, "{\\rtf", 5) != 0) return 1;
    const size_t length = std::strlen(text);
    if (length > UINT32_MAX - 2 * kCopySlack) return 1;
    char *copy = static_cast<char *>(AllocGlobal(static_cast<uint32_t>(length) + kCopySlack));
    // Without memory for the copy or the reader the memo stays as it is, RTF and all.
    if (copy == nullptr) return 1;
    std::memcpy(copy, text, length);
    // The caller's buffer is known to hold the text and its NUL; the output never goes further.
    tarn::rtf::convert(copy, text, text + length);
    FreeGlobal(copy);
    return 1;
}
