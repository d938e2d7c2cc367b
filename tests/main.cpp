#include <gtest/gtest.h>

#include <string>

#include "child_roles.h"
#include "platform/test_env.h"

int main(int argc, char **argv) {
    test_env::set_self_path(argv[0]);
    if (argc >= 3 && std::string(argv[1]) == "--role") {
        const auto it = test_env::roles().find(argv[2]);
        if (it == test_env::roles().end()) return 120;
        return it->second(std::vector<std::string>(argv + 3, argv + argc));
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
