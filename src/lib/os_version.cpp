// Windows version queries; each asks the system afresh, except the WOW64 answer.
#include "export.h"
#include "lib/base_state.h"
#include "platform/system.h"

namespace {

constexpr uint32_t kPlatformNT = 2;

bool is_nt(uint32_t major, int32_t minor) {
    plat::OsVersion v;
    if (!plat::os_version(&v) || v.platformId != kPlatformNT || v.major != major) return false;
    return minor < 0 || v.minor == uint32_t(minor);
}

}  // namespace

TARN_API int32_t TARN_CALL Is_Longhorn(void) { return is_nt(6, -1); }
TARN_API int32_t TARN_CALL Is_Win2003(void) { return is_nt(5, 2); }
TARN_API int32_t TARN_CALL Is_Windows_7(void) { return is_nt(6, 1); }
TARN_API int32_t TARN_CALL Is_Windows_8(void) { return is_nt(6, 2); }
TARN_API int32_t TARN_CALL Is_AfterXP(void) { return Is_Win2003() || Is_Longhorn(); }

TARN_API int32_t TARN_CALL Is_Wow64(void) {
    int32_t &cached = tarn::base().wow64;
    if (cached < 0) {
        bool present = false;
        const bool wow = plat::query_wow64(&present);
        cached = present && wow ? 1 : 0;
    }
    return cached;
}
