// The library's own registry store, looked at from outside the library.
#pragma once
#include <string>

namespace test_env {

// Opens the store's database file directly and runs SQLite's integrity check: "ok" when the
// file is intact, otherwise what the open or the check reported.
std::string registry_store_integrity();

}  // namespace test_env
