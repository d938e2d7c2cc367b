#include "platform/system.h"

#include <windows.h>

namespace plat {

bool os_version(OsVersion *out) {
    OSVERSIONINFOA info;
    ZeroMemory(&info, sizeof info);
    info.dwOSVersionInfoSize = sizeof info;  // 148
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    if (!GetVersionExA(&info)) return false;
#pragma GCC diagnostic pop
    out->platformId = info.dwPlatformId;
    out->major = info.dwMajorVersion;
    out->minor = info.dwMinorVersion;
    return true;
}

uint32_t os_version_word() {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return GetVersion();
#pragma GCC diagnostic pop
}

bool query_wow64(bool *present) {
    typedef BOOL(WINAPI * IsWow64Fn)(HANDLE, PBOOL);
    HMODULE kernel = GetModuleHandleA("kernel32");
    auto fn = kernel ? reinterpret_cast<IsWow64Fn>(
                           reinterpret_cast<void *>(GetProcAddress(kernel, "IsWow64Process")))
                     : nullptr;
    *present = fn != nullptr;
    BOOL wow = FALSE;
    if (fn && !fn(GetCurrentProcess(), &wow)) wow = FALSE;
    return wow != FALSE;
}

int module_file_name(HMODULE module, char *out, int size) {
    DWORD n = GetModuleFileNameA(module, out, DWORD(size));
    if (n == 0 || n >= DWORD(size)) return 0;
    return int(n);
}

int full_path(const char *path, char *out, int size, char **filePart) {
    *filePart = nullptr;
    return int(GetFullPathNameA(path, DWORD(size), out, filePart));
}

bool is_path_separator(char c) { return c == '\\' || c == '/'; }

void local_date(int *year, int *month, int *day) {
    SYSTEMTIME t;
    GetLocalTime(&t);
    *year = t.wYear;
    *month = t.wMonth;
    *day = t.wDay;
}

void sleep_ms(uint32_t ms) { Sleep(ms); }

}  // namespace plat
