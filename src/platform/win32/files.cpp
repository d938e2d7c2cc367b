#include "platform/files.h"
#include "platform/fault.h"

#include <windows.h>

#include "platform/system.h"

namespace plat {

bool delete_file(const char *path) {
    return !fault_now(kCallDeleteFile) && DeleteFileA(path) != FALSE;
}

bool create_directory(const char *path) {
    return CreateDirectoryA(path, nullptr) != FALSE || GetLastError() == ERROR_ALREADY_EXISTS;
}

bool file_exists(const char *path) { return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES; }

std::string settings_home() {
    char dir[MAX_PATH] = "";
    const UINT n = GetWindowsDirectoryA(dir, MAX_PATH);
    return n > 0 && n < MAX_PATH ? std::string(dir) : std::string("C:\\Windows");
}

std::string program_folder() {
    HMODULE self = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
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

char path_separator() { return '\\'; }

}  // namespace plat
