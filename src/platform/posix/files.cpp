#include "platform/files.h"

#include "platform/syscall.h"
#include "platform/last_error.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace plat {
namespace {

std::string posix_path(const char *path) {
    std::string s(path ? path : "");
    for (char &c : s)
        if (c == '\\') c = '/';
    return s;
}

}  // namespace

bool delete_file(const char *path) {
    if (fail_now(kCallDeleteFile)) return false;
    if (unlink(posix_path(path).c_str()) == 0) return true;
    set_last_error(errno == ENOENT                                        ? 2
                   : errno == EACCES || errno == EPERM || errno == EISDIR ? 5
                                                                          : 31);
    return false;
}

bool create_directory(const char *path) {
    if (fail_now(kCallCreateDirectory)) return false;
    return mkdir(posix_path(path).c_str(), 0777) == 0 || errno == EEXIST;
}

bool file_exists(const char *path) {
    struct stat st;
    return stat(posix_path(path).c_str(), &st) == 0;
}

char path_separator() { return '/'; }

}  // namespace plat
