// Local copies of files from network shares: "$KELVO$" + the file's name + ".tmp" in the
// temporary folder, made once and read until the cache is dropped.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "export.h"
#include "platform/files.h"
#include "platform/system.h"
#include "system/system_state.h"

namespace {

using namespace tarn::system;

constexpr const char *kPrefix = "$KELVO$";
constexpr int kFullPathChars = 300;
// The folder part of a cache name is written with at most this size.
constexpr size_t kFolderPartBytes = 200;

// The temporary folder with its separator, asked once for the life of the process.
const char *cache_folder() {
    SystemState &s = system_state();
    if (!s.cacheFolder[0]) {
        std::string folder = plat::temp_folder().substr(0, kCacheFolderChars);
        if (folder.empty() || !plat::is_path_separator(folder.back())) folder += plat::path_separator();
        std::memcpy(s.cacheFolder, folder.c_str(), folder.size() + 1);
    }
    return s.cacheFolder;
}

bool copy_cut(char *buffer, size_t size, const char *text) {
    if (!buffer || size == 0) return false;
    const size_t n = std::min(std::strlen(text), size - 1);
    std::memcpy(buffer, text, n);
    buffer[n] = '\0';
    return n == std::strlen(text);
}

}  // namespace

TARN_API int32_t TARN_CALL koGetCachePath(char *buffer, int32_t size) {
    if (!buffer) return 0;
    copy_cut(buffer, size_t(std::max(size, 0)), cache_folder());
    return 1;
}

// A cache name that does not fit the caller's buffer is a failure: the source's own name is
// answered, cut to the size, rather than a name that was never made.
TARN_API char *TARN_CALL koGetCacheName(const char *source, char *buffer, int32_t size) {
    if (!buffer) {
        buffer = system_state().cacheName;
        size = int32_t(kCacheNameBytes);
    }
    if (size < 1) return buffer;
    const char *src = source ? source : "";
    char full[kFullPathChars + 1] = "";
    char *filePart = nullptr;
    const int n = *src ? plat::full_path(src, full, sizeof full, &filePart) : 0;
    if (n > 0 && n < int(sizeof full) && filePart && *filePart) {
        const size_t folderRoom = std::min(kFolderPartBytes, size_t(size));
        const std::string folder = std::string(cache_folder()).substr(0, folderRoom - 1);
        const std::string name = folder + kPrefix + filePart + ".tmp";
        if (name.size() < size_t(size)) {
            // An existing copy is used as it is, however old: the cache is dropped, not compared.
            bool ready = plat::file_exists(name.c_str());
            if (!ready && plat::copy_file(full, name.c_str(), false)) {
                plat::set_file_attributes(name.c_str(), plat::kAttrNormal);
                ready = true;
            }
            if (ready) {
                std::memcpy(buffer, name.c_str(), name.size() + 1);
                return buffer;
            }
        }
    }
    copy_cut(buffer, size_t(size), src);
    return buffer;
}

TARN_API int32_t TARN_CALL koDropCacheFiles(void) {
    const std::string folder = cache_folder();
    const std::vector<plat::FoundFile> files = plat::find_files((folder + kPrefix + "*.*").c_str());
    if (files.empty()) return -1;
    for (const plat::FoundFile &f : files) plat::delete_file((folder + f.name).c_str());  // files in use stay
    return 1;
}
