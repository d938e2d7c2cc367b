#include "platform/codepage.h"

#include <windows.h>

namespace plat {
namespace {

// These pages reject MB_PRECOMPOSED and WC_COMPOSITECHECK with ERROR_INVALID_FLAGS, which
// would fail every conversion; they are converted without the flags instead.
bool takes_composition_flags(uint32_t cp) {
    if (cp == CP_ACP) cp = GetACP();
    else if (cp == CP_OEMCP) cp = GetOEMCP();
    return !(cp == 42 || cp == 54936 || cp == 65000 || cp == 65001 ||
             (cp >= 50220 && cp <= 50229) || (cp >= 57002 && cp <= 57011));
}

}  // namespace

int mb_to_wide(uint32_t cp, const char *src, int n, char16_t *dst, int cap) {
    if (!src || n <= 0 || cap < 0) return 0;
    DWORD flags = takes_composition_flags(cp) ? MB_PRECOMPOSED : 0;
    return MultiByteToWideChar(cp, flags, src, n, reinterpret_cast<wchar_t *>(dst), cap);
}

int wide_to_mb(uint32_t cp, const char16_t *src, int n, char *dst, int cap) {
    if (!src || n <= 0 || cap < 0) return 0;
    DWORD flags = takes_composition_flags(cp) ? WC_COMPOSITECHECK : 0;
    return WideCharToMultiByte(cp, flags, reinterpret_cast<const wchar_t *>(src), n, dst, cap,
                               nullptr, nullptr);
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
