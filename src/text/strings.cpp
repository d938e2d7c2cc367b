// Byte-string helpers (trimming, tokens, comparison) and the copy-converters between the ANSI
// page and 16-bit text.
#include "export.h"

#include "platform/bstr.h"

#include <cstdint>
#include <cstring>
#include <new>

namespace {

// The conversion calls count in int32_t; a longer text is cut to what they can address.
int32_t clamp_count(uint64_t n) {
    return n > static_cast<uint64_t>(INT32_MAX - 1) ? INT32_MAX - 1 : static_cast<int32_t>(n);
}

size_t wide_length(const TARN_WCHAR *s) {
    size_t n = 0;
    while (s[n] != 0) ++n;
    return n;
}

}  // namespace

TARN_API char *TARN_CALL llstrtrim(char *s) {
    if (s == nullptr) return s;
    size_t lead = 0;
    while (s[lead] == ' ') ++lead;
    if (lead > 0) std::memmove(s, s + lead, std::strlen(s + lead) + 1);
    return s;
}

TARN_API char *TARN_CALL lstrtrim(char *s) {
    if (s == nullptr) return s;
    size_t n = std::strlen(s);
    while (n > 0 && s[n - 1] == ' ') --n;
    s[n] = '\0';
    return s;
}

TARN_API char *TARN_CALL lstrupr(char *s) {
    if (s == nullptr) return s;
    // Deliberately not locale-aware: callers that want umlauts upper-cased use koUpperCaseEx.
    for (char *p = s; *p != '\0'; ++p) {
        if (*p >= 'a' && *p <= 'z') *p = static_cast<char>(*p - 'a' + 'A');
    }
    return s;
}

// The position between calls is one for the whole process, shared by all threads, unlike the
// runtime's strtok on Windows, which keeps one per thread.
TARN_API char *TARN_CALL lstrtok(char *s, const char *delims) {
    static char *next = nullptr;
    if (delims == nullptr) delims = "";
    if (s == nullptr) s = next;
    if (s == nullptr) return nullptr;
    s += std::strspn(s, delims);
    if (*s == '\0') {
        next = s;  // stays at the end: further calls without a string find nothing
        return nullptr;
    }
    char *end = s + std::strcspn(s, delims);
    if (*end == '\0') {
        next = end;
    } else {
        *end = '\0';
        next = end + 1;
    }
    return s;
}

TARN_API char *TARN_CALL koGetNextToken(char **cursor, char sep) {
    if (cursor == nullptr || *cursor == nullptr) return nullptr;
    char *start = *cursor;
    if (*start == '\0') return nullptr;
    char *p = start;
    while (*p != '\0' && *p != sep) ++p;
    if (*p == sep && *p != '\0') {
        *p = '\0';
        *cursor = p + 1;
    } else {
        *cursor = p;  // parked on the terminator, so the next call reports the end
    }
    return start;
}

TARN_API int32_t TARN_CALL koUpperStrCmp(const char *a, const char *b) {
    if (a == nullptr) a = "";
    if (b == nullptr) b = "";
    if (*a == '\0') return *b != '\0' ? -1 : 0;

    const unsigned char *pa = reinterpret_cast<const unsigned char *>(a);
    const unsigned char *pb = reinterpret_cast<const unsigned char *>(b);
    // Bytes go in unsigned, so ANSI umlauts compare only with themselves while OEM umlauts
    // fold to their base letter; existing callers' orderings depend on exactly that.
    for (; *pa != 0 && *pb != 0; ++pa, ++pb) {
        unsigned char ua = static_cast<unsigned char>(koUpperCaseEx(*pa));
        unsigned char ub = static_cast<unsigned char>(koUpperCaseEx(*pb));
        if (ua != ub) return ua < ub ? -1 : 1;
    }
    if (*pa != 0) return 1;
    if (*pb != 0) return -1;
    return 0;
}

TARN_API uint32_t TARN_CALL lstrlen_U(const TARN_WCHAR *s) {
    if (s == nullptr) return 0;
    return static_cast<uint32_t>(wide_length(s));
}

TARN_API TARN_WCHAR *TARN_CALL lstrcpy_A2U(TARN_WCHAR *dst, const char *src) {
    if (dst == nullptr) return dst;
    dst[0] = 0;
    if (src == nullptr) return dst;
    int32_t n = clamp_count(std::strlen(src));
    ANSI2UNC(dst, n + 1, src, n);
    return dst;
}

TARN_API TARN_WCHAR *TARN_CALL lstrcpyn_A2U(TARN_WCHAR *dst, const char *src, uint32_t dstSize) {
    if (dst == nullptr) return dst;
    // A zero-sized destination has no room even for the terminator.
    if (dstSize == 0) return dst;
    dst[0] = 0;
    if (src == nullptr) return dst;
    ANSI2UNC(dst, clamp_count(dstSize), src, clamp_count(std::strlen(src)));
    return dst;
}

TARN_API char *TARN_CALL lstrcpy_U2A(char *dst, const TARN_WCHAR *src) {
    if (dst == nullptr) return dst;
    dst[0] = '\0';
    if (src == nullptr) return dst;
    int32_t n = clamp_count(wide_length(src));
    UNC2ANSI(dst, n + 1, src, n);
    return dst;
}

TARN_API char *TARN_CALL lstrcpyn_U2A(char *dst, const TARN_WCHAR *src, uint32_t dstSize) {
    if (dst == nullptr) return dst;
    if (dstSize == 0) return dst;
    dst[0] = '\0';
    if (src == nullptr) return dst;
    UNC2ANSI(dst, clamp_count(dstSize), src, clamp_count(wide_length(src)));
    return dst;
}

TARN_API void TARN_CALL lSetBstr_A(BSTR *target, const char *src) {
    if (target == nullptr) return;
    plat::sys_free_string(*target);
    *target = nullptr;
    if (src == nullptr) return;

    int32_t n = clamp_count(std::strlen(src));
    TARN_WCHAR *wide = new (std::nothrow) TARN_WCHAR[static_cast<size_t>(n) + 1];
    // Out of memory leaves the target empty rather than letting an exception cross the export.
    if (wide == nullptr) return;
    wide[0] = 0;
    ANSI2UNC(wide, n + 1, src, n);
    *target = plat::sys_alloc_string(reinterpret_cast<const char16_t *>(wide));
    delete[] wide;
}
