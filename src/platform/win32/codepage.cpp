#include "platform/codepage.h"

#include <windows.h>

namespace plat {

// Both calls always take the composition flags. Pages that refuse them (UTF-8, UTF-7, Symbol,
// ISO-2022, GB18030, ...) fail with ERROR_INVALID_FLAGS, and the callers' handling of a failed
// conversion is what applies to them.

int mb_to_wide(uint32_t cp, const char *src, int n, char16_t *dst, int cap) {
    if (!src || n <= 0 || cap < 0) return 0;
    return MultiByteToWideChar(cp, MB_PRECOMPOSED, src, n, reinterpret_cast<wchar_t *>(dst), cap);
}

int wide_to_mb(uint32_t cp, const char16_t *src, int n, char *dst, int cap) {
    if (!src || n <= 0 || cap < 0) return 0;
    return WideCharToMultiByte(cp, WC_COMPOSITECHECK, reinterpret_cast<const wchar_t *>(src), n,
                               dst, cap, nullptr, nullptr);
}

bool is_valid_codepage(uint32_t cp) { return IsValidCodePage(cp) != FALSE; }

uint32_t system_acp() { return GetACP(); }

uint32_t system_oemcp() { return GetOEMCP(); }

int char_upper(int c) {
    char buf[2] = {static_cast<char>(c), '\0'};
    CharUpperA(buf);
    return static_cast<unsigned char>(buf[0]);
}

}  // namespace plat
