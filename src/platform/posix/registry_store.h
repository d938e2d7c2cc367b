// The registry kept in one SQLite database in the settings folder. Keys are rows with a
// parent, values hang off their key; every process that uses the folder shares the file.
// Keys are named here by row id; the handle layer maps HKEYs onto them.
#pragma once
#include <cstdint>
#include <string>

namespace plat::regstore {

// Row ids of the four roots, fixed when the database is made.
constexpr int64_t kClassesRoot = 1;
constexpr int64_t kCurrentUser = 2;
constexpr int64_t kLocalMachine = 3;
constexpr int64_t kUsers = 4;

// Each call is one transaction and answers a Windows error number; a key id that no longer
// exists gives ERROR_KEY_DELETED, a path that starts with "\" ERROR_BAD_PATHNAME.
long open_path(int64_t base, const char *path, int64_t *key);
long create_path(int64_t base, const char *path, int64_t *key);
// Deletes the key at `path` below `base` (`base` itself for an empty path) with its values.
long delete_key(int64_t base, const char *path);
long query_value(int64_t key, const char *name, uint32_t *type, std::string *data);
long set_value(int64_t key, const char *name, uint32_t type, const void *data, uint32_t size);
long delete_value(int64_t key, const char *name);
long value_name(int64_t key, uint32_t index, std::string *name);
long subkey_name(int64_t key, uint32_t index, std::string *name);

}  // namespace plat::regstore
