// Plain registry values, and the machine-wide keys of the product family under
// HKEY_LOCAL_MACHINE: "ZENTcolor" and "System Config" below the KELVO key, read with the older
// Hallmor Verbund key as the fallback.
#include <cstring>
#include <string>

#include "export.h"
#include "platform/registry.h"

namespace {

constexpr const char *kKelvoKey = "SOFTWARE\\KELVO GmbH";
constexpr const char *kHallmorKey = "SOFTWARE\\Hallmor Verbund GmbH";
constexpr const char *kZentcolor = "ZENTcolor";
constexpr const char *kSystemConfig = "System Config";

std::string family_key(const char *company, const char *subkey) {
    return std::string(company) + "\\" + subkey;
}

bool set_value(HKEY key, const char *name, uint32_t type, const void *data, uint32_t size) {
    const bool ok = plat::reg_set(key, name, type, data, size) == plat::kErrorSuccess;
    plat::reg_close(key);
    return ok;
}

int32_t get_family_dword(const char *subkey, const char *name, DWORD *value) {
    return tarnGetRegDWORD(HKEY_LOCAL_MACHINE, family_key(kKelvoKey, subkey).c_str(), name,
                           value) ||
           tarnGetRegDWORD(HKEY_LOCAL_MACHINE, family_key(kHallmorKey, subkey).c_str(), name,
                           value);
}

int32_t set_family_dword(const char *subkey, const char *name, DWORD value) {
    return tarnSetRegDWORD(HKEY_LOCAL_MACHINE, family_key(kKelvoKey, subkey).c_str(), name, value);
}

}  // namespace

TARN_API int32_t TARN_CALL tarnGetRegDWORD(HKEY root, const char *path, const char *name,
                                           DWORD *value) {
    return tarnGetRegDWORD_Ex(root, path, name, value, nullptr);
}

// The value's type is not asked: any value of exactly four bytes is read as the number.
TARN_API int32_t TARN_CALL tarnGetRegDWORD_Ex(HKEY root, const char *path, const char *name,
                                              DWORD *value, void *view64) {
    if (!value) return 0;
    *value = 0;
    HKEY key = nullptr;
    if (plat::reg_open(root, path, false, view64 && Is_Wow64(), &key) != plat::kErrorSuccess)
        return 0;
    // Read aside: a query that fails may still have written into the buffer.
    DWORD got = 0;
    uint32_t type = 0, size = sizeof got;
    const long r = plat::reg_query(key, name, &type, &got, &size);
    plat::reg_close(key);
    if (r != plat::kErrorSuccess || size != sizeof got) return 0;
    *value = got;
    return 1;
}

// On failure the buffer is left empty rather than holding whatever a non-string value put there.
TARN_API int32_t TARN_CALL tarnGetRegString_Ex(HKEY root, const char *path, const char *name,
                                               char *buffer, uint32_t size, BOOL view64) {
    if (!buffer || size == 0) return 0;
    HKEY key = nullptr;
    long r = plat::reg_open(root, path, false, view64 != 0, &key);
    uint32_t type = 0, got = size;
    if (r == plat::kErrorSuccess) {
        r = plat::reg_query(key, name, &type, buffer, &got);
        plat::reg_close(key);
    }
    if (r == plat::kErrorSuccess && type == plat::kRegSz) return 1;
    buffer[0] = '\0';
    return 0;
}

TARN_API int32_t TARN_CALL tarnSetRegDWORD(HKEY root, const char *path, const char *name,
                                           DWORD value) {
    HKEY key = nullptr;
    if (plat::reg_open(root, path, true, false, &key) != plat::kErrorSuccess) return 0;
    return set_value(key, name, plat::kRegDword, &value, sizeof value);
}

TARN_API int32_t TARN_CALL tarnGetZentKeyDWORD(const char *name, DWORD *value) {
    return get_family_dword(kZentcolor, name, value);
}

TARN_API int32_t TARN_CALL tarnGetZentKeyString(const char *name, char *buffer, DWORD size) {
    return tarnGetRegString_Ex(HKEY_LOCAL_MACHINE, family_key(kKelvoKey, kZentcolor).c_str(), name,
                               buffer, size, 0);
}

TARN_API int32_t TARN_CALL tarnSetZentKeyDWORD(const char *name, DWORD value) {
    return set_family_dword(kZentcolor, name, value);
}

// A null text is refused: there is nothing to store, and an empty string would be a guess.
TARN_API int32_t TARN_CALL tarnSetZentKeyString(const char *name, const char *value) {
    if (!value) return 0;
    const std::string path = family_key(kKelvoKey, kZentcolor);
    HKEY key = nullptr;
    if (plat::reg_open(HKEY_LOCAL_MACHINE, path.c_str(), true, false, &key) !=
        plat::kErrorSuccess) {
        tarnMakeZentcolorKey();
        if (plat::reg_open(HKEY_LOCAL_MACHINE, path.c_str(), true, false, &key) !=
            plat::kErrorSuccess)
            return 0;
    }
    return set_value(key, name, plat::kRegSz, value, uint32_t(std::strlen(value) + 1));
}

TARN_API int32_t TARN_CALL tarnGetSysKeyDWORD(const char *name, DWORD *value) {
    return get_family_dword(kSystemConfig, name, value);
}

TARN_API int32_t TARN_CALL tarnSetSysKeyDWORD(const char *name, DWORD value) {
    return set_family_dword(kSystemConfig, name, value);
}

// A key that cannot be made gives its error, so that 0 still means the whole chain exists.
TARN_API int32_t TARN_CALL tarnMakeZentcolorKey(void) {
    long failed = plat::kErrorSuccess;
    auto create = [&](HKEY parent, const char *name, HKEY *key) {
        const long r = plat::reg_create(parent, name, key);
        if (failed == plat::kErrorSuccess) failed = r;
        return r == plat::kErrorSuccess;
    };
    HKEY software = nullptr, company = nullptr, sub = nullptr, servers = nullptr;
    if (!create(HKEY_LOCAL_MACHINE, "SOFTWARE", &software)) return int32_t(failed);
    if (create(software, "KELVO GmbH", &company)) {
        if (create(company, kZentcolor, &sub)) plat::reg_close(sub);
        if (create(company, "HV_DBS", &sub)) {
            if (create(sub, "Server Config", &servers)) plat::reg_close(servers);
            plat::reg_close(sub);
        }
        plat::reg_close(company);
    }
    const long closed = plat::reg_close(software);
    return int32_t(failed != plat::kErrorSuccess ? failed : closed);
}
