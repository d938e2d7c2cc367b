#include "platform/posix/registry_store.h"

#include <sqlite3.h>

#include <mutex>
#include <unordered_map>
#include <vector>

#include "platform/files.h"
#include "platform/system.h"
#include "platform/registry.h"

namespace plat::regstore {
namespace {

// Long enough for another process to finish any single write; shorter waits would turn
// ordinary contention into failed settings writes.
constexpr int kBusyTimeoutMs = 30000;

// WAL with synchronous=NORMAL: a commit reaches the operating system before the call returns,
// so it survives the process being killed; only a power loss may take the newest commits.
// Ids are never reused (AUTOINCREMENT), so a handle to a deleted key cannot reach a new one.
constexpr const char *kSchema =
    "BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS reg_keys("
    "  id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER,"
    "  name BLOB NOT NULL, folded BLOB NOT NULL);"
    "CREATE UNIQUE INDEX IF NOT EXISTS reg_keys_by_name ON reg_keys(parent, folded);"
    "CREATE TABLE IF NOT EXISTS reg_values("
    "  key INTEGER NOT NULL, name BLOB NOT NULL, folded BLOB NOT NULL,"
    "  type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(key, folded)) WITHOUT ROWID;"
    "INSERT OR IGNORE INTO reg_keys(id, parent, name, folded) VALUES"
    "  (1, NULL, 'HKEY_CLASSES_ROOT', 'HKEY_CLASSES_ROOT'),"
    "  (2, NULL, 'HKEY_CURRENT_USER', 'HKEY_CURRENT_USER'),"
    "  (3, NULL, 'HKEY_LOCAL_MACHINE', 'HKEY_LOCAL_MACHINE'),"
    "  (4, NULL, 'HKEY_USERS', 'HKEY_USERS');"
    "PRAGMA user_version = 1;"
    "COMMIT;";

// Names compare as Windows compares them in code page 1252: letters of either case are equal,
// "ß" and "µ" have no capital and stay themselves.
unsigned char fold_char(unsigned char c) {
    if (c >= 'a' && c <= 'z') return static_cast<unsigned char>(c - 0x20);
    if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<unsigned char>(c - 0x20);
    switch (c) {
    case 0x9A: return 0x8A;  // š
    case 0x9C: return 0x8C;  // œ
    case 0x9E: return 0x8E;  // ž
    case 0xFF: return 0x9F;  // ÿ
    default: return c;
    }
}

std::string fold(const std::string &name) {
    std::string f(name);
    for (char &c : f) c = static_cast<char>(fold_char(static_cast<unsigned char>(c)));
    return f;
}

// Doubled and trailing separators name no key and are skipped, as Windows skips them; a leading
// one is refused, as Windows refuses it.
long split_path(const char *path, std::vector<std::string> *parts) {
    parts->clear();
    if (!path) return kErrorSuccess;
    if (*path == '\\') return kErrorBadPathname;
    std::string part;
    for (const char *p = path;; ++p) {
        if (*p == '\\' || *p == '\0') {
            if (!part.empty()) parts->push_back(part);
            part.clear();
            if (*p == '\0') break;
        } else {
            part += *p;
        }
    }
    return kErrorSuccess;
}

class Store {
public:
    std::mutex lock;

    // Opens the database on first use; a failed open is tried again by the next call.
    bool open() {
        if (db_) return true;
        const std::string file = settings_home() + "/registry.sqlite3";
        sqlite3 *db = nullptr;
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
        if (sqlite3_open_v2(file.c_str(), &db, flags, nullptr) != SQLITE_OK ||
            !prepare_connection(db)) {
            sqlite3_close(db);
            return false;
        }
        db_ = db;
        return true;
    }

    sqlite3 *db() const { return db_; }

    sqlite3_stmt *statement(const char *sql) {
        auto it = statements_.find(sql);
        if (it != statements_.end()) return it->second;
        sqlite3_stmt *st = nullptr;
        if (sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &st, nullptr) != SQLITE_OK)
            return nullptr;
        statements_.emplace(sql, st);
        return st;
    }

private:
    static bool prepare_connection(sqlite3 *db) {
        sqlite3_busy_timeout(db, kBusyTimeoutMs);
        return use_wal(db) &&
               sqlite3_exec(db, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr) ==
                   SQLITE_OK &&
               sqlite3_exec(db, kSchema, nullptr, nullptr, nullptr) == SQLITE_OK;
    }

    // The journal mode is kept in the file; a process that comes second finds it set.
    static bool use_wal(sqlite3 *db) {
        sqlite3_stmt *st = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA journal_mode=WAL", -1, &st, nullptr) != SQLITE_OK)
            return false;
        bool wal = false;
        if (sqlite3_step(st) == SQLITE_ROW) {
            const auto *mode = reinterpret_cast<const char *>(sqlite3_column_text(st, 0));
            wal = mode && std::string(mode) == "wal";
        }
        sqlite3_finalize(st);
        return wal;
    }

    sqlite3 *db_ = nullptr;
    std::unordered_map<const char *, sqlite3_stmt *> statements_;
};

// Never destroyed: settings may still be written while the process exits, and an unclosed
// WAL database is recovered by the next process that opens it.
Store &store() {
    static Store *s = new Store;
    return *s;
}

// One use of a cached statement; the bindings are numbered in the order they are given.
class Query {
public:
    Query(Store &s, const char *sql) : st_(s.statement(sql)) {}
    ~Query() {
        if (st_) {
            sqlite3_reset(st_);
            sqlite3_clear_bindings(st_);
        }
    }
    Query(const Query &) = delete;
    Query &operator=(const Query &) = delete;

    Query &bind(int64_t v) {
        if (st_) sqlite3_bind_int64(st_, ++next_, v);
        return *this;
    }
    Query &bind(const std::string &bytes) {
        // data() is never null, so an empty name stays an empty blob rather than NULL.
        if (st_) sqlite3_bind_blob(st_, ++next_, bytes.data(), int(bytes.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Query &bind(const void *data, uint32_t size) {
        static const char kNothing = 0;
        if (st_)
            sqlite3_bind_blob(st_, ++next_, size ? data : &kNothing, int(size), SQLITE_TRANSIENT);
        return *this;
    }
    int step() { return st_ ? sqlite3_step(st_) : SQLITE_ERROR; }
    int64_t integer(int col) { return sqlite3_column_int64(st_, col); }
    std::string blob(int col) {
        const void *p = sqlite3_column_blob(st_, col);
        const int n = sqlite3_column_bytes(st_, col);
        return p ? std::string(static_cast<const char *>(p), size_t(n)) : std::string();
    }

private:
    sqlite3_stmt *st_;
    int next_ = 0;
};

bool exec(Store &s, const char *sql) { return Query(s, sql).step() == SQLITE_DONE; }

class Transaction {
public:
    Transaction(Store &s, bool write)
        : s_(s), active_(exec(s, write ? "BEGIN IMMEDIATE" : "BEGIN")) {}
    ~Transaction() {
        if (active_) exec(s_, "ROLLBACK");
    }
    bool active() const { return active_; }
    bool commit() {
        if (!exec(s_, "COMMIT")) return false;
        active_ = false;
        return true;
    }

private:
    Store &s_;
    bool active_;
};

// Runs `body` as one transaction under the process's lock; any failure rolls it back.
template <class Body>
long transact(bool write, Body body) {
    Store &s = store();
    std::lock_guard<std::mutex> hold(s.lock);
    if (!s.open()) return kErrorRegistryIoFailed;
    Transaction tx(s, write);
    if (!tx.active()) return kErrorRegistryIoFailed;
    const long r = body(s);
    if (r != kErrorSuccess) return r;
    return tx.commit() ? kErrorSuccess : kErrorRegistryIoFailed;
}

long step_result(int rc, long absent) {
    if (rc == SQLITE_ROW) return kErrorSuccess;
    return rc == SQLITE_DONE ? absent : kErrorRegistryIoFailed;
}

long check_key(Store &s, int64_t key) {
    return step_result(Query(s, "SELECT 1 FROM reg_keys WHERE id=?1").bind(key).step(),
                       kErrorKeyDeleted);
}

long find_child(Store &s, int64_t parent, const std::string &name, int64_t *child) {
    Query q(s, "SELECT id FROM reg_keys WHERE parent=?1 AND folded=?2");
    const long r = step_result(q.bind(parent).bind(fold(name)).step(), kErrorFileNotFound);
    if (r == kErrorSuccess) *child = q.integer(0);
    return r;
}

long walk(Store &s, int64_t base, const std::vector<std::string> &parts, int64_t *key) {
    long r = check_key(s, base);
    int64_t at = base;
    for (size_t i = 0; r == kErrorSuccess && i < parts.size(); ++i)
        r = find_child(s, at, parts[i], &at);
    if (r == kErrorSuccess) *key = at;
    return r;
}

std::string value_key(const char *name) { return name ? std::string(name) : std::string(); }

long nth_name(const char *sql, int64_t key, uint32_t index, std::string *name) {
    return transact(false, [&](Store &s) {
        long r = check_key(s, key);
        if (r != kErrorSuccess) return r;
        Query q(s, sql);
        r = step_result(q.bind(key).bind(int64_t(index)).step(), kErrorNoMoreItems);
        if (r == kErrorSuccess) *name = q.blob(0);
        return r;
    });
}

}  // namespace

long open_path(int64_t base, const char *path, int64_t *key) {
    std::vector<std::string> parts;
    if (const long r = split_path(path, &parts); r != kErrorSuccess) return r;
    return transact(false, [&](Store &s) { return walk(s, base, parts, key); });
}

long create_path(int64_t base, const char *path, int64_t *key) {
    std::vector<std::string> parts;
    if (const long r = split_path(path, &parts); r != kErrorSuccess) return r;
    return transact(true, [&](Store &s) {
        long r = check_key(s, base);
        int64_t at = base;
        for (size_t i = 0; r == kErrorSuccess && i < parts.size(); ++i) {
            r = find_child(s, at, parts[i], &at);
            if (r != kErrorFileNotFound) continue;
            Query add(s, "INSERT INTO reg_keys(parent, name, folded) VALUES(?1, ?2, ?3)");
            if (add.bind(at).bind(parts[i]).bind(fold(parts[i])).step() != SQLITE_DONE)
                return kErrorRegistryIoFailed;
            at = sqlite3_last_insert_rowid(s.db());
            r = kErrorSuccess;
        }
        if (r == kErrorSuccess) *key = at;
        return r;
    });
}

long delete_key(int64_t base, const char *path) {
    std::vector<std::string> parts;
    if (const long r = split_path(path, &parts); r != kErrorSuccess) return r;
    return transact(true, [&](Store &s) {
        int64_t key = 0;
        long r = walk(s, base, parts, &key);
        if (r != kErrorSuccess) return r;
        if (key <= kUsers) return kErrorAccessDenied;
        // Windows NT refuses to delete a key that still has subkeys.
        const int child =
            Query(s, "SELECT 1 FROM reg_keys WHERE parent=?1 LIMIT 1").bind(key).step();
        if (child == SQLITE_ROW) return kErrorAccessDenied;
        if (child != SQLITE_DONE ||
            Query(s, "DELETE FROM reg_values WHERE key=?1").bind(key).step() != SQLITE_DONE ||
            Query(s, "DELETE FROM reg_keys WHERE id=?1").bind(key).step() != SQLITE_DONE)
            return kErrorRegistryIoFailed;
        return kErrorSuccess;
    });
}

long query_value(int64_t key, const char *name, uint32_t *type, std::string *data) {
    return transact(false, [&](Store &s) {
        long r = check_key(s, key);
        if (r != kErrorSuccess) return r;
        Query q(s, "SELECT type, data FROM reg_values WHERE key=?1 AND folded=?2");
        r = step_result(q.bind(key).bind(fold(value_key(name))).step(), kErrorFileNotFound);
        if (r == kErrorSuccess) {
            *type = uint32_t(q.integer(0));
            *data = q.blob(1);
        }
        return r;
    });
}

long set_value(int64_t key, const char *name, uint32_t type, const void *data, uint32_t size) {
    const std::string n = value_key(name);
    return transact(true, [&](Store &s) {
        const long r = check_key(s, key);
        if (r != kErrorSuccess) return r;
        // A value written again under another spelling keeps the name it was first given.
        Query q(s,
                "INSERT INTO reg_values(key, name, folded, type, data) VALUES(?1, ?2, ?3, ?4, ?5)"
                " ON CONFLICT(key, folded) DO UPDATE SET type=excluded.type, data=excluded.data");
        q.bind(key).bind(n).bind(fold(n)).bind(int64_t(type)).bind(data, size);
        return q.step() == SQLITE_DONE ? kErrorSuccess : kErrorRegistryIoFailed;
    });
}

long delete_value(int64_t key, const char *name) {
    return transact(true, [&](Store &s) {
        const long r = check_key(s, key);
        if (r != kErrorSuccess) return r;
        Query q(s, "DELETE FROM reg_values WHERE key=?1 AND folded=?2");
        if (q.bind(key).bind(fold(value_key(name))).step() != SQLITE_DONE)
            return kErrorRegistryIoFailed;
        return sqlite3_changes(s.db()) ? kErrorSuccess : kErrorFileNotFound;
    });
}

// Names come in the order of their folded form, as Windows lists them; an index stays valid
// as long as nobody adds or removes a name.
long value_name(int64_t key, uint32_t index, std::string *name) {
    return nth_name("SELECT name FROM reg_values WHERE key=?1 ORDER BY folded LIMIT 1 OFFSET ?2",
                    key, index, name);
}

long subkey_name(int64_t key, uint32_t index, std::string *name) {
    return nth_name("SELECT name FROM reg_keys WHERE parent=?1 ORDER BY folded LIMIT 1 OFFSET ?2",
                    key, index, name);
}

}  // namespace plat::regstore
