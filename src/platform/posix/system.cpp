#include "platform/system.h"

#include <dlfcn.h>
#include <pwd.h>
#include <sys/stat.h>
#include <link.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace plat {

// The library reports Windows NT 6.2, as Windows does to an application without a manifest.
bool os_version(OsVersion *out) {
    out->platformId = 2;
    out->major = 6;
    out->minor = 2;
    return true;
}

uint32_t os_version_word() { return (9200u << 16) | (2u << 8) | 6u; }

bool query_wow64(bool *present) {
    *present = true;
    return false;
}

namespace {

struct ModuleLookup {
    uintptr_t base;
    std::string name;
};

int find_module(struct dl_phdr_info *info, size_t, void *data) {
    auto *m = static_cast<ModuleLookup *>(data);
    if (info->dlpi_addr != m->base || !info->dlpi_name || !*info->dlpi_name) return 0;
    m->name = info->dlpi_name;
    return 1;
}

int copy_out(const std::string &s, char *out, int size) {
    if (s.empty() || int(s.size()) >= size) return 0;
    std::memcpy(out, s.c_str(), s.size() + 1);
    return int(s.size());
}

}  // namespace

int module_file_name(HMODULE module, char *out, int size) {
    if (!out || size <= 0) return 0;
    if (!module) {
        std::vector<char> buf(4096);
        ssize_t n = readlink("/proc/self/exe", buf.data(), buf.size() - 1);
        if (n <= 0) return 0;
        return copy_out(std::string(buf.data(), size_t(n)), out, size);
    }
    Dl_info self;
    if (dladdr(reinterpret_cast<void *>(&module_file_name), &self) && self.dli_fbase == module)
        return copy_out(self.dli_fname, out, size);
    ModuleLookup m{reinterpret_cast<uintptr_t>(module), {}};
    dl_iterate_phdr(find_module, &m);
    return copy_out(m.name, out, size);
}

bool guid_text(const GUID &id, TARN_WCHAR out[39]) {
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  unsigned(id.Data1), unsigned(id.Data2), unsigned(id.Data3), id.Data4[0],
                  id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5], id.Data4[6],
                  id.Data4[7]);
    for (int i = 0; i < 39; ++i) out[i] = TARN_WCHAR(static_cast<unsigned char>(text[i]));
    return true;
}

std::string current_directory() {
    char cwd[4096];
    return getcwd(cwd, sizeof cwd) ? std::string(cwd) : std::string();
}

bool set_current_directory(const char *path) {
    if (!path) return false;
    std::string p(path);
    for (char &c : p)
        if (c == '\\') c = '/';
    return chdir(p.c_str()) == 0;
}

int full_path(const char *path, char *out, int size, char **filePart) {
    *filePart = nullptr;
    if (!path || !out || size <= 0) return 0;
    std::string in(path);
    for (char &c : in)
        if (c == '\\') c = '/';
    if (in.empty() || in[0] != '/') {
        char cwd[4096];
        if (!getcwd(cwd, sizeof cwd)) return 0;
        in = std::string(cwd) + "/" + in;
    }
    // Resolve "." and ".." by text, as the Windows call does, without touching the disk.
    std::vector<std::string> parts;
    size_t i = 0;
    while (i <= in.size()) {
        size_t j = in.find('/', i);
        if (j == std::string::npos) j = in.size();
        std::string part = in.substr(i, j - i);
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        i = j + 1;
    }
    std::string full;
    for (const auto &p : parts) full += "/" + p;
    if (full.empty()) full = "/";
    if (int(full.size()) >= size) return int(full.size()) + 1;
    std::memcpy(out, full.c_str(), full.size() + 1);
    const size_t slash = full.rfind('/');
    if (slash + 1 < full.size()) *filePart = out + slash + 1;
    return int(full.size());
}

bool is_path_separator(char c) { return c == '/' || c == '\\'; }

void local_date(int *year, int *month, int *day) {
    time_t now = time(nullptr);
    struct tm t;
    localtime_r(&now, &t);
    *year = t.tm_year + 1900;
    *month = t.tm_mon + 1;
    *day = t.tm_mday;
}

void sleep_ms(uint32_t ms) {
    struct timespec ts;
    ts.tv_sec = ms / 1000;
    ts.tv_nsec = long(ms % 1000) * 1000000L;
    while (nanosleep(&ts, &ts) != 0) {}
}

}  // namespace plat

namespace plat {

bool local_date_of(int64_t t, int *year, int *month, int *day) {
    const time_t tt = time_t(t);
    struct tm tmv;
    if (!localtime_r(&tt, &tmv)) return false;
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
    return int64_t(mktime(&tmv));
}

namespace {

void make_folders(const std::string &dir) {
    for (size_t i = 1; i <= dir.size(); ++i)
        if (i == dir.size() || dir[i] == '/') mkdir(dir.substr(0, i).c_str(), 0700);
}

}  // namespace

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

void default_beep() {}

}  // namespace plat
