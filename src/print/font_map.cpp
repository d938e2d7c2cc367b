// The drawing layer's font-map table in the private profile "PRT": a list of entries under
// "MAP", each entry a section of its own named after it. Entries are never removed.
#include "export.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr const char *kFile = "PRT";
constexpr const char *kMap = "MAP";
constexpr const char *kCount = "PRT_CNT";
// A name is compared with at most this many characters when looking for a duplicate.
constexpr int32_t kCompareChars = 50;
constexpr int32_t kNameChars = 128;

std::string entry_key(int32_t index) {
    char key[32];
    std::snprintf(key, sizeof key, "PRT_%03d_Name", int(index));
    return key;
}

std::string font_key(int32_t fontNo) {
    char key[32];
    std::snprintf(key, sizeof key, "Font_%02d", int(fontNo));
    return key;
}

std::string entry_name(int32_t index, int32_t chars = kNameChars) {
    std::string name(size_t(chars) + 1, '\0');
    koGetPrivateString(kMap, entry_key(index).c_str(), "", &name[0], chars + 1, kFile);
    name.resize(std::strlen(name.c_str()));
    return name;
}

}  // namespace

TARN_API int32_t TARN_CALL tarnGdiAddPrinter(const char *name, const char *sysName) {
    const char *entry = name ? name : "";
    const int32_t count = tarnGdiGetPrinterCount();
    for (int32_t i = 0; i < count; ++i)
        if (entry_name(i, kCompareChars) == entry) return 0;
    koWritePrivateLong(kMap, kCount, count + 1, kFile);
    koWritePrivateString(kMap, entry_key(count).c_str(), entry, kFile);
    koWritePrivateString(entry, "SysName", sysName ? sysName : "", kFile);
    return 1;
}

TARN_API int32_t TARN_CALL tarnGdiGetPrinterCount(void) {
    return koGetPrivateLong(kMap, kCount, 0, kFile);
}

TARN_API char *TARN_CALL tarnGdiGetPrinterName(int32_t index, char *buffer, int32_t size) {
    return koGetPrivateString(kMap, entry_key(index).c_str(), "", buffer, size, kFile);
}

TARN_API char *TARN_CALL tarnGdiGetPrinterSysName(int32_t index, char *buffer, int32_t size) {
    return koGetPrivateString(entry_name(index).c_str(), "SysName", "", buffer, size, kFile);
}

TARN_API int32_t TARN_CALL tarnGdiEnableFontMap(int32_t index, int32_t flag) {
    return koWritePrivateLong(entry_name(index).c_str(), "Map_Enabled", flag, kFile);
}

TARN_API int32_t TARN_CALL tarnGdiIsFontMap(int32_t index) {
    return koGetPrivateLong(entry_name(index).c_str(), "Map_Enabled", 0, kFile);
}

TARN_API char *TARN_CALL tarnGdiGetFontMap(int32_t index, int32_t fontNo, char *buffer,
                                           int32_t size) {
    // The buffer is both the default and the answer: the default is copied out first.
    const std::string def =
        buffer && size > 0 ? std::string(buffer, strnlen(buffer, size_t(size))) : "";
    return koGetPrivateString(entry_name(index).c_str(), font_key(fontNo).c_str(), def.c_str(),
                              buffer, size, kFile);
}

TARN_API int32_t TARN_CALL tarnGdiSetFontMap(int32_t index, int32_t fontNo, const char *spec) {
    return koWritePrivateString(entry_name(index).c_str(), font_key(fontNo).c_str(), spec, kFile);
}
