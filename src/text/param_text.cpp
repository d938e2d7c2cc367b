// Parameter text: ";"-separated "Name=Value" tokens through which many exports take their
// optional arguments. No quoting: a value never contains ";".
#include "export.h"

#include <cstddef>
#include <cstdint>

namespace {

// Internal buffers cut an over-long value to their size minus one; an over-long name never matches.
constexpr size_t kUnbounded = static_cast<size_t>(-1);
constexpr size_t kNameBuffer = 128;
constexpr size_t kNumberValueBuffer = 128;
constexpr size_t kWideValueBuffer = 256;

// Copies one token part up to a stop character, leaving out CR and LF. Returns the position of
// the stop; `truncated` is set when characters had to be left out for lack of room.
const char *copy_part(const char *p, bool stop_at_equals, char *out, size_t cap, bool &truncated) {
    size_t n = 0;
    for (; *p != '\0' && *p != ';' && !(stop_at_equals && *p == '='); ++p) {
        if (*p == '\r' || *p == '\n') continue;
        if (n + 1 < cap) {
            out[n++] = *p;
        } else {
            truncated = true;
        }
    }
    out[n] = '\0';
    return p;
}

// Token `index` split into name and value. The caller's buffers of the export are unbounded;
// the internal ones pass their size so that an over-long token cannot overrun them.
// Returns 1 when the token exists; `name_truncated` reports a name that did not fit.
int32_t fetch_token(const char *text, int32_t index, char *name, size_t name_cap, char *value,
                    size_t value_cap, bool &name_truncated) {
    name_truncated = false;
    const char *p = text != nullptr ? text : "";
    int32_t skipped = 0;
    while (skipped < index && *p != '\0') {
        while (*p != '\0' && *p != ';') ++p;
        if (*p == ';') ++p;
        ++skipped;
    }

    if (name != nullptr) name[0] = '\0';
    if (value != nullptr) value[0] = '\0';
    if (*p == '\0' || skipped < index) return 0;

    // A null output buffer still lets the token be walked; it just receives nothing.
    char name_sink[1];
    char value_sink[1];
    if (name == nullptr) {
        name = name_sink;
        name_cap = sizeof name_sink;
    }
    if (value == nullptr) {
        value = value_sink;
        value_cap = sizeof value_sink;
    }
    bool value_truncated = false;
    p = copy_part(p, true, name, name_cap, name_truncated);
    if (*p == '=') copy_part(p + 1, false, value, value_cap, value_truncated);
    return 1;
}

// The first token named `name` (case-insensitively) delivers its value into `value`.
bool find_by_name(const char *text, const char *name, char *value, size_t value_cap) {
    int32_t count = koParamTokenCnt(text);
    char token_name[kNameBuffer];
    for (int32_t i = 0; i < count; ++i) {
        bool name_truncated = false;
        if (!fetch_token(text, i, token_name, sizeof token_name, value, value_cap,
                         name_truncated)) {
            break;
        }
        if (!name_truncated && koUpperStrCmp(token_name, name) == 0) return true;
    }
    if (value != nullptr) value[0] = '\0';
    return false;
}

}  // namespace

TARN_API int32_t TARN_CALL koParamTokenCnt(const char *text) {
    if (text == nullptr || *text == '\0') return 0;
    int32_t count = 1;
    for (const char *p = text; *p != '\0'; ++p) {
        if (*p == ';' && p[1] != '\0') ++count;
    }
    return count;
}

TARN_API int32_t TARN_CALL koParamTokenGet(const char *text, int32_t index, char *name,
                                           char *value) {
    bool name_truncated = false;
    return fetch_token(text, index, name, kUnbounded, value, kUnbounded, name_truncated);
}

TARN_API int32_t TARN_CALL koParamTokenGetByName(const char *text, const char *name, char *value) {
    return find_by_name(text, name, value, kUnbounded) ? 1 : 0;
}

TARN_API int32_t TARN_CALL koParamTokenGetByNameU(const char *text, const char *name,
                                                  TARN_WCHAR *value) {
    char narrow[kWideValueBuffer];
    if (!find_by_name(text, name, narrow, sizeof narrow)) {
        if (value != nullptr) value[0] = 0;
        return 0;
    }
    if (value != nullptr) {
        // Byte for byte, no code page: the unit keeps the byte's number.
        size_t i = 0;
        for (; narrow[i] != '\0'; ++i) {
            value[i] = static_cast<TARN_WCHAR>(static_cast<unsigned char>(narrow[i]));
        }
        value[i] = 0;
    }
    return 1;
}

TARN_API int32_t TARN_CALL koParamTokenGetLong(const char *text, const char *name) {
    char value[kNumberValueBuffer];
    if (!find_by_name(text, name, value, sizeof value)) return 0;
    return StringToLong(value);
}

TARN_API double TARN_CALL koParamTokenGetDouble(const char *text, const char *name) {
    char value[kNumberValueBuffer];
    if (!find_by_name(text, name, value, sizeof value)) return 0.0;
    return StringToDouble(value);
}
