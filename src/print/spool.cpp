// The spool folder and spool files: a copy of a script under a name made from the time.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "export.h"
#include "platform/files.h"
#include "platform/system.h"

namespace {

// Attempts at a free name before giving up: a folder that full is no place to spool to.
constexpr uint32_t kNameAttempts = 100000;

std::string spool_folder() {
    char full[4096] = "";
    char *filePart = nullptr;
    const int n = plat::full_path("..\\SPOOL", full, sizeof full, &filePart);
    if (n > 0 && n < int(sizeof full)) {
        const uint32_t attributes = plat::file_attributes(full);
        if (attributes != 0xFFFFFFFFu && (attributes & plat::kAttrDirectory))
            return std::string(full) + plat::path_separator();
    }
    std::string temp = plat::temp_folder();
    if (temp.empty() || !plat::is_path_separator(temp.back())) temp += plat::path_separator();
    return temp;
}

}  // namespace

TARN_API int32_t TARN_CALL koPrinterGetSpoolDir(char *buffer) {
    if (!buffer) return 1;
    const std::string folder = spool_folder();
    const size_t n = std::min(folder.size(), size_t(199));
    std::memcpy(buffer, folder.data(), n);
    buffer[n] = '\0';
    return 1;
}

TARN_API int32_t TARN_CALL koPrinterSpool(const char *file, int32_t deleteSource) {
    if (!file || !*file) return 0;
    const std::string folder = spool_folder();
    uint32_t stamp = uint32_t(std::time(nullptr));
    std::string target;
    for (uint32_t attempt = 0;; ++attempt, ++stamp) {
        if (attempt == kNameAttempts) return 0;
        char name[16];
        std::snprintf(name, sizeof name, "%04X%04X.SPL", unsigned(stamp >> 16),
                      unsigned(stamp & 0xFFFF));
        target = folder + name;
        if (!plat::file_exists(target.c_str())) break;
    }
    if (!plat::copy_file(file, target.c_str(), true)) return 0;
    if (deleteSource) plat::delete_file(file);
    return 1;
}
