#include "file_env.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace test_env {

int32_t old_open(const std::string &path) { return ::open(path.c_str(), O_RDWR | O_CLOEXEC); }

void old_close(int32_t file) { ::close(file); }

void set_temp_folder(const std::string &dir) {
    static const char *const before = [] {
        const char *t = std::getenv("TMPDIR");
        return t ? strdup(t) : nullptr;
    }();
    if (!dir.empty())
        setenv("TMPDIR", dir.c_str(), 1);
    else if (before)
        setenv("TMPDIR", before, 1);
    else
        unsetenv("TMPDIR");
}

}  // namespace test_env
