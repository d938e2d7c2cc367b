#include "platform/files.h"

#include "platform/fault.h"
#include "platform/last_error.h"

#include <pwd.h>
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

void make_folders(const std::string &dir) {
    for (size_t i = 1; i <= dir.size(); ++i)
        if (i == dir.size() || dir[i] == '/') mkdir(dir.substr(0, i).c_str(), 0700);
}

}  // namespace

bool delete_file(const char *path) {
    if (fault_now(kCallDeleteFile)) return false;
    if (unlink(posix_path(path).c_str()) == 0) return true;
    set_last_error(errno == ENOENT ? 2 : errno == EACCES || errno == EPERM || errno == EISDIR ? 5 : 31);
    return false;
}

bool create_directory(const char *path) {
    return mkdir(posix_path(path).c_str(), 0777) == 0 || errno == EEXIST;
}

bool file_exists(const char *path) {
    struct stat st;
    return stat(posix_path(path).c_str(), &st) == 0;
}

std::string settings_home() {
    std::string home;
    if (const char *h = std::getenv("TARNGDI_HOME"); h && *h) {
        home = h;
    } else if (const char *x = std::getenv("XDG_CONFIG_HOME"); x && *x) {
        home = std::string(x) + "/tarngdi32";
    } else {
        const char *u = std::getenv("HOME");
        if (!u || !*u) {
            const struct passwd *pw = getpwuid(getuid());
            u = pw ? pw->pw_dir : "/tmp";
        }
        home = std::string(u) + "/.config/tarngdi32";
    }
    make_folders(home);
    return home;
}

// The program's folder is a folder of the settings home, so "..\USER" lies beside it there.
std::string program_folder() {
    const std::string dir = settings_home() + "/program";
    mkdir(dir.c_str(), 0700);
    return dir;
}

std::string computer_name() {
    char name[256] = "";
    if (gethostname(name, sizeof name - 1) != 0) return std::string();
    name[sizeof name - 1] = '\0';
    std::string s(name);
    // Windows reports the NetBIOS name: upper case, without the domain.
    if (size_t dot = s.find('.'); dot != std::string::npos) s.resize(dot);
    for (char &c : s)
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    return s;
}

std::string user_name() {
    if (const struct passwd *pw = getpwuid(getuid()); pw && pw->pw_name) return pw->pw_name;
    const char *u = std::getenv("USER");
    return u ? u : "";
}

char path_separator() { return '/'; }

}  // namespace plat
