// The registry: keys with case-insensitive names under the predefined roots, holding string,
// 32-bit and binary values. Windows keeps it itself; elsewhere it is the library's own store,
// shared safely by several processes. Results are Windows error numbers (0 = success).
#pragma once
#include <cstdint>
#include "tarn_types.h"

namespace plat {

constexpr uint32_t kRegSz = 1;
constexpr uint32_t kRegBinary = 3;
constexpr uint32_t kRegDword = 4;

constexpr long kErrorSuccess = 0;
constexpr long kErrorFileNotFound = 2;
constexpr long kErrorAccessDenied = 5;
constexpr long kErrorInvalidHandle = 6;
constexpr long kErrorInvalidParameter = 87;
constexpr long kErrorBadPathname = 161;
constexpr long kErrorMoreData = 234;
constexpr long kErrorNoMoreItems = 259;
constexpr long kErrorRegistryIoFailed = 1016;
constexpr long kErrorKeyDeleted = 1018;

// Opens an existing key (path may be empty or null for the root itself). `view64` asks for the
// 64-bit view of a 32-bit process on a 64-bit system.
long reg_open(HKEY root, const char *path, bool write, bool view64, HKEY *key);
// Opens or creates the key and every missing key on its path (RegCreateKeyExA).
long reg_create(HKEY root, const char *path, HKEY *key);
long reg_close(HKEY key);
// RegQueryValueExA: with null data only the type and size are reported; a buffer that is too
// small gives kErrorMoreData with the needed size.
long reg_query(HKEY key, const char *name, uint32_t *type, void *data, uint32_t *size);
long reg_set(HKEY key, const char *name, uint32_t type, const void *data, uint32_t size);
long reg_delete_value(HKEY key, const char *name);
// Deletes a key that has no subkeys (RegDeleteKeyA).
long reg_delete_key(HKEY parent, const char *subkey);
// The name of value or subkey number `index`; kErrorNoMoreItems past the last.
long reg_enum_value(HKEY key, uint32_t index, char *name, uint32_t *nameSize);
long reg_enum_key(HKEY key, uint32_t index, char *name, uint32_t *nameSize);

}  // namespace plat
