// Line-structured text: finding and copying lines, and word-wrapping in place.
// Lines end in LF, CR LF or the soft break CR CR LF that the wrapper writes; a lone CR ends
// no line.
#include "export.h"

#include <cstdint>
#include <cstring>

namespace {

bool is_break_after(char c) {
    switch (c) {
    case ' ':
    case '-':
    case '+':
    case '*':
    case '/':
    case '(':
    case ')':
    case '{':
    case '}':
    case '.':
    case '?':
    case '!':
    case ':':
    case ';':
    case ',':
    case '=': return true;
    default: return false;
    }
}

bool ends_word(char c) { return c == '\0' || c == ' ' || c == '\r' || c == '\n'; }

}  // namespace

TARN_API const char *TARN_CALL koGetTextLineStart(const char *text, int32_t line) {
    if (line < 0 || text == nullptr) return nullptr;
    if (line == 0) return text;
    int32_t ends = 0;
    const char *p = text;
    while (*p != '\0') {
        if (*p == '\r') {
            ++p;
            if (*p == '\r') ++p;
        }
        if (*p == '\n') {
            ++p;
            if (++ends == line) return p;
            continue;
        }
        if (*p == '\0') break;
        ++p;
    }
    return nullptr;
}

TARN_API int32_t TARN_CALL koCopyTextLine(const char *text, int32_t line, char *out,
                                          int32_t outSize) {
    // Without room for the terminator nothing can be delivered, so there is no line to report.
    if (out == nullptr || outSize < 1) return 0;
    const char *p = koGetTextLineStart(text, line);
    if (p == nullptr || *p == '\0') return 0;
    int32_t n = 0;
    while (n < outSize - 1 && p[n] != '\0' && p[n] != '\r' && p[n] != '\n') {
        out[n] = p[n];
        ++n;
    }
    out[n] = '\0';
    return 1;
}

TARN_API int32_t TARN_CALL koFormatText(char *text, int32_t width) {
    return koFormatTextEx(text, width, 0);
}

TARN_API int32_t TARN_CALL koFormatTextEx(char *text, int32_t width, BOOL squeezeBlanks) {
    // A width below one cannot hold a character; wrapping would never advance.
    if (text == nullptr || width < 1) return 1;
    const bool squeeze = squeezeBlanks != 0;
    const size_t length = std::strlen(text);
    if (length >= UINT32_MAX) return 1;
    char *src = static_cast<char *>(AllocGlobal(static_cast<uint32_t>(length + 1)));
    if (src == nullptr) return 1;
    std::memcpy(src, text, length + 1);

    char *out = text;
    size_t s = 0;
    while (src[s] != '\0') {
        // Squeezed blanks take no room, so they do not count towards the width.
        size_t start = s;
        if (squeeze) {
            while (src[start] == ' ') ++start;
        }
        size_t stop = start;
        int32_t counted = 0;
        while (counted < width && src[stop] != '\0' && src[stop] != '\r' && src[stop] != '\n') {
            if (!(squeeze && src[stop] == ' ' && stop > start && src[stop - 1] == ' ')) ++counted;
            ++stop;
        }

        // Stopped inside a word: end after the last break character, or cut hard if none.
        // The line's first character counts too, so a word is kept whole behind a lone blank.
        size_t end = stop;
        if (!ends_word(src[stop])) {
            for (size_t j = stop; j-- > start;) {
                if (is_break_after(src[j])) {
                    end = j + 1;
                    break;
                }
            }
        }

        char *line_out = out;
        for (size_t i = start; i < end; ++i) {
            if (squeeze && src[i] == ' ' && (out == line_out || out[-1] == ' ')) continue;
            *out++ = src[i];
        }
        s = end;
        if (squeeze) {
            while (src[s] == ' ') ++s;
        }

        // Line ends already in the text stay as written (LF becomes CR LF); only a wrap
        // gets the soft break CR CR LF, so readers can tell the two apart.
        if (src[s] == '\r') {
            while (src[s] == '\r' || src[s] == '\n') *out++ = src[s++];
        } else if (src[s] == '\n') {
            *out++ = '\r';
            *out++ = '\n';
            ++s;
        } else if (src[s] == '\0') {
            *out++ = '\r';
            *out++ = '\n';
        } else {
            *out++ = '\r';
            *out++ = '\r';
            *out++ = '\n';
        }
    }
    *out = '\0';
    FreeGlobal(src);
    return 1;
}
