#include "platform/files.h"
#include "platform/syscall.h"

#include <windows.h>

#include "platform/system.h"

namespace plat {

bool delete_file(const char *path) {
    return !fail_now(kCallDeleteFile) && DeleteFileA(path) != FALSE;
}

bool create_directory(const char *path) {
    if (fail_now(kCallCreateDirectory)) return false;
    return CreateDirectoryA(path, nullptr) != FALSE || GetLastError() == ERROR_ALREADY_EXISTS;
}

bool file_exists(const char *path) { return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES; }

char path_separator() { return '\\'; }

}  // namespace plat
