// Roles this test program plays when a test starts it again as a helper process:
// `tarn_tests --role NAME ARGS...` runs the role and exits with its result.
#pragma once
#include <map>
#include <string>
#include <vector>

namespace test_env {

using Role = int (*)(const std::vector<std::string> &args);

inline std::map<std::string, Role> &roles() {
    static std::map<std::string, Role> r;
    return r;
}

struct RoleRegistration {
    RoleRegistration(const char *name, Role role) { roles()[name] = role; }
};

}  // namespace test_env

#define TEST_CHILD_ROLE(name, fn) static test_env::RoleRegistration role_registration_##fn(name, fn)
