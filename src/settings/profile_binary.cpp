// Binary profile values: only the registry forms keep them.
#include <cstring>

#include "export.h"
#include "platform/registry.h"
#include "settings/profile_keys.h"
#include "settings/settings_state.h"

using namespace tarn::settings;

TARN_API int32_t TARN_CALL koGetPrivateBin(const char *section, const char *key, void *buffer,
                                           uint32_t size, const char *file) {
    if (buffer && size) std::memset(buffer, 0, size);
    const int32_t type = profile_type();
    if (!is_registry_form(type) || !buffer || !key) return 0;
    HKEY hkey = nullptr;
    if (!open_profile_key(type, file, section, false, &hkey)) return 0;
    uint32_t valueType = 0, bytes = size;
    const long rc = plat::reg_query(hkey, key, &valueType, buffer, &bytes);
    plat::reg_close(hkey);
    if (rc == plat::kErrorSuccess && valueType == plat::kRegBinary) return 1;
    std::memset(buffer, 0, size);
    return 0;
}

TARN_API uint32_t TARN_CALL koGetPrivateBinSize(const char *section, const char *key,
                                                const char *file) {
    const int32_t type = profile_type();
    if (!is_registry_form(type) || !key) return 0;
    HKEY hkey = nullptr;
    if (!open_profile_key(type, file, section, false, &hkey)) return 0;
    uint32_t valueType = 0, bytes = 0;
    const long rc = plat::reg_query(hkey, key, &valueType, nullptr, &bytes);
    plat::reg_close(hkey);
    return rc == plat::kErrorSuccess ? bytes : 0;
}

TARN_API int32_t TARN_CALL koWritePrivateBin(const char *section, const char *key, const void *data,
                                             uint32_t size, const char *file) {
    const int32_t type = profile_type();
    if (!is_registry_form(type)) return 0;
    if (!section || !key) return delete_profile_keys(type, file, section) ? 1 : 0;
    HKEY hkey = nullptr;
    if (!open_profile_key(type, file, section, true, &hkey)) return 0;
    const long rc = data ? plat::reg_set(hkey, key, plat::kRegBinary, data, size)
                         : plat::reg_delete_value(hkey, key);
    plat::reg_close(hkey);
    return rc == plat::kErrorSuccess ? 1 : 0;
}
