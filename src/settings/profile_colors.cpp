// Colours in INI files as "R=%d;G=%d;B=%d;".
#include <cstdio>

#include "export.h"
#include "platform/profile.h"
#include "settings/profile_colors.h"

void tarn::settings::color_text(COLORREF c, char *out, size_t size) {
    std::snprintf(out, size, "R=%d;G=%d;B=%d;", int(c & 0xFF), int((c >> 8) & 0xFF),
                  int((c >> 16) & 0xFF));
}

using tarn::settings::color_text;

TARN_API COLORREF TARN_CALL GetPrivateProfileRGB(const char *section, const char *key, COLORREF def,
                                                 const char *iniFile) {
    char deftext[48], text[128];
    color_text(def, deftext, sizeof deftext);
    plat::private_profile_string(section, key, deftext, text, sizeof text, iniFile);
    // Each part modulo 256: only its low byte is kept.
    const uint32_t r = uint32_t(koParamTokenGetLong(text, "R")) & 0xFF;
    const uint32_t g = uint32_t(koParamTokenGetLong(text, "G")) & 0xFF;
    const uint32_t b = uint32_t(koParamTokenGetLong(text, "B")) & 0xFF;
    return r | (g << 8) | (b << 16);
}

TARN_API COLORREF TARN_CALL WritePrivateProfileRGB(const char *section, const char *key,
                                                   COLORREF colour, const char *iniFile) {
    char text[48];
    color_text(colour, text, sizeof text);
    plat::write_private_profile_string(section, key, text, iniFile);
    return colour;
}
