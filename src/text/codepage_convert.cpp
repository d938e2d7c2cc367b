#include "export.h"
#include "platform/codepage.h"
#include "text/codepage_state.h"
#include "text/codepage_tables.h"

namespace {

// Negative lengths and sizes count as nothing to convert.
int clamp_count(int32_t dstSize, int32_t srcLen) {
    int32_t n = dstSize - 1 < srcLen ? dstSize - 1 : srcLen;
    return n > 0 ? n : 0;
}

char16_t *as_units(TARN_WCHAR *p) { return reinterpret_cast<char16_t *>(p); }
const char16_t *as_units(const TARN_WCHAR *p) { return reinterpret_cast<const char16_t *>(p); }

char16_t unit_from_char(char c, uint32_t cp) {
    char16_t u = u'?';
    char16_t out;
    if (plat::mb_to_wide(cp, &c, 1, &out, 1) == 1) u = out;
    return u;
}

char char_from_unit(char16_t u, uint32_t cp) {
    char c = '?';
    char out;
    if (plat::wide_to_mb(cp, &u, 1, &out, 1) == 1) c = out;
    return c;
}

// Strictly byte by byte, even for multi-byte pages: the OEM side only ever held DOS pages.
void translate(const char *src, char *dst, const unsigned char *table, uint32_t fromCp,
               uint32_t toCp) {
    size_t i = 0;
    for (; src[i] != '\0'; ++i) {
        if (table) {
            dst[i] = static_cast<char>(table[static_cast<unsigned char>(src[i])]);
        } else {
            dst[i] = char_from_unit(unit_from_char(src[i], fromCp), toCp);
        }
    }
    dst[i] = '\0';
}

}  // namespace

TARN_API int32_t TARN_CALL ANSI2UNC(TARN_WCHAR *dst, int32_t dstSize, const char *src,
                                    int32_t srcLen) {
    if (!dst || dstSize <= 0) return 0;
    int n = clamp_count(dstSize, srcLen);
    if (n == 0 || !src) {
        dst[0] = 0;
        return 0;
    }
    const tarn::CodePageState &s = tarn::codepages();
    if (s.fixedMode) {
        for (int i = 0; i < n; ++i) dst[i] = static_cast<unsigned char>(src[i]);
        dst[n] = 0;
        return 1;
    }
    int count = plat::mb_to_wide(s.ansiCodePage, src, n, as_units(dst), dstSize - 1);
    if (count < 0) {
        dst[0] = 0;
        return 0;
    }
    // A failed conversion reports 0 units: the caller gets an empty text and still 1.
    dst[count] = 0;
    return 1;
}

TARN_API int32_t TARN_CALL UNC2ANSI(char *dst, int32_t dstSize, const TARN_WCHAR *src,
                                    int32_t srcLen) {
    if (!dst || dstSize <= 0) return 0;
    int n = clamp_count(dstSize, srcLen);
    if (n == 0 || !src) {
        dst[0] = '\0';
        return 0;
    }
    const tarn::CodePageState &s = tarn::codepages();
    if (s.fixedMode) {
        for (int i = 0; i < n; ++i) dst[i] = static_cast<char>(src[i] & 0xFF);
        dst[n] = '\0';
        return 1;
    }
    int count = plat::wide_to_mb(s.ansiCodePage, as_units(src), n, dst, dstSize - 1);
    if (count < 0) {
        dst[0] = '\0';
        return 0;
    }
    dst[count] = '\0';
    return 1;
}

TARN_API int32_t TARN_CALL koAnsi2Oem(const char *src, char *dst) {
    if (!dst) return 1;
    if (!src) {
        dst[0] = '\0';
        return 1;
    }
    const tarn::CodePageState &s = tarn::codepages();
    translate(src, dst, s.fixedMode ? tarn::kAnsiToOem : nullptr, s.ansiCodePage, s.oemCodePage);
    return 1;
}

TARN_API int32_t TARN_CALL koOem2Ansi(const char *src, char *dst) {
    if (!dst) return 1;
    if (!src) {
        dst[0] = '\0';
        return 1;
    }
    const tarn::CodePageState &s = tarn::codepages();
    translate(src, dst, s.fixedMode ? tarn::kOemToAnsi : nullptr, s.oemCodePage, s.ansiCodePage);
    return 1;
}

TARN_API TARN_WCHAR TARN_CALL koUNCfromCHAR(char c, uint32_t codePage) {
    return static_cast<TARN_WCHAR>(unit_from_char(c, codePage));
}

TARN_API char TARN_CALL koCHARfromUNC(TARN_WCHAR u, uint32_t codePage) {
    return char_from_unit(static_cast<char16_t>(u), codePage);
}
