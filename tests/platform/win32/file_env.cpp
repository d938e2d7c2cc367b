#include "file_env.h"

#include <windows.h>

namespace test_env {

int32_t old_open(const std::string &path) {
    const HFILE f = _lopen(path.c_str(), OF_READWRITE);
    return f == HFILE_ERROR ? -1 : int32_t(f);
}

void old_close(int32_t file) { _lclose(HFILE(file)); }

// GetTempPathA takes TMP first.
void set_temp_folder(const std::string &dir) {
    static const std::string before = [] {
        char value[MAX_PATH + 1] = "";
        const DWORD n = GetEnvironmentVariableA("TMP", value, sizeof value);
        return n > 0 && n < sizeof value ? std::string(value, n) : std::string();
    }();
    const std::string &use = dir.empty() ? before : dir;
    SetEnvironmentVariableA("TMP", use.empty() ? nullptr : use.c_str());
}

}  // namespace test_env
