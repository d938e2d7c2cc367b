// A CUPS server of the tests' own: cupsd in a temporary folder, listening on a socket there,
// with one raw queue whose backend notes each job's options in a file and then puts the job's
// document beside it, whole. It runs as long as the test process and ends with it.
#include <cups/cups.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "test_env.h"

namespace test_env {
namespace {

constexpr const char *kCupsd = "/usr/sbin/cupsd";
constexpr const char *kLpadmin = "/usr/sbin/lpadmin";
constexpr const char *kCupsExec = "/usr/lib/cups/daemon";

pid_t cupsdPid = 0;

void write_text(const std::string &path, const std::string &text, mode_t mode) {
    std::ofstream(path, std::ios::binary) << text;
    chmod(path.c_str(), mode);
}

bool accepts(const std::string &socketPath) {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un a = {};
    a.sun_family = AF_UNIX;
    std::strncpy(a.sun_path, socketPath.c_str(), sizeof a.sun_path - 1);
    const bool ok = connect(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) == 0;
    close(fd);
    return ok;
}

void stop_cupsd() {
    if (cupsdPid <= 0) return;
    kill(cupsdPid, SIGTERM);
    waitpid(cupsdPid, nullptr, 0);
    cupsdPid = 0;
}

// Starts cupsd on the folder; the socket's path, or "" when it did not come up within 10 s.
std::string start_cupsd(const std::string &dir) {
    namespace fs = std::filesystem;
    for (const char *sub : {"spool", "cache", "state", "tmp", "log", "lib/filter", "lib/backend", "out"})
        fs::create_directories(dir + "/" + sub);
    fs::create_symlink(kCupsExec, dir + "/lib/daemon");
    const std::string sock = dir + "/cups.sock";
    write_text(dir + "/cupsd.conf",
               "Listen " + sock +
                   "\nLogLevel warn\nBrowsing No\nWebInterface No\nDefaultAuthType None\n"
                   "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
                   "<Location /admin>\n  Order allow,deny\n  Allow all\n</Location>\n"
                   "<Policy default>\n  <Limit All>\n    Order deny,allow\n  </Limit>\n</Policy>\n",
               0644);
    write_text(dir + "/cups-files.conf",
               "ServerRoot " + dir + "\nRequestRoot " + dir + "/spool\nCacheDir " + dir + "/cache\nStateDir " + dir +
                   "/state\nTempDir " + dir + "/tmp\nErrorLog " + dir + "/log/error_log\nAccessLog " + dir +
                   "/log/access_log\nPageLog " + dir + "/log/page_log\nServerBin " + dir +
                   "/lib\nDataDir /usr/share/cups\n",
               0644);
    // A raw queue still passes its jobs through this filter; here it hands them on unchanged.
    write_text(dir + "/lib/filter/gziptoany", "#!/bin/sh\nif [ -n \"$6\" ]; then exec cat \"$6\"; fi\nexec cat\n",
               0755);
    write_text(dir + "/lib/backend/tarnfile",
               "#!/bin/sh\n[ $# -eq 0 ] && { echo 'file tarnfile \"Unknown\" \"Copy to a file\"'; exit 0; }\n"
               "out=${DEVICE_URI#tarnfile:}\nprintf 'copies=%s %s\\n' \"$4\" \"$5\" > \"$out.options\"\n"
               "if [ -n \"$6\" ]; then cat \"$6\" > \"$out.part\"; else cat > \"$out.part\"; fi\n"
               "mv \"$out.part\" \"$out\"\n",
               0700);  // cupsd runs a backend only its owner may run as that owner
    const std::string conf = dir + "/cupsd.conf", files = dir + "/cups-files.conf";
    std::vector<char *> argv = {const_cast<char *>(kCupsd),
                                const_cast<char *>("-f"),
                                const_cast<char *>("-c"),
                                const_cast<char *>(conf.c_str()),
                                const_cast<char *>("-s"),
                                const_cast<char *>(files.c_str()),
                                nullptr};
    // The server ends with the test process, also when that one is killed.
    cupsdPid = fork();
    if (cupsdPid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        execv(kCupsd, argv.data());
        _exit(127);
    }
    if (cupsdPid < 0) return "";
    std::atexit(stop_cupsd);
    for (int i = 0; i < 200; ++i, usleep(50000))
        if (accepts(sock)) return sock;
    stop_cupsd();
    return "";
}

}  // namespace

std::string cups_queue(std::string *jobFile) {
    static std::string queue, out;
    static bool tried = false;
    if (!tried) {
        tried = true;
        if (access(kCupsd, X_OK) == 0 && access(kLpadmin, X_OK) == 0 && access(kCupsExec, X_OK) == 0) {
            const std::string dir = temp_folder("cupsd");
            const std::string sock = start_cupsd(dir);
            if (!sock.empty()) {
                set_env("CUPS_SERVER", sock.c_str());
                cupsSetServer(nullptr);  // forget a server read before
                out = dir + "/out/job";
                const std::string add =
                    std::string(kLpadmin) + " -p TarnQueue -E -v tarnfile:" + out + " -m raw >/dev/null 2>&1";
                if (std::system(add.c_str()) == 0) queue = "TarnQueue";
            }
        }
    }
    if (jobFile) *jobFile = out;
    return queue;
}

}  // namespace test_env
