#include "../output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace tarn_tool {

bool replace_file(const std::string &from, const std::string &to) {
    // The data reaches the disk before the name does; an existing file keeps its permissions.
    struct stat old;
    const int fd = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    bool ok = fd >= 0 && (stat(to.c_str(), &old) != 0 || fchmod(fd, old.st_mode & 07777) == 0) &&
              fdatasync(fd) == 0;
    if (fd >= 0) close(fd);
    return ok && std::rename(from.c_str(), to.c_str()) == 0;
}

std::string temp_name_beside(const std::string &path) {
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) return "";
    return path + "." + std::to_string(getpid()) + ".tmp";
}

}  // namespace tarn_tool
