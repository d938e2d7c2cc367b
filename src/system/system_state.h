// The system services' process-wide state: the local file cache's folder and result buffer.
#pragma once
#include <cstddef>

namespace tarn::system {

constexpr size_t kCacheFolderChars = 190;  // the temporary folder, before its separator
constexpr size_t kCacheNameBytes = 300;    // the result buffer of callers that pass none

struct SystemState {
    char cacheFolder[kCacheFolderChars + 2] = "";  // with its separator; "" until first asked
    char cacheName[kCacheNameBytes] = "";
};
SystemState &system_state();

}  // namespace tarn::system
