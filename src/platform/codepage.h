// Code-page conversion services (MultiByteToWideChar & co. on Windows, iconv elsewhere).
#pragma once
#include <cstdint>

namespace plat {

// Converts `n` bytes of code page `cp` (0 = the system ANSI page) to at most `cap` 16-bit units,
// asking for precomposed characters; pages that refuse that request fail as on Windows.
// Returns the units written, 0 on failure.
int mb_to_wide(uint32_t cp, const char *src, int n, char16_t *dst, int cap);
// Converts `n` units to code page `cp` (0 = the system ANSI page) with the composite check, the
// page's default character for what it cannot represent. Returns the bytes written, 0 on failure.
int wide_to_mb(uint32_t cp, const char16_t *src, int n, char *dst, int cap);
bool is_valid_codepage(uint32_t cp);
uint32_t system_acp();
uint32_t system_oemcp();
// Locale-aware upper case of one character of the system ANSI page (CharUpperA).
int char_upper(int c);

}  // namespace plat
