// Registry handles over the store: an HKEY is a small record of the key's id and the access it
// was opened with. Every record handed out is remembered, so a closed or foreign handle is
// answered with ERROR_INVALID_HANDLE instead of being followed.
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <unordered_set>

#include "platform/posix/registry_store.h"
#include "platform/registry.h"
#include "platform/syscall.h"

namespace plat {
namespace {

constexpr long kErrorOutOfMemory = 14;

struct KeyRecord {
    int64_t id;
    bool write;
};

struct Handles {
    std::mutex lock;
    std::unordered_set<const KeyRecord *> live;
};

// Never destroyed, like the store: a handle may still be closed while the process exits.
Handles &handles() {
    static Handles *h = new Handles;
    return *h;
}

int64_t root_id(HKEY h) {
    if (h == HKEY_CLASSES_ROOT) return regstore::kClassesRoot;
    if (h == HKEY_CURRENT_USER) return regstore::kCurrentUser;
    if (h == HKEY_LOCAL_MACHINE) return regstore::kLocalMachine;
    if (h == HKEY_USERS) return regstore::kUsers;
    return 0;
}

bool lookup(HKEY h, KeyRecord *out) {
    if (const int64_t root = root_id(h)) {
        *out = KeyRecord{root, true};
        return true;
    }
    Handles &hs = handles();
    std::lock_guard<std::mutex> hold(hs.lock);
    const auto it = hs.live.find(reinterpret_cast<const KeyRecord *>(h));
    if (it == hs.live.end()) return false;
    *out = **it;
    return true;
}

long hand_out(int64_t id, bool write, HKEY *key) {
    auto *rec = new (std::nothrow) KeyRecord{id, write};
    if (!rec) return kErrorOutOfMemory;
    Handles &hs = handles();
    std::lock_guard<std::mutex> hold(hs.lock);
    try {
        hs.live.insert(rec);
    } catch (...) {
        delete rec;
        return kErrorOutOfMemory;
    }
    *key = reinterpret_cast<HKEY>(rec);
    return kErrorSuccess;
}

bool empty_path(const char *path) { return !path || !*path; }

long copy_name(const std::string &found, char *name, uint32_t *nameSize) {
    if (found.size() + 1 > *nameSize) return kErrorMoreData;
    std::memcpy(name, found.c_str(), found.size() + 1);
    *nameSize = uint32_t(found.size());
    return kErrorSuccess;
}

}  // namespace

// The view choice matters only to a 32-bit process on 64-bit Windows; here there is one view.
long reg_open(HKEY root, const char *path, bool write, bool, HKEY *key) {
    if (fail_now(kCallRegOpenKey)) return armed_error(kCallRegOpenKey);
    if (!key) return kErrorInvalidParameter;
    *key = nullptr;
    KeyRecord base;
    if (!lookup(root, &base)) return kErrorInvalidHandle;
    if (empty_path(path) && root_id(root)) {
        *key = root;
        return kErrorSuccess;
    }
    int64_t id = 0;
    const long r = regstore::open_path(base.id, path, &id);
    return r == kErrorSuccess ? hand_out(id, write, key) : r;
}

// Creating below a handle opened for reading is allowed, as Wine allows it.
long reg_create(HKEY root, const char *path, HKEY *key) {
    if (fail_now(kCallRegCreateKey)) return armed_error(kCallRegCreateKey);
    if (!key) return kErrorInvalidParameter;
    *key = nullptr;
    KeyRecord base;
    if (!lookup(root, &base)) return kErrorInvalidHandle;
    if (empty_path(path) && root_id(root)) {
        *key = root;
        return kErrorSuccess;
    }
    int64_t id = 0;
    const long r = regstore::create_path(base.id, path, &id);
    return r == kErrorSuccess ? hand_out(id, true, key) : r;
}

long reg_close(HKEY key) {
    if (root_id(key)) return kErrorSuccess;
    const auto *rec = reinterpret_cast<const KeyRecord *>(key);
    Handles &hs = handles();
    std::lock_guard<std::mutex> hold(hs.lock);
    if (hs.live.erase(rec) == 0) return kErrorInvalidHandle;
    delete rec;
    return kErrorSuccess;
}

long reg_query(HKEY key, const char *name, uint32_t *type, void *data, uint32_t *size) {
    if (fail_now(kCallRegQueryValue)) return armed_error(kCallRegQueryValue);
    KeyRecord k;
    if (!lookup(key, &k)) return kErrorInvalidHandle;
    if (data && !size) return kErrorInvalidParameter;
    uint32_t t = 0;
    std::string bytes;
    const long r = regstore::query_value(k.id, name, &t, &bytes);
    if (r != kErrorSuccess) return r;
    if (type) *type = t;
    if (!size) return kErrorSuccess;
    const uint32_t room = *size;
    *size = uint32_t(bytes.size());
    if (!data) return kErrorSuccess;
    if (bytes.size() > room) return kErrorMoreData;
    std::memcpy(data, bytes.data(), bytes.size());
    return kErrorSuccess;
}

long reg_set(HKEY key, const char *name, uint32_t type, const void *data, uint32_t size) {
    if (fail_now(kCallRegSetValue)) return armed_error(kCallRegSetValue);
    KeyRecord k;
    if (!lookup(key, &k)) return kErrorInvalidHandle;
    if (!k.write) return kErrorAccessDenied;
    if (!data && size) return kErrorInvalidParameter;
    return regstore::set_value(k.id, name, type, data, size);
}

long reg_delete_value(HKEY key, const char *name) {
    if (fail_now(kCallRegDeleteValue)) return armed_error(kCallRegDeleteValue);
    KeyRecord k;
    if (!lookup(key, &k)) return kErrorInvalidHandle;
    if (!k.write) return kErrorAccessDenied;
    return regstore::delete_value(k.id, name);
}

// As on Windows, the access of the parent's handle does not matter: deleting is a right on
// the key itself.
long reg_delete_key(HKEY parent, const char *subkey) {
    if (fail_now(kCallRegDeleteKey)) return armed_error(kCallRegDeleteKey);
    KeyRecord k;
    if (!lookup(parent, &k)) return kErrorInvalidHandle;
    if (!subkey) return kErrorInvalidParameter;
    return regstore::delete_key(k.id, subkey);
}

long reg_enum_value(HKEY key, uint32_t index, char *name, uint32_t *nameSize) {
    KeyRecord k;
    if (!lookup(key, &k)) return kErrorInvalidHandle;
    if (!name || !nameSize) return kErrorInvalidParameter;
    std::string found;
    const long r = regstore::value_name(k.id, index, &found);
    return r == kErrorSuccess ? copy_name(found, name, nameSize) : r;
}

long reg_enum_key(HKEY key, uint32_t index, char *name, uint32_t *nameSize) {
    KeyRecord k;
    if (!lookup(key, &k)) return kErrorInvalidHandle;
    if (!name || !nameSize) return kErrorInvalidParameter;
    std::string found;
    const long r = regstore::subkey_name(k.id, index, &found);
    return r == kErrorSuccess ? copy_name(found, name, nameSize) : r;
}

}  // namespace plat
