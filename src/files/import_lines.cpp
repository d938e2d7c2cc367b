// Import records: ";"-separated fields, a field in double quotes may hold ";" and line ends.
#include <cstdint>

#include "export.h"

namespace {

constexpr char kQuote = '"';
constexpr char kSeparator = ';';

}  // namespace

TARN_API char *TARN_CALL koReadImportLine(HANDLE *file, int32_t maxLength) {
    if (!file || maxLength < 1) return nullptr;
    // The spare bytes behind the data keep the record terminated whatever the walk leaves.
    auto *line = static_cast<char *>(AllocGlobal(uint32_t(maxLength) + 10));
    if (!line) return nullptr;

    const HANDLE h = *file;
    const int32_t start = X_Seek(h, 0, 1);
    // One read of the maximum as a 16-bit count, its result taken as signed 16-bit: a maximum
    // of 65536 asks for nothing, and more than 32767 bytes read answer negative. Either way
    // nothing counts as read.
    const int32_t got = X_Read(h, line, uint16_t(maxLength));
    if (got <= 0) {
        X_Seek(h, start, 0);
        FreeGlobal(line);
        return nullptr;
    }

    bool begun = false, quoted = false;
    for (int32_t i = 0; i < got; ++i) {
        const char c = line[i];
        if (quoted) {
            // Only a quote right before ";" closes the field: "a"b"; is the one field a"b.
            if (c == kQuote && line[i + 1] == kSeparator) quoted = false;
            continue;
        }
        if (c == '\r') {
            line[i] = '\0';
        } else if (c == '\n') {
            line[i] = '\0';
            X_Seek(h, start + i + 1, 0);
            return line;
        } else if (c == kQuote && !begun) {
            begun = quoted = true;
        } else if (c == kSeparator) {
            begun = false;
        } else {
            begun = true;
        }
    }
    // No line end in what was read: the record is cut here and the next call starts behind it.
    X_Seek(h, start + got, 0);
    return line;
}

TARN_API char *TARN_CALL koReadImportLineAnsi(HANDLE *file, int32_t maxLength) {
    char *line = koReadImportLine(file, maxLength);
    if (line) koAnsi2Oem(line, line);
    return line;
}

TARN_API void TARN_CALL koFreeImportLine(char *line) { FreeGlobal(line); }

TARN_API char *TARN_CALL koImportToken(char **cursor, char *start) {
    if (!cursor) return nullptr;
    if (start) *cursor = start;
    char *p = *cursor;
    if (!p || *p == '\0') return nullptr;

    char *field = p;
    bool quoted = false;
    if (*p == kQuote) {
        field = ++p;
        quoted = true;
    }
    for (;; ++p) {
        if (*p == '\0') {
            *cursor = p;
            return field;
        }
        if (quoted && *p == kQuote && p[1] == kSeparator) {
            *p = '\0';
            *cursor = p + 2;
            return field;
        }
        if (!quoted && *p == kSeparator) {
            *p = '\0';
            *cursor = p + 1;
            return field;
        }
    }
}
