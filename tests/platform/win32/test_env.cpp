#include "test_env.h"

#include <windows.h>
#include <psapi.h>

#include <filesystem>

namespace test_env {
namespace {
std::string self;
}  // namespace

bool library_keeps_settings() { return false; }
bool system_is_wine() {
    const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    return ntdll && GetProcAddress(ntdll, "wine_get_version");
}
std::string join(const std::string &a, const std::string &b) { return a + "\\" + b; }

std::string program_folder() {
    char path[MAX_PATH] = "";
    const DWORD n = GetModuleFileNameA(GetModuleHandleA("tarngdi32.dll"), path, MAX_PATH);
    const std::string s(path, n);
    const size_t cut = s.find_last_of("\\/");
    return cut == std::string::npos ? std::string(".") : s.substr(0, cut);
}

std::string temp_folder(const std::string &name) {
    char tmp[MAX_PATH] = "";
    GetTempPathA(MAX_PATH, tmp);
    const std::string dir = std::string(tmp) + "tarngdi32-" + name + "-" + std::to_string(GetCurrentProcessId());
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
    CreateDirectoryA(dir.c_str(), nullptr);
    return dir;
}

Child start_self(const std::vector<std::string> &args) {
    std::string cmd = "\"" + self + "\"";
    for (const auto &a : args) cmd += " \"" + a + "\"";
    STARTUPINFOA si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    if (!CreateProcessA(nullptr, &cmd[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi)) return {};
    CloseHandle(pi.hThread);
    return Child{reinterpret_cast<long long>(pi.hProcess)};
}

int wait_child(Child c) {
    HANDLE h = reinterpret_cast<HANDLE>(c.id);
    if (!h) return -1;
    WaitForSingleObject(h, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(h, &code);
    CloseHandle(h);
    return int(code);
}

void kill_child_hard(Child c) {
    if (c.id) TerminateProcess(reinterpret_cast<HANDLE>(c.id), 137);
}

void sleep_ms(int ms) { Sleep(DWORD(ms)); }

unsigned long long process_memory_bytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof counters;
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize : 0;
}

// The runtime's TZ syntax cannot name a zone's own daylight-saving dates, and the system's zone
// is not the tests' to change.
bool set_time_zone(const char *) { return false; }

// GetTempPathA takes TMP first.
void set_temp_folder(const std::string &dir) {
    static const std::string before = std::getenv("TMP") ? std::getenv("TMP") : "";
    const std::string &use = dir.empty() ? before : dir;
    SetEnvironmentVariableA("TMP", use.empty() ? nullptr : use.c_str());
}

int32_t old_open(const std::string &path) {
    const HFILE f = _lopen(path.c_str(), OF_READWRITE);
    return f == HFILE_ERROR ? -1 : int32_t(f);
}
void old_close(int32_t file) { _lclose(HFILE(file)); }

void set_self_path(const char *argv0) {
    char path[MAX_PATH] = "";
    const DWORD n = GetModuleFileNameA(nullptr, path, MAX_PATH);
    self = n ? std::string(path, n) : std::string(argv0);
}

bool abort_ends_quietly() { return false; }

// Windows keeps the registry itself; there is no store of ours to look into.
std::string registry_store_integrity() { return "the system keeps the registry"; }

}  // namespace test_env

int test_profile_get(const char *section, const char *key, const char *def, char *out, int size, const char *file) {
    return int(GetPrivateProfileStringA(section, key, def, out, DWORD(size), file));
}
bool test_profile_write(const char *section, const char *key, const char *value, const char *file) {
    return WritePrivateProfileStringA(section, key, value, file) != FALSE;
}
int32_t test_profile_int(const char *section, const char *key, int32_t def, const char *file) {
    return int32_t(GetPrivateProfileIntA(section, key, def, file));
}
