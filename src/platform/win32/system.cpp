#include "platform/system.h"

#include <windows.h>
#include <objbase.h>

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

bool guid_text(const GUID &id, TARN_WCHAR out[39]) {
    LPOLESTR text = nullptr;
    if (FAILED(StringFromCLSID(id, &text)) || !text) return false;
    const bool whole = lstrlenW(text) == 38;
    if (whole) lstrcpyW(out, text);
    CoTaskMemFree(text);
    return whole;
}

std::string current_directory() {
    char cwd[MAX_PATH + 1] = "";
    const DWORD n = GetCurrentDirectoryA(sizeof cwd, cwd);
    return n > 0 && n < sizeof cwd ? std::string(cwd, n) : std::string();
}

bool set_current_directory(const char *path) {
    return path && SetCurrentDirectoryA(path) != FALSE;
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

#include <time.h>

namespace plat {

bool local_date_of(int64_t t, int *year, int *month, int *day) {
    __time64_t tt = t;
    struct tm tmv;
    if (_localtime64_s(&tmv, &tt) != 0) return false;
    *year = tmv.tm_year + 1900;
    *month = tmv.tm_mon + 1;
    *day = tmv.tm_mday;
    return true;
}

int64_t local_time_to_instant(int year, int month, int day, int hour, int minute, int second) {
    struct tm tmv = {};
    tmv.tm_year = year - 1900;
    tmv.tm_mon = month - 1;
    tmv.tm_mday = day;
    tmv.tm_hour = hour;
    tmv.tm_min = minute;
    tmv.tm_sec = second;
    tmv.tm_isdst = -1;
    return int64_t(_mktime64(&tmv));
}

std::string settings_home() {
    char dir[MAX_PATH] = "";
    const UINT n = GetWindowsDirectoryA(dir, MAX_PATH);
    return n > 0 && n < MAX_PATH ? std::string(dir) : std::string("C:\\Windows");
}

std::string program_folder() {
    HMODULE self = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCSTR>(&program_folder), &self);
    char path[MAX_PATH] = "";
    const DWORD n = GetModuleFileNameA(self, path, MAX_PATH);
    if (n == 0 || n >= MAX_PATH) return ".";
    std::string s(path, n);
    const size_t cut = s.find_last_of("\\/");
    return cut == std::string::npos ? std::string(".") : s.substr(0, cut);
}

std::string computer_name() {
    char name[MAX_COMPUTERNAME_LENGTH + 1] = "";
    DWORD n = sizeof name;
    return GetComputerNameA(name, &n) ? std::string(name, n) : std::string();
}

std::string user_name() {
    char name[257] = "";
    DWORD n = sizeof name;
    // The count includes the terminator.
    return GetUserNameA(name, &n) && n > 0 ? std::string(name, n - 1) : std::string();
}

void default_beep() { MessageBeep(MB_OK); }

}  // namespace plat
