#include "registry_check.h"

#include <sqlite3.h>

#include "platform/system.h"

namespace test_env {

std::string registry_store_integrity() {
    const std::string file = plat::settings_home() + "/registry.sqlite3";
    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        const std::string why = db ? sqlite3_errmsg(db) : "cannot open " + file;
        sqlite3_close(db);
        return why;
    }
    sqlite3_busy_timeout(db, 30000);
    std::string report;
    char *error = nullptr;
    const auto collect = [](void *out, int, char **cols, char **) {
        auto &s = *static_cast<std::string *>(out);
        s += (s.empty() ? "" : "; ") + std::string(cols[0] ? cols[0] : "");
        return 0;
    };
    if (sqlite3_exec(db, "PRAGMA integrity_check", collect, &report, &error) != SQLITE_OK) {
        report = error ? error : "integrity_check failed";
        sqlite3_free(error);
    }
    sqlite3_close(db);
    return report;
}

}  // namespace test_env
