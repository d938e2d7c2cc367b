#include "platform/registry.h"
#include "platform/syscall.h"

#include <windows.h>

namespace plat {

long reg_open(HKEY root, const char *path, bool write, bool view64, HKEY *key) {
    if (fail_now(kCallRegOpenKey)) return armed_error(kCallRegOpenKey);
    REGSAM access = write ? KEY_ALL_ACCESS : KEY_READ;
    if (view64) access |= KEY_WOW64_64KEY;
    return RegOpenKeyExA(root, path, 0, access, key);
}

long reg_create(HKEY root, const char *path, HKEY *key) {
    if (fail_now(kCallRegCreateKey)) return armed_error(kCallRegCreateKey);
    // RegCreateKeyExA wants a subkey text; an empty one stands for the key itself.
    return RegCreateKeyExA(root, path ? path : "", 0, nullptr, REG_OPTION_NON_VOLATILE,
                           KEY_ALL_ACCESS, nullptr, key, nullptr);
}

long reg_close(HKEY key) { return RegCloseKey(key); }

long reg_query(HKEY key, const char *name, uint32_t *type, void *data, uint32_t *size) {
    if (fail_now(kCallRegQueryValue)) return armed_error(kCallRegQueryValue);
    DWORD t = 0;
    DWORD n = size ? *size : 0;
    const LONG r =
        RegQueryValueExA(key, name, nullptr, &t, static_cast<BYTE *>(data), size ? &n : nullptr);
    if (type && (r == ERROR_SUCCESS || r == ERROR_MORE_DATA)) *type = t;
    if (size && (r == ERROR_SUCCESS || r == ERROR_MORE_DATA)) *size = n;
    return r;
}

long reg_set(HKEY key, const char *name, uint32_t type, const void *data, uint32_t size) {
    if (fail_now(kCallRegSetValue)) return armed_error(kCallRegSetValue);
    return RegSetValueExA(key, name, 0, type, static_cast<const BYTE *>(data), size);
}

long reg_delete_value(HKEY key, const char *name) {
    if (fail_now(kCallRegDeleteValue)) return armed_error(kCallRegDeleteValue);
    return RegDeleteValueA(key, name);
}

long reg_delete_key(HKEY parent, const char *subkey) {
    if (fail_now(kCallRegDeleteKey)) return armed_error(kCallRegDeleteKey);
    return RegDeleteKeyA(parent, subkey);
}

long reg_enum_value(HKEY key, uint32_t index, char *name, uint32_t *nameSize) {
    DWORD n = nameSize ? *nameSize : 0;
    const LONG r = RegEnumValueA(key, index, name, nameSize ? &n : nullptr, nullptr, nullptr,
                                 nullptr, nullptr);
    if (nameSize && r == ERROR_SUCCESS) *nameSize = n;
    return r;
}

long reg_enum_key(HKEY key, uint32_t index, char *name, uint32_t *nameSize) {
    DWORD n = nameSize ? *nameSize : 0;
    const LONG r = RegEnumKeyExA(key, index, name, nameSize ? &n : nullptr, nullptr, nullptr,
                                 nullptr, nullptr);
    if (nameSize && r == ERROR_SUCCESS) *nameSize = n;
    return r;
}

}  // namespace plat
